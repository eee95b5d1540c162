// What a slow serial line does with many runs.
#include <gtest/gtest.h>

#include <sys/ioctl.h>

#include <thread>

#include "oskel/oskel.h"
#include "tests/oskel/peers.h"
#include "tests/oskel/terminal.h"

namespace {

using namespace peers;
using namespace std::chrono_literals;
using oskel::SendTrouble;

constexpr std::size_t kFrame = 44;

std::string frame(char letter) { return std::string(kFrame, letter); }

// The letters of the runs, one each; '?' for a run that is cut.
std::string order(const Bytes& data) {
    std::string letters;
    for (std::size_t i = 0; i < data.size(); i += kFrame) {
        const std::size_t end = std::min(i + kFrame, data.size());
        const bool whole =
            end - i == kFrame &&
            std::all_of(&data[i], &data[i] + kFrame, [&](std::uint8_t byte) { return byte == data[i]; });
        letters += whole ? static_cast<char>(data[i]) : '?';
    }
    return letters;
}

std::size_t arrived(const Terminal& terminal) {
    int count = 0;
    EXPECT_EQ(::ioctl(terminal.peer(), FIONREAD, &count), 0);
    return static_cast<std::size_t>(count);
}

class SlowLine : public testing::Test {
protected:
    void dial(int baud) {
        handle = oskel::dialSerial(terminal.name(), baud, {});
        ASSERT_GE(handle, 1);
    }
    void TearDown() override { oskel::hang_up(handle); }

    Terminal terminal;
    int handle = 0;
};

TEST_F(SlowLine, MarkedRunsOvertakeWhatWaitsAndCutNothing) {
    dial(4800);
    for (char letter = 'a'; letter <= 'j'; ++letter) {
        ASSERT_EQ(push(frame(letter), handle), 44);
    }
    for (const char stop : {'S', 'T'}) {
        oskel::mark_ahead(handle);
        ASSERT_EQ(push(frame(stop), handle), 44);
    }
    ASSERT_EQ(push(frame('k'), handle), 44);
    std::string letters = order(terminal.read(13 * kFrame));
    const auto stops = letters.find("ST");
    ASSERT_NE(stops, std::string::npos) << letters;
    EXPECT_GT(stops, 0u) << "the run under way comes first";
    EXPECT_LT(stops, 8u) << letters;
    EXPECT_EQ(letters.erase(stops, 2), "abcdefghijk");
}

TEST_F(SlowLine, AMarkIsForOneRunOfOneThread) {
    dial(4800);
    for (char letter = 'a'; letter <= 'f'; ++letter) {
        push(frame(letter), handle);
    }
    oskel::mark_ahead(handle);
    oskel::mark_ahead(handle);
    std::thread([this] { push(frame('x'), handle); }).join();
    push(frame('S'), handle);
    push(frame('y'), handle);
    std::string letters = order(terminal.read(9 * kFrame));
    const auto stop = letters.find('S');
    ASSERT_NE(stop, std::string::npos);
    EXPECT_LT(stop, 6u) << letters;
    EXPECT_EQ(letters.erase(stop, 1), "abcdefxy");
}

TEST_F(SlowLine, AMarkOnAnotherHandleOrNoneIsHarmless) {
    dial(9600);
    oskel::mark_ahead(0);
    oskel::mark_ahead(handle + 1000);
    const int datagram = oskel::dialDatagram("", 0, "127.0.0.1", 0, {});
    oskel::mark_ahead(datagram);
    for (char letter = 'a'; letter <= 'd'; ++letter) {
        push(frame(letter), handle);
    }
    EXPECT_EQ(order(terminal.read(4 * kFrame)), "abcd");
    oskel::hang_up(datagram);
}

TEST_F(SlowLine, ATerminalThatTakesBytesAtOnceIsPacedAllTheSame) {
    dial(4800);
    const auto begin = std::chrono::steady_clock::now();
    for (char letter = 'a'; letter <= 'j'; ++letter) {
        push(frame(letter), handle);
    }
    EXPECT_LT(arrived(terminal), 10 * kFrame);
    EXPECT_EQ(order(terminal.read(10 * kFrame)), "abcdefghij");
    // 91 ms a run; the last one may be handed over when the one before is nearly out.
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 9 * 90ms - 10ms);
}

TEST_F(SlowLine, SaysHowLongItIsBusy) {
    dial(2400);
    EXPECT_EQ(oskel::line_busy_ms(handle), 0);
    push(frame('a'), handle);
    const int with_one = oskel::line_busy_ms(handle);
    EXPECT_GE(with_one, 1);
    EXPECT_LE(with_one, 184);
    for (char letter = 'b'; letter <= 'h'; ++letter) {
        push(frame(letter), handle);
    }
    const int with_eight = oskel::line_busy_ms(handle);
    EXPECT_GT(with_eight, 184);
    EXPECT_LE(with_eight, 8 * 184);
    EXPECT_TRUE(waitUntil([this] { return oskel::line_busy_ms(handle) == 0; }));
    // The terminal's own worker brings it over; a run that the port still kept would take the line 184 ms.
    const auto free_since = std::chrono::steady_clock::now();
    while (arrived(terminal) < 8 * kFrame && std::chrono::steady_clock::now() < free_since + 100ms) {
        std::this_thread::yield();
    }
    EXPECT_EQ(arrived(terminal), 8 * kFrame) << "free means that everything is out";
}

TEST_F(SlowLine, AFrameOfAFreeLineLeavesAtOnce) {
    dial(2400);
    for (char letter = 'a'; letter <= 'c'; ++letter) {
        ASSERT_TRUE(waitUntil([this] { return oskel::line_busy_ms(handle) == 0; }));
        push(frame(letter), handle);
        // Handed over before the push returned, so nothing pushed now could come before it.
        oskel::mark_ahead(handle);
        push(frame('S'), handle);
        EXPECT_EQ(order(terminal.read(2 * kFrame)), std::string(1, letter) + "S");
    }
}

TEST_F(SlowLine, ALineThatTakesNothingIsAskedAgainLater) {
    dial(460800);
    const Bytes run(1000);
    ASSERT_TRUE(waitUntil([&] {
        while (oskel::push_bytes(run.data(), 1000, handle) == 1000) {
        }
        return oskel::send_trouble(handle) == SendTrouble::kStuck;
    }));
    EXPECT_GE(oskel::line_busy_ms(handle), 5);
}

// Nothing waits here behind the run, of which the terminal takes a part.
TEST_F(SlowLine, ARunThatStandsStillIsATroubleUntilItMoves) {
    dial(460800);
    const Bytes run = countingBytes(65536);
    ASSERT_EQ(oskel::push_bytes(run.data(), 65536, handle), 65536);
    EXPECT_TRUE(waitUntil([this] { return oskel::send_trouble(handle) == SendTrouble::kStuck; }));
    EXPECT_EQ(terminal.read(run.size()), run);
    EXPECT_TRUE(waitUntil([this] { return oskel::send_trouble(handle) == SendTrouble::kNone; }));
}

TEST_F(SlowLine, MarkedRunsHaveRoomOfTheirOwn) {
    dial(2400);
    const Bytes run(1000);
    int taken = 0;
    while (oskel::push_bytes(run.data(), 1000, handle) == 1000) {
        ++taken;
    }
    EXPECT_GE(taken, 65);
    EXPECT_LE(taken, 66) << "with the one under way";
    for (int i = 0; i < 4; ++i) {
        oskel::mark_ahead(handle);
        EXPECT_EQ(oskel::push_bytes(run.data(), 1000, handle), 1000);
        EXPECT_EQ(oskel::push_bytes(run.data(), 1000, handle), 0) << "not marked";
    }
    oskel::mark_ahead(handle);
    EXPECT_EQ(oskel::push_bytes(run.data(), 1000, handle), 0) << "full for these too";
}

TEST_F(SlowLine, RunsQueuedAtTheCloseGoOut) {
    dial(9600);
    for (char letter = 'a'; letter <= 'f'; ++letter) {
        push(frame(letter), handle);
    }
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_EQ(order(terminal.read(6 * kFrame)), "abcdef");
}

TEST_F(SlowLine, AStopAtTheCloseGoesOutThoughMoreWaitsThanCan) {
    dial(2400);
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        push(frame(letter), handle);
    }
    oskel::mark_ahead(handle);
    push(frame('S'), handle);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, close_deadline);
    const std::string letters = order(terminal.read(arrived(terminal)));
    EXPECT_NE(letters.find('S'), std::string::npos) << letters;
    EXPECT_EQ(letters.find('z'), std::string::npos) << letters;
}

TEST_F(SlowLine, MoreThanTheLineCarriesIsATroubleUntilItIsOut) {
    dial(9600);
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kNone);
    push(frame('a'), handle);
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kNone);
    for (int i = 0; i < 40; ++i) {
        push(frame('b'), handle);
    }
    EXPECT_TRUE(waitUntil([this] { return oskel::send_trouble(handle) == SendTrouble::kStuck; }));
    EXPECT_TRUE(waitUntil([this] { return oskel::send_trouble(handle) == SendTrouble::kNone; }));
    EXPECT_EQ(terminal.read(41 * kFrame).size(), 41 * kFrame);
}

// A single run may take longer than a second and is in no trouble while it moves.
TEST_F(SlowLine, ALongRunIsNoTrouble) {
    dial(9600);
    const Bytes run(2000);
    ASSERT_EQ(oskel::push_bytes(run.data(), 2000, handle), 2000);
    EXPECT_TRUE(waitUntil([this] {
        EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kNone);
        return oskel::line_busy_ms(handle) == 0;
    }));
}

TEST_F(SlowLine, ADeviceThatVanishesIsATroubleUntilTheClose) {
    dial(9600);
    terminal.unplug();
    EXPECT_TRUE(waitUntil([this] { return oskel::send_trouble(handle) == SendTrouble::kGone; }));
    EXPECT_EQ(push("anybody?", handle), -1);
    EXPECT_EQ(oskel::line_busy_ms(handle), 0);
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kNone);
}

TEST_F(SlowLine, AFastLineCarriesManySmallRunsInOrder) {
    dial(460800);
    Bytes sent;
    for (int i = 0; i < 1000; ++i) {
        const Bytes run = countingBytes(kFrame);
        ASSERT_EQ(oskel::push_bytes(run.data(), kFrame, handle), 44);
        sent.insert(sent.end(), run.begin(), run.end());
    }
    EXPECT_EQ(terminal.read(sent.size()), sent);
}

}  // namespace
