// The built program's further forms of video on loopback: blocks, sound, restarts, a clip as the source.
#include <algorithm>
#include <csignal>
#include <cstdio>

#include "simulator/pod/renderer.h"
#include "tests/simulator/av_reader.h"
#include "tests/simulator/program_helpers.h"

namespace podsim {
namespace {

std::string here(int fd) { return "127.0.0.1:" + std::to_string(portOf(fd)); }

void writeFile(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Decodes an elementary stream from its first key picture on; the numbers drawn in its pictures.
std::vector<int> numbersOf(const Bytes& stream, const char* format, AVCodecID id) {
    const std::string path = tempPath("podsim-es-");
    writeFile(path, stream);
    std::vector<int> numbers;
    {
        AvSource source(30s);
        EXPECT_TRUE(source.open(path, format, {}));
        std::vector<Bytes> units;
        source.read(1000, units);
        AvDecoder decoder(id);
        for (const Bytes& unit : units) {
            decoder.decode(unit, [&](const AVFrame& frame) {
                numbers.push_back(
                    readFrameNumber(frame.data[0], frame.linesize[0], frame.width, frame.height));
            });
        }
    }
    unlink(path.c_str());
    return numbers;
}

// The next `count` datagrams one behind the other.
Bytes readDatagrams(int fd, int count) {
    Bytes all;
    for (int n = 0; n < count; ++n) {
        const Bytes datagram = readOnce(fd, 20s);
        EXPECT_FALSE(datagram.empty());
        all.insert(all.end(), datagram.begin(), datagram.end());
    }
    return all;
}

bool waitLogged(const std::string& log, const std::string& text) {
    const auto deadline = Clock::now() + 20s;
    while (!contains(linesOf(log), text)) {
        if (Clock::now() > deadline) {
            return false;
        }
        usleep(10000);
    }
    return true;
}

void expectRising(const std::vector<int>& numbers, std::size_t at_least) {
    EXPECT_GE(numbers.size(), at_least);
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        EXPECT_EQ(numbers[i], numbers[i - 1] + 1);
    }
}

// Pictures of the stream in the next `count` datagrams. On a busy machine some may be lost on the way, then
// the next ones tell.
void expectGoesOn(int fd, int count) {
    std::size_t most = 0;
    for (int n = 0; n < 5 && most < 10; ++n) {
        most = std::max(most, numbersOf(readDatagrams(fd, count), "h264", AV_CODEC_ID_H264).size());
    }
    EXPECT_GE(most, 10u);
}

void pullBlocks(const std::string& option, const std::string& header) {
    const int fd = udpSocket();
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--size0", "512x288", "--kbps0", "800", "--blocks0",
             here(fd), "--block-header0", option});
    ASSERT_TRUE(pod.waitReady());
    EXPECT_EQ(pod.address("blocks0"), here(fd));
    Bytes stream;
    for (int n = 0; n < 120; ++n) {
        const Bytes datagram = readOnce(fd, 20s);
        ASSERT_FALSE(datagram.empty());
        ASSERT_EQ(datagram.size() % 256, 0u);
        ASSERT_LE(datagram.size(), 2048u - 255u) << "a receiver that holds a block's rest has room";
        for (std::size_t at = 0; at < datagram.size(); at += 256) {
            const auto begin = datagram.begin() + static_cast<long>(at);
            ASSERT_EQ(std::string(begin, begin + static_cast<long>(header.size())), header);
            stream.insert(stream.end(), begin + static_cast<long>(header.size()), begin + 256);
        }
    }
    expectRising(numbersOf(stream, "h264", AV_CODEC_ID_H264), 10);
    close(fd);
}

TEST(ProgramStreams, Blocks) { pullBlocks("hex:EB90007F", std::string("\xEB\x90\0\x7F", 4)); }
TEST(ProgramStreams, BlocksWithTheUsualHeader) { pullBlocks("0", "0"); }
TEST(ProgramStreams, BlocksWithoutHeader) { pullBlocks("", ""); }

// Sound as it went in: AAC that a decoder takes, as long as the pictures and beside them.
void expectSound(AvSource& source) {
    EXPECT_EQ(source.sound_codec, AV_CODEC_ID_AAC);
    EXPECT_EQ(source.streams(), 2u);
    // 60 pictures take 2.4 s or 112 frames of sound; the first may come late.
    EXPECT_GE(source.sounds.size(), 60u);
    EXPECT_NEAR(source.sound_s, source.picture_s, 1.0);
}

TEST(ProgramStreams, SoundInATransportStream) {
    const int probe = udpSocket();
    const std::string to = here(probe);
    close(probe);
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--size0", "512x288", "--ts0", to, "--sound0", "on"});
    ASSERT_TRUE(pod.waitReady());
    AvSource source(40s);
    ASSERT_TRUE(source.open("udp://" + to, "mpegts", {{"fifo_size", "5000"}}));
    std::vector<Bytes> units;
    ASSERT_TRUE(source.read(60, units));
    expectSound(source);
}

TEST(ProgramStreams, SoundOverRtsp) {
    Pod pod({"--udp", "off", "--rtsp-port", "0", "--size0", "512x288", "--sound0", "on"});
    ASSERT_TRUE(pod.waitReady());
    AvSource source(40s);
    ASSERT_TRUE(source.open(pod.address("rtsp0"), "rtsp", {{"rtsp_transport", "tcp"}}));
    std::vector<Bytes> units;
    ASSERT_TRUE(source.read(60, units));
    expectSound(source);
    // A viewer that wants the pictures alone is not held up by the sound.
    AvSource deaf(40s);
    ASSERT_TRUE(deaf.open(pod.address("rtsp0"), "rtsp",
                          {{"rtsp_transport", "tcp"}, {"allowed_media_types", "video"}}));
    units.clear();
    EXPECT_TRUE(deaf.read(60, units));
    EXPECT_TRUE(deaf.sounds.empty());
}

TEST(ProgramStreams, RestartHangsUpAndBringsAnotherCodecAndSize) {
    const std::string log = tempPath("podsim-restart-");
    Pod pod(
        {"--udp", "off", "--rtsp-port", "0", "--size0", "512x288", "--size1", "512x288", "--event-log", log});
    ASSERT_TRUE(pod.waitReady());
    AvSource first(30s);
    AvSource other(60s);
    std::vector<Bytes> units;
    ASSERT_TRUE(first.open(pod.address("rtsp0"), "rtsp", {{"rtsp_transport", "tcp"}}));
    ASSERT_TRUE(first.read(3, units));
    ASSERT_TRUE(other.open(pod.address("rtsp1"), "rtsp", {{"rtsp_transport", "tcp"}}));
    pod.writeLine("restart 0 h265 640x512");
    EXPECT_FALSE(first.read(100000, units)) << "hung up";
    EXPECT_TRUE(waitLogged(log, " restart channel=0 codec=h265 size=640x512 done=1"));
    AvSource again(40s);
    ASSERT_TRUE(again.open(pod.address("rtsp0"), "rtsp", {{"rtsp_transport", "tcp"}}));
    units.clear();
    ASSERT_TRUE(again.read(10, units));
    EXPECT_EQ(again.codec, AV_CODEC_ID_HEVC);
    int wide = 0;
    AvDecoder decoder(AV_CODEC_ID_HEVC);
    for (const Bytes& unit : units) {
        decoder.decode(unit,
                       [&](const AVFrame& frame) { wide += frame.width == 640 && frame.height == 512; });
    }
    EXPECT_GE(wide, 5);
    units.clear();
    EXPECT_TRUE(other.read(50, units)) << "the other channel's viewers stay";
    unlink(log.c_str());
}

// The clock references of a transport stream's packets.
std::vector<std::uint64_t> clocksOf(const Bytes& packets) {
    std::vector<std::uint64_t> clocks;
    for (std::size_t at = 0; at + 188 <= packets.size(); at += 188) {
        const std::uint8_t* p = packets.data() + at;
        if ((p[3] & 0x20) != 0 && p[4] >= 7 && (p[5] & 0x10) != 0) {
            clocks.push_back(static_cast<std::uint64_t>(p[6]) << 25 | static_cast<std::uint64_t>(p[7]) << 17 |
                             static_cast<std::uint64_t>(p[8]) << 9 | static_cast<std::uint64_t>(p[9]) << 1 |
                             p[10] >> 7);
        }
    }
    return clocks;
}

TEST(ProgramStreams, RestartBeginsTheStampsAgain) {
    const int fd = udpSocket();
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--size0", "512x288", "--ts0", here(fd)});
    ASSERT_TRUE(pod.waitReady());
    std::uint64_t last = 0;
    const auto deadline = Clock::now() + 30s;
    while (last < 45000 && Clock::now() < deadline) {
        for (const std::uint64_t clock : clocksOf(readOnce(fd, 20s))) {
            EXPECT_TRUE(clock > last || clock == 0);
            last = clock;
        }
    }
    pod.writeLine("restart 0");
    bool again = false;
    while (!again && Clock::now() < deadline) {
        for (const std::uint64_t clock : clocksOf(readOnce(fd, 20s))) {
            again = again || clock == 0;
        }
    }
    EXPECT_TRUE(again);
    close(fd);
}

TEST(ProgramStreams, RestartThatCannotBeGoesOnAsBefore) {
    const int fd = udpSocket();
    const std::string log = tempPath("podsim-norestart-");
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--size0", "512x288", "--kbps0", "800", "--slices0", "4",
             "--raw0", here(fd), "--event-log", log});
    ASSERT_TRUE(pod.waitReady());
    readDatagrams(fd, 10);
    pod.writeLine("restart 0 h265");
    EXPECT_TRUE(waitLogged(log, " restart channel=0 codec=h264 size=512x288 done=0"));
    while (!readOnce(fd, 0ms).empty()) {  // what came meanwhile may have been lost in part
    }
    pod.writeLine("restart 0 nonsense");
    const auto answer = pod.readLine();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->find("restart: "), 0u) << *answer;
    expectGoesOn(fd, 400);
    close(fd);
    unlink(log.c_str());
}

TEST(ProgramStreams, AClipIsTheSource) {
    const std::string path = tempPath("podsim-recorded-");
    std::vector<int> recorded;
    {
        const int fd = udpSocket();
        Pod pod({"--udp", "off", "--rtsp-port", "off", "--size0", "512x288", "--kbps0", "800", "--raw0",
                 here(fd)});
        ASSERT_TRUE(pod.waitReady());
        const Bytes stream = readDatagrams(fd, 80);
        recorded = numbersOf(stream, "h264", AV_CODEC_ID_H264);
        writeFile(path, stream);
        close(fd);
    }
    ASSERT_GE(recorded.size(), 5u);
    const int fd = udpSocket();
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--clip0", path, "--raw0", here(fd)});
    ASSERT_TRUE(pod.waitReady());
    // Twice and a half.
    const std::vector<int> shown = numbersOf(readDatagrams(fd, 200), "h264", AV_CODEC_ID_H264);
    ASSERT_GT(shown.size(), recorded.size() + 3);
    int begun_again = 0;
    for (std::size_t i = 1; i < shown.size(); ++i) {
        const bool on = shown[i] == shown[i - 1] + 1;
        // The recording's last picture may be cut.
        const bool again = shown[i] == recorded.front() && shown[i - 1] >= recorded.back() - 1;
        EXPECT_TRUE(on || again) << shown[i - 1] << " " << shown[i];
        begun_again += again ? 1 : 0;
    }
    EXPECT_GE(begun_again, 1);
    close(fd);
    unlink(path.c_str());
}

// The clip is away while the stream is to begin anew, and comes back later.
TEST(ProgramStreams, RestartWithoutItsClipGoesOnAsBefore) {
    const std::string path = tempPath("podsim-clip-");
    const std::string log = tempPath("podsim-noclip-");
    {
        const int fd = udpSocket();
        Pod pod({"--udp", "off", "--rtsp-port", "off", "--size0", "512x288", "--kbps0", "800", "--raw0",
                 here(fd)});
        ASSERT_TRUE(pod.waitReady());
        writeFile(path, readDatagrams(fd, 200));
        close(fd);
    }
    const int fd = udpSocket();
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--clip0", path, "--raw0", here(fd), "--event-log", log});
    ASSERT_TRUE(pod.waitReady());
    readDatagrams(fd, 10);
    ASSERT_EQ(std::rename(path.c_str(), (path + ".away").c_str()), 0);
    pod.writeLine("restart 0");
    EXPECT_TRUE(waitLogged(log, " restart channel=0 codec=h264 size=512x288 done=0"));
    ASSERT_EQ(std::rename((path + ".away").c_str(), path.c_str()), 0);
    while (!readOnce(fd, 0ms).empty()) {  // what came meanwhile may have been lost in part
    }
    expectGoesOn(fd, 250);
    pod.writeLine("restart 0");
    EXPECT_TRUE(waitLogged(log, " restart channel=0 codec=h264 size=512x288 done=1"));
    close(fd);
    unlink(path.c_str());
    unlink(log.c_str());
}

TEST(ProgramStreams, AClipThatIsNoneEndsTheStart) {
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--clip0", "/nonexistent.mp4"});
    EXPECT_EQ(pod.waitExit(20s), 1);
    EXPECT_NE(pod.errors().find("/nonexistent.mp4"), std::string::npos);
}

}  // namespace
}  // namespace podsim
