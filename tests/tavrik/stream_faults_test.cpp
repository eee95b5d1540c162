// What goes wrong with a stream while it is shown and recorded: what is shown and what is on the disk
// afterwards, and that closing takes no time in the midst of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <ostream>
#include <thread>

#include "camera.h"
#include "recording.h"
#include "tavrik/recorder.h"
#include "tavrik/tavrik.h"
#include "tests/fakes/chaos_proxy.h"
#include "ts_writer.h"

namespace tavrik::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kPictures = 80;

const Film& film() {
    static const Film made = [] {
        FilmSettings settings;
        settings.width = 320;
        settings.height = 240;
        settings.kbps = 1500;
        settings.slices = 1;
        settings.key_interval = 10;
        settings.pictures = kPictures;
        return makeFilm(settings);
    }();
    return made;
}

std::string runIn(const std::string& path) {
    const Recording recording = readRecording(path);
    return runOf(numbersOf(film(), recording.sums)) + recording.trouble;
}

enum class Way { kRaw, kTransport, kRtsp };

void PrintTo(Way way, std::ostream* out) {
    *out << (way == Way::kRaw ? "Raw" : way == Way::kTransport ? "Transport" : "Rtsp");
}

constexpr std::int64_t kUntold = -1;

// A sender of units with the times that a test wants.
class Sender {
public:
    explicit Sender(Way way) : m_way(way), m_port(freeUdpPort()), m_udp(m_port) {
        if (way == Way::kRtsp) {
            m_server = std::make_unique<RtspServer>(RtspServer::Settings{});
        }
    }
    int open(Receiver& receiver) {
        const bool rtsp = m_server != nullptr;
        const std::string url = rtsp ? m_server->url() : "";
        const int handle = feedOpen(url.c_str(), m_port, receiver.onFrame(), receiver.onAudio(), "", rtsp, "",
                                    receiver.onSei(), 1);
        EXPECT_GT(handle, 0);
        EXPECT_TRUE(!rtsp || m_server->waitForPlay(kPatienceMs));
        return handle;
    }
    void send(const Bytes& unit, std::int64_t time) {
        if (m_way == Way::kRtsp) {
            m_server->sendPicture(unit, static_cast<std::uint32_t>(time));
        } else if (m_way == Way::kRaw) {
            m_udp.send(unit, 1400);
        } else {
            m_writer.tables(0x1B);
            m_writer.times(time);
            m_writer.pes(TsWriter::kVideoPid, unit, unit.size() < 60000);
            m_udp.send(m_writer.take(), 1316);
        }
        std::this_thread::sleep_for(4ms);
    }

private:
    Way m_way;
    int m_port;
    UdpSender m_udp;
    std::unique_ptr<RtspServer> m_server;
    TsWriter m_writer;
};

class StreamFaults : public testing::TestWithParam<Way> {
protected:
    // Both wait for a first picture.
    void askForFiles(int handle) {
        captureBegin((m_folder / "a.mp4").c_str(), handle, 1);
        StillBegin(handle, m_folder.path().c_str(), 0, 1, (m_folder / "a.jpg").c_str());
    }

    const Folder m_folder{"faults"};
    Receiver m_receiver;
};

TEST_P(StreamFaults, ParameterSetsAloneShowNothingAndWriteNothing) {
    Bytes sets;
    for (const Bytes& nal : nalsOf(film().unit(0))) {
        if (nal[0] % 32 == 7 || nal[0] % 32 == 8) {
            const Bytes one = annexB({nal});
            sets.insert(sets.end(), one.begin(), one.end());
        }
    }
    for (const bool pictures_follow : {false, true}) {
        Sender sender(GetParam());
        const int handle = sender.open(m_receiver);
        askForFiles(handle);
        for (int n = 0; n < 50; ++n) {
            sender.send(sets, n * 3600);
        }
        EXPECT_TRUE(m_receiver.numbers().empty());
        EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
        for (std::size_t n = 0; pictures_follow && n < 25; ++n) {
            sender.send(film().unit(n), static_cast<std::int64_t>(50 + n) * 3600);
        }
        EXPECT_TRUE(!pictures_follow || m_receiver.waitForFrames(24));
        closeInTime(handle);
        if (!pictures_follow) {
            EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
        }
    }
    EXPECT_EQ(m_receiver.numbers().front(), 0);
    EXPECT_TRUE(std::filesystem::exists(m_folder / "a.jpg"));
    // Of raw bytes nothing shows that the last picture is whole.
    EXPECT_THAT(runIn(m_folder / "a.mp4"), testing::AnyOf("0..23", "0..24"));
}

INSTANTIATE_TEST_SUITE_P(Tavrik, StreamFaults, testing::Values(Way::kRaw, Way::kTransport, Way::kRtsp));

// Joined behind the only key picture for a long time: what there is is shown after a while, the file begins
// with the key picture that comes at last.
TEST(StreamFaultsKey, NoneForTenSecondsIsShownAndRecordedFromTheNextOne) {
    const Folder folder("nokey");
    struct Line {
        Sender sender;
        Receiver receiver;
        std::string path;
        int handle = 0;
    };
    Line lines[] = {{Sender(Way::kRaw), {}, folder / "raw.mp4"},
                    {Sender(Way::kTransport), {}, folder / "transport.mp4"},
                    {Sender(Way::kRtsp), {}, folder / "rtsp.mp4"}};
    EncoderSettings coding;
    coding.key_interval = 10000;
    TestEncoder endless(coding), fresh(EncoderSettings{});
    std::vector<Bytes> sets;
    for (const Bytes& nal : nalsOf(endless.encode(0))) {
        if (nal[0] % 32 == 7 || nal[0] % 32 == 8) {
            sets.push_back(nal);
        }
    }
    for (Line& line : lines) {
        line.handle = line.sender.open(line.receiver);
        captureBegin(line.path.c_str(), line.handle, 1);
    }
    const auto start = std::chrono::steady_clock::now();
    int sent = 0;
    const auto shown = [&] {
        for (Line& line : lines) {
            if (line.receiver.numbers().empty()) {
                return false;
            }
        }
        return true;
    };
    EXPECT_TRUE(stream(
        [&](int n) {
            std::vector<Bytes> nals = sets;
            for (const Bytes& nal : nalsOf(endless.encode(n + 1))) {
                nals.push_back(nal);
            }
            for (Line& line : lines) {
                line.sender.send(annexB(nals), static_cast<std::int64_t>(n) * 3600);
            }
            sent = n + 1;
        },
        [&] { return std::chrono::steady_clock::now() - start > 10s && shown(); }, 40));
    // On a machine that stood still for seconds a recording has begun without a key picture.
    const bool in_time = std::chrono::steady_clock::now() - start < 2 * Recorder::kMaxWaitForKey - 1s;
    EXPECT_TRUE(!in_time || std::filesystem::is_empty(folder.path()));
    for (int n = 0; n < 25; ++n) {
        const Bytes unit = fresh.encode(2000 + n);
        for (Line& line : lines) {
            line.sender.send(unit, static_cast<std::int64_t>(sent + n) * 3600);
        }
    }
    for (Line& line : lines) {
        EXPECT_TRUE(line.receiver.waitForNumber(2023));
        closeInTime(line.handle);
        const Recording recording = readRecording(line.path);
        EXPECT_TRUE(!in_time || recording.trouble.empty()) << line.path << recording.trouble;
        EXPECT_GE(recording.sums.size(), 24u);
        EXPECT_TRUE(!in_time || recording.sums.size() <= 25) << recording.sums.size();
    }
}

enum class Times { kBackwards, kWrapped, kAbsent, kStanding };

struct TimesCase {
    Way way;
    Times times;
};

void PrintTo(const TimesCase& c, std::ostream* out) {
    static constexpr const char* kNames[] = {"Backwards", "Wrapped", "Absent", "Standing"};
    PrintTo(c.way, out);
    *out << kNames[static_cast<int>(c.times)];
}

class StreamTimes : public testing::TestWithParam<TimesCase> {
protected:
    std::int64_t timeOf(std::size_t n) const {
        const bool rtsp = GetParam().way == Way::kRtsp;
        const std::int64_t range = rtsp ? std::int64_t{1} << 32 : std::int64_t{1} << 33;
        const auto at = static_cast<std::int64_t>(n) * 3600;
        switch (GetParam().times) {
            case Times::kBackwards:
                return n < 25 ? range / 2 + at : at;
            case Times::kWrapped:
                return (range - 30 * 3600 + at) % range;
            case Times::kAbsent:
                return rtsp ? 0 : kUntold;
            case Times::kStanding:
                break;
        }
        return 12345;
    }
};

TEST_P(StreamTimes, OfAnyKindShowAndRecordEveryPictureInItsOrder) {
    const Folder folder("times");
    Sender sender(GetParam().way);
    Receiver receiver;
    const int handle = sender.open(receiver);
    const std::string path = folder / "a.mp4";
    captureBegin(path.c_str(), handle, 1);
    for (std::size_t n = 0; n < 60; ++n) {
        sender.send(film().unit(n), timeOf(n));
    }
    EXPECT_TRUE(receiver.waitForFrames(60));
    closeInTime(handle);
    EXPECT_EQ(runOf(receiver.numbers()), "0..59");
    EXPECT_EQ(runIn(path), "0..59");
    const Recording recording = readRecording(path);
    for (std::size_t i = 1; i < recording.times.size(); ++i) {
        EXPECT_GT(recording.times[i], recording.times[i - 1]) << i;
        EXPECT_LT(recording.times[i], recording.times[i - 1] + 90000 * 5) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Tavrik, StreamTimes,
    testing::Values(TimesCase{Way::kTransport, Times::kBackwards},
                    TimesCase{Way::kTransport, Times::kWrapped}, TimesCase{Way::kTransport, Times::kAbsent},
                    TimesCase{Way::kTransport, Times::kStanding}, TimesCase{Way::kRtsp, Times::kBackwards},
                    TimesCase{Way::kRtsp, Times::kWrapped}, TimesCase{Way::kRtsp, Times::kStanding}));

// Two handles on one address: over RTSP both show; of a port the first one's is the stream.
TEST(StreamFaultsAddress, BothChannelsOnOneShowOrWaitAndCloseInEitherOrder) {
    for (const Way way : {Way::kRtsp, Way::kTransport}) {
        for (const bool first_closes_first : {true, false}) {
            Sender sender(way);
            Receiver first, second;
            const int one = sender.open(first);
            sender.send(film().unit(0), 0);
            EXPECT_TRUE(first.waitForFrames(1));
            const int two = sender.open(second);
            std::size_t n = 10;
            const bool both = way == Way::kRtsp;
            EXPECT_TRUE(stream(
                [&](int) {
                    sender.send(film().unit(n % kPictures), static_cast<std::int64_t>(n) * 3600);
                    ++n;
                },
                [&] { return first.numbers().size() >= 20 && (!both || second.numbers().size() >= 10); },
                10));
            EXPECT_TRUE(both || second.numbers().empty());
            closeInTime(first_closes_first ? one : two);
            Receiver& left = first_closes_first ? second : first;
            const std::size_t before = left.numbers().size();
            EXPECT_TRUE(stream(
                [&](int) {
                    sender.send(film().unit(n % kPictures), static_cast<std::int64_t>(n) * 3600);
                    ++n;
                },
                [&] { return left.numbers().size() >= before + 10; }, 10));
            closeInTime(first_closes_first ? two : one);
        }
    }
}

// The recording of a camera whose line dies: what has come is on the disk, whole.
TEST(StreamFaultsCut, WhileRecordingLeavesEveryPictureThatCame) {
    for (const bool dies : {true, false}) {
        const Folder folder("cut");
        RtspServer server({});
        Receiver receiver;
        const int handle =
            feedOpen(server.url().c_str(), 0, receiver.onFrame(), nullptr, "", true, "", nullptr, 1);
        ASSERT_TRUE(server.waitForPlay(kPatienceMs));
        captureBegin((folder / "a.mp4").c_str(), handle, 1);
        for (std::uint32_t n = 0; n < 37; ++n) {
            server.sendPicture(film().unit(n), n * 3600);
        }
        ASSERT_TRUE(receiver.waitForFrames(37));
        if (dies) {
            server.kill();
        }
        closeInTime(handle);
        EXPECT_TRUE(isClosed(folder / "a.mp4"));
        EXPECT_EQ(runIn(folder / "a.mp4"), "0..36");
    }
}

TEST(StreamFaultsReconnect, InAnotherCodingLeavesTwoFilesThatPlay) {
    const Folder folder("reconnect");
    const char* const names[] = {"h264", "hevc"};
    int port = 0;
    for (const Codec codec : {Codec::kH264, Codec::kH265}) {
        RtspServer::Settings settings;
        settings.codec = codec;
        settings.port = port;
        RtspServer server(settings);
        port = server.port();
        TestEncoder encoder(EncoderSettings{codec});
        Receiver receiver;
        const int handle =
            feedOpen(server.url().c_str(), 0, receiver.onFrame(), nullptr, "", true, "", nullptr, 1);
        ASSERT_TRUE(server.waitForPlay(kPatienceMs));
        const std::string path = folder / names[codec == Codec::kH265] + ".mp4";
        captureBegin(path.c_str(), handle, 1);
        for (int n = 0; n < 25; ++n) {
            server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * 3600);
        }
        ASSERT_TRUE(receiver.waitForFrames(25));
        server.kill();
        closeInTime(handle);
        const Recording recording = readRecording(path);
        EXPECT_EQ(recording.trouble, "");
        EXPECT_EQ(recording.sums.size(), 25u);
        EXPECT_EQ(probed(path, "v:0", "stream=codec_name"), names[codec == Codec::kH265]);
    }
}

// A line that carries half of what is sent, and that rests in the midst of pictures.
TEST(StreamFaultsSlowLine, CostsTheRecordingNoPicture) {
    const Folder folder("slow");
    RtspServer server({});
    chaos::TcpProxy line(0, static_cast<std::uint16_t>(server.port()), 5);
    chaos::Faults slow;
    slow.rate = 200000;
    slow.largest_chunk = 700;
    line.setFaults({}, slow);
    line.setPauses({}, {{60001, 300ms}, {50003, 500ms}, {100003, 200ms}});
    std::string url = server.url();
    const std::string port = std::to_string(server.port());
    url.replace(url.find(port), port.size(), std::to_string(line.port()));
    Receiver receiver;
    const int handle = feedOpen(url.c_str(), 0, receiver.onFrame(), nullptr, "", true, "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    captureBegin((folder / "a.mp4").c_str(), handle, 1);
    std::thread camera([&] {
        for (std::uint32_t n = 0; n < kPictures; ++n) {
            server.sendPicture(film().unit(n), n * 3600);
            std::this_thread::sleep_for(20ms);
        }
    });
    EXPECT_TRUE(receiver.waitForFrames(kPictures));
    camera.join();
    EXPECT_EQ(line.toClient().pauses, 3u);
    closeInTime(handle);
    EXPECT_EQ(runIn(folder / "a.mp4"), "0.." + std::to_string(kPictures - 1));
}

// The camera gets another address, or another unit takes over, amid the recording.
TEST(StreamFaultsSender, ThatComesFromAnotherAddressIsRecordedOn) {
    const Folder folder("address");
    const int port = freeUdpPort();
    Receiver receiver;
    const int handle = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    WireForm form;
    form.pes_lengths = true;
    const std::vector<Datagrams> pictures = datagramsOf(film(), 60, form);
    captureBegin((folder / "a.mp4").c_str(), handle, 1);
    for (std::size_t n = 0; n < pictures.size(); ++n) {
        // A socket for each stretch; the last comes from elsewhere on the loopback net.
        static constexpr const char* kFrom[] = {"127.0.0.1", "127.0.0.1", "127.0.0.2"};
        const int out = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in local{}, to{};
        local.sin_family = to.sin_family = AF_INET;
        ::inet_pton(AF_INET, kFrom[n / 20], &local.sin_addr);
        to.sin_port = htons(static_cast<std::uint16_t>(port));
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(::bind(out, reinterpret_cast<const sockaddr*>(&local), sizeof(local)), 0);
        for (const Bytes& datagram : pictures[n]) {
            ::sendto(out, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                     sizeof(to));
        }
        ::close(out);
        ASSERT_TRUE(receiver.waitForFrames(n + 1));
    }
    closeInTime(handle);
    EXPECT_EQ(runOf(receiver.numbers()), "0..59");
    EXPECT_EQ(runIn(folder / "a.mp4"), "0..59");
}

}  // namespace
}  // namespace tavrik::test
