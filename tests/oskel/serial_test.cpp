// Serial ports on pseudo terminals, which stand in for real lines.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "oskel/oskel.h"
#include "tests/oskel/peers.h"
#include "tests/oskel/terminal.h"

namespace {

using namespace peers;

TEST(Serial, CarriesAll256ValuesBothWays) {
    Terminal terminal;
    Inbox inbox;
    const int handle = oskel::dialSerial(terminal.name(), 115200, inbox.callback());
    ASSERT_GE(handle, 1);
    const auto run = countingBytes(1024);
    terminal.write(run);
    EXPECT_EQ(inbox.waitFor(run.size()), run);
    EXPECT_TRUE(inbox.contextsAreZero());
    EXPECT_EQ(oskel::push_bytes(run.data(), 1024, handle), 1024);
    EXPECT_EQ(terminal.read(run.size()), run);
    EXPECT_EQ(oskel::hang_up(handle), 0);
}

TEST(Serial, ANameWithoutASlashLiesInDev) {
    Terminal terminal;
    const std::string full = terminal.name();
    ASSERT_EQ(full.compare(0, 9, "/dev/pts/"), 0);
    // Of the devices, ptmx is the one terminal without a slash that every machine has.
    const int handle = oskel::dialSerial("ptmx", 9600, {});
    EXPECT_GE(handle, 1);
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_EQ(oskel::dialSerial("pts", 9600, {}), -1);
}

TEST(Serial, LineIsEightBitsNoParityOneStopBitAtTheRateAsked) {
    const std::pair<int, speed_t> rates[] = {{2400, B2400},     {4800, B4800},     {9600, B9600},
                                             {19200, B19200},   {38400, B38400},   {115200, B115200},
                                             {230400, B230400}, {460800, B460800}, {921600, B921600}};
    for (const auto& [baud, speed] : rates) {
        Terminal terminal;
        const int handle = oskel::dialSerial(terminal.name(), baud, {});
        ASSERT_GE(handle, 1) << baud;
        const auto settings = terminal.settings();
        EXPECT_EQ(::cfgetospeed(&settings), speed);
        EXPECT_EQ(::cfgetispeed(&settings), speed);
        EXPECT_EQ(settings.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS), static_cast<tcflag_t>(CS8));
        EXPECT_EQ(settings.c_iflag & (IXON | IXOFF | ICRNL | ISTRIP), 0u);
        EXPECT_EQ(settings.c_lflag & (ICANON | ECHO | ISIG), 0u);
        oskel::hang_up(handle);
    }
}

TEST(Serial, RatesThatTheSystemLacksFail) {
    Terminal terminal;
    for (const int baud : {0, -1, -9600, 7, 123456789}) {
        EXPECT_EQ(oskel::dialSerial(terminal.name(), baud, {}), -1);
    }
}

TEST(Serial, ADeviceThatVanishesEndsThePortQuietly) {
    std::signal(SIGPIPE, SIG_DFL);
    Terminal terminal;
    Inbox inbox;
    const int handle = oskel::dialSerial(terminal.name(), 115200, inbox.callback());
    ASSERT_GE(handle, 1);
    terminal.write(bytes("last"));
    EXPECT_EQ(inbox.waitFor(4), bytes("last"));
    terminal.unplug();
    EXPECT_TRUE(waitUntil([&] { return push("anybody?", handle) == -1; }));
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_EQ(oskel::hang_up(handle), -1);
}

TEST(Serial, QueueIsLimitedAndWholeRunsAreDropped) {
    Terminal terminal;
    const int handle = oskel::dialSerial(terminal.name(), 115200, {});
    ASSERT_GE(handle, 1);
    Bytes taken;
    const auto until = std::chrono::steady_clock::now() + deadline;
    while (std::chrono::steady_clock::now() < until) {
        const auto run = countingBytes(1000);
        if (oskel::push_bytes(run.data(), 1000, handle) == 0) {
            break;
        }
        taken.insert(taken.end(), run.begin(), run.end());
    }
    EXPECT_GE(taken.size(), 65000u);
    EXPECT_LE(taken.size(), 65536u + 1048576u);
    EXPECT_EQ(terminal.read(taken.size()), taken);
    EXPECT_TRUE(waitUntil([&] { return push("room", handle) == 4; }));
    EXPECT_EQ(terminal.read(4), bytes("room"));
    oskel::hang_up(handle);
}

TEST(Serial, HangsUpInTimeThoughNobodyReads) {
    Terminal terminal;
    const int handle = oskel::dialSerial(terminal.name(), 2400, {});
    ASSERT_GE(handle, 1);
    const Bytes run(1000);
    while (oskel::push_bytes(run.data(), 1000, handle) == 1000) {
        continue;
    }
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, close_deadline);
}

TEST(Serial, LeavesAStuckCallbackBehind) {
    Terminal terminal;
    struct Shared {
        Signal entered;
        Signal release;
    };
    auto shared = std::make_shared<Shared>();
    const int handle =
        oskel::dialSerial(terminal.name(), 9600, [shared](const std::uint8_t*, std::int32_t, std::int32_t) {
            shared->entered.set();
            shared->release.wait(std::chrono::seconds(60));
        });
    ASSERT_GE(handle, 1);
    terminal.write(bytes("x"));
    ASSERT_TRUE(shared->entered.wait());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, close_deadline);
    shared->release.set();
    EXPECT_TRUE(waitUntil([&] { return shared.use_count() == 1; }));
}

TEST(Serial, ThePortCanBeOpenedAgain) {
    Terminal terminal;
    for (int i = 0; i < 5; ++i) {
        Inbox inbox;
        const int handle = oskel::dialSerial(terminal.name(), 460800, inbox.callback());
        ASSERT_GE(handle, 1);
        terminal.write(bytes("again"));
        EXPECT_EQ(inbox.waitFor(5), bytes("again"));
        EXPECT_EQ(oskel::hang_up(handle), 0);
    }
}

TEST(Serial, AFifoIsNotASerialPort) {
    char folder[] = "/tmp/oskel-test-XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    const std::string fifo = std::string(folder) + "/fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(oskel::dialSerial(fifo.c_str(), 9600, {}), -1);
    ::unlink(fifo.c_str());
    ::rmdir(folder);
}

}  // namespace
