// The built program on loopback, seen from a station.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <set>

#include "simulator/bytes.h"
#include "simulator/renderer.h"
#include "tests/simulator/av_reader.h"
#include "tests/simulator/hex.h"
#include "tests/simulator/podsim_process.h"

namespace podsim {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

// Centre the servo: a variable frame.
const Bytes kCentre = bytesOf("FB 2C AA 02 71 00 73");
// Servo rate to the right, 2000, fixed frame without a position.
const Bytes kRight = bytesOf(
    "FB 2C 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 00 "
    "70 D0 07 00 00 A7 F0");

int udpSocket() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local), 0);
    return fd;
}

int portOf(int fd) {
    sockaddr_in local{};
    socklen_t size = sizeof local;
    getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size);
    return ntohs(local.sin_port);
}

void connectTo(int fd, int port) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(static_cast<std::uint16_t>(port));
    ASSERT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
}

// One read of at most 64 KiB; empty when nothing comes in time.
Bytes readOnce(int fd, std::chrono::milliseconds patience) {
    pollfd ready{fd, POLLIN, 0};
    if (poll(&ready, 1, static_cast<int>(patience.count())) != 1) return {};
    Bytes buffer(65536);
    const ssize_t n = read(fd, buffer.data(), buffer.size());
    buffer.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
    return buffer;
}

bool isReport(const Bytes& f) {
    if (f.size() != 64 || f[0] != 0xFC || f[1] != 0x2C || f[63] != 0xF0) return false;
    std::uint8_t x = 0;
    for (std::size_t i = 2; i < 62; ++i) {
        x = static_cast<std::uint8_t>(x ^ f[i]);
    }
    return x == f[62];
}

// Reads datagrams until one is a report that fulfils the condition.
template <typename Condition>
bool waitReport(int fd, Condition condition, std::chrono::seconds patience = 20s) {
    const auto deadline = Clock::now() + patience;
    while (Clock::now() < deadline) {
        const Bytes f = readOnce(fd, 1000ms);
        if (isReport(f) && condition(f.data() + 2)) return true;
    }
    return false;
}

struct Pod : PodsimProcess {
    explicit Pod(std::vector<std::string> arguments) : PodsimProcess(std::move(arguments)) {}
    // A socket that talks to the pod's UDP line.
    int talk() {
        const int fd = udpSocket();
        connectTo(fd, port("udp"));
        EXPECT_EQ(send(fd, kCentre.data(), kCentre.size(), 0), static_cast<ssize_t>(kCentre.size()));
        return fd;
    }
};

std::string tempPath(const char* name) {
    return testing::TempDir() + name + std::to_string(getpid());
}

std::vector<std::string> linesOf(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> all;
    for (std::string line; std::getline(file, line);) {
        all.push_back(line);
    }
    return all;
}

bool contains(const std::vector<std::string>& lines, const std::string& text) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

TEST(Program, AnswersOverUdpAndMoves) {
    const std::string log = tempPath("podsim-udp-");
    Pod pod({"--udp", "0", "--rtsp-port", "off", "--event-log", log});
    ASSERT_TRUE(pod.waitReady());
    const int fd = pod.talk();
    // The feedback is the command's code; the servo comes to rest where it was sent.
    EXPECT_TRUE(waitReport(fd, [](const std::uint8_t* r) { return r[46] == 113; }));
    int yaw = 0;
    ASSERT_TRUE(waitReport(fd, [&](const std::uint8_t* r) {
        yaw = getI16(r + 7);
        return true;
    }));
    ASSERT_EQ(send(fd, kRight.data(), kRight.size(), 0), 44);
    EXPECT_TRUE(waitReport(fd, [&](const std::uint8_t* r) { return getI16(r + 7) > yaw + 100; }));
    pod.writeLine("quit");
    EXPECT_EQ(pod.waitExit(5s), 0);
    const auto lines = linesOf(log);
    EXPECT_TRUE(contains(lines, " start "));
    EXPECT_TRUE(contains(lines, " ready udp=127.0.0.1:"));
    EXPECT_TRUE(contains(
        lines, " command name=CMD_SERVO_CENTRE code=113 frame=variable line=udp raw=FB2CAA02710073"));
    EXPECT_TRUE(contains(lines, " rate_az=2000 rate_el=0"));
    EXPECT_TRUE(contains(lines, " servo state="));
    EXPECT_TRUE(contains(lines, " stop"));
    close(fd);
    unlink(log.c_str());
}

TEST(Program, IdlesWhenNobodyWatches) {
    const std::string log = tempPath("podsim-idle-");
    Pod pod({"--udp", "0", "--rtsp-port", "0", "--event-log", log});
    ASSERT_TRUE(pod.waitReady());
    const int fd = pod.talk();
    for (int reports = 0; reports < 15; ++reports) {
        ASSERT_TRUE(waitReport(fd, [](const std::uint8_t*) { return true; }));
    }
    EXPECT_FALSE(contains(linesOf(log), " frame "));
    close(fd);
    unlink(log.c_str());
}

TEST(Program, VariableReportsOverTcpSurviveADisconnect) {
    Pod pod({"--udp", "off", "--tcp", "0", "--rtsp-port", "off", "--telemetry-form", "variable"});
    ASSERT_TRUE(pod.waitReady());
    for (int round = 0; round < 2; ++round) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        connectTo(fd, pod.port("tcp"));
        Bytes stream;
        const auto deadline = Clock::now() + 10s;
        while (stream.size() < 67 * 3 && Clock::now() < deadline) {
            const Bytes some = readOnce(fd, 1000ms);
            stream.insert(stream.end(), some.begin(), some.end());
        }
        ASSERT_GE(stream.size(), 67u * 3);
        for (std::size_t at = 0; at < 67 * 3; at += 67) {
            EXPECT_EQ(
                Bytes(stream.begin() + static_cast<long>(at), stream.begin() + static_cast<long>(at) + 6),
                bytesOf("FC 2C 55 3E 14 00"));
        }
        pod.writeLine("disconnect");
        bool ended = false;
        while (!ended && Clock::now() < deadline) {
            ended = readOnce(fd, 1000ms).empty();
        }
        EXPECT_TRUE(ended);
        close(fd);
    }
}

TEST(Program, ReportsAndInertialFramesOnPseudoTerminals) {
    const std::string link = tempPath("podsim-pty-");
    const std::string ins_link = tempPath("podsim-ins-");
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--pty-link", link, "--ins-pty-link", ins_link});
    ASSERT_TRUE(pod.waitReady());
    EXPECT_EQ(pod.address("pty").substr(0, 9), "/dev/pts/");
    const int line = open(link.c_str(), O_RDWR | O_NOCTTY);
    const int ins = open(ins_link.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(line, 0);
    ASSERT_GE(ins, 0);
    const auto find = [](int fd, const Bytes& begin, std::size_t size) {
        Bytes stream;
        const auto deadline = Clock::now() + 10s;
        while (Clock::now() < deadline) {
            const Bytes some = readOnce(fd, 1000ms);
            stream.insert(stream.end(), some.begin(), some.end());
            const auto at = std::search(stream.begin(), stream.end(), begin.begin(), begin.end());
            if (static_cast<std::size_t>(stream.end() - at) >= size)
                return Bytes(at, at + static_cast<long>(size));
        }
        return Bytes();
    };
    EXPECT_TRUE(isReport(find(line, {0xFC, 0x2C}, 64)));
    const Bytes frame = find(ins, {0xAA, 0x55, 0x00, 0x3A}, 58);
    ASSERT_EQ(frame.size(), 58u);
    unsigned sum = 0;
    for (std::size_t i = 0; i < 57; ++i) {
        sum += frame[i];
    }
    EXPECT_EQ(frame[57], sum & 255);
    EXPECT_GT(getU16(frame.data() + 4), 2300);  // weeks since 1980
    close(line);
    close(ins);
    EXPECT_EQ((pod.signal(SIGTERM), pod.waitExit(5s)), 0);
    EXPECT_NE(access(link.c_str(), F_OK), 0);
}

TEST(Program, InterfaceFramesGoWhereTold) {
    const int fd = udpSocket();
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--nav-udp", "127.0.0.1:" + std::to_string(portOf(fd)),
             "--position", "48.5,-9.25"});
    ASSERT_TRUE(pod.waitReady());
    const Bytes frame = readOnce(fd, 10s);
    ASSERT_EQ(frame.size(), 44u);
    EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 2), bytesOf("FB 2C"));
    EXPECT_EQ(frame[43], 0xF0);
    EXPECT_NEAR(getI32(frame.data() + 7 + 13) * 1e-7, -9.25, 0.5);
    EXPECT_NEAR(getI32(frame.data() + 7 + 17) * 1e-7, 48.5, 0.5);
    close(fd);
}

TEST(Program, FaultsSwitchWhileItRuns) {
    Pod pod({"--udp", "0", "--rtsp-port", "off", "--fault", "telemetry.silence=on"});
    ASSERT_TRUE(pod.waitReady());
    const int fd = pod.talk();
    pod.writeLine("faults");
    EXPECT_EQ(pod.readLine(), "telemetry: silence=on; video: none");
    EXPECT_TRUE(readOnce(fd, 300ms).empty());
    pod.writeLine("fault telemetry.silence=off");
    EXPECT_TRUE(waitReport(fd, [](const std::uint8_t*) { return true; }));
    pod.signal(SIGUSR1);
    // The signal arrives when it likes: until then the answer is the old one.
    const auto deadline = Clock::now() + 10s;
    std::optional<std::string> told;
    do {
        pod.writeLine("faults");
        told = pod.readLine();
    } while (told && told->find("silence=on") == std::string::npos && Clock::now() < deadline);
    EXPECT_EQ(told, "telemetry: silence=on; video: none");
    while (!readOnce(fd, 200ms).empty() && Clock::now() < deadline) {
    }
    pod.writeLine("faults clear");
    EXPECT_EQ(pod.readLine(), "telemetry: none; video: none");
    EXPECT_TRUE(waitReport(fd, [](const std::uint8_t*) { return true; }));
    pod.writeLine("fault telemetry.corrupt=1");
    Bytes damaged;
    while (Clock::now() < deadline && (damaged.size() != 64 || isReport(damaged))) {
        damaged = readOnce(fd, 1000ms);
    }
    EXPECT_EQ(damaged.size(), 64u);
    EXPECT_FALSE(isReport(damaged));
    pod.writeLine("fault nonsense");
    EXPECT_EQ(pod.readLine()->substr(0, 6), "fault:");
    pod.writeLine("what");
    EXPECT_EQ(pod.readLine(), "no command 'what'; help tells them");
    close(fd);
}

// The message's payload when the unit holds a whole and right one ahead of every other message.
Bytes blockIn(const Bytes& unit, bool h264) {
    Bytes plain;
    // FFmpeg's parser leaves the first zero of a start code with the packet before.
    if (unit.size() > 2 && unit[0] == 0 && unit[1] == 0 && unit[2] == 1) plain.push_back(0);
    int zeros = 0;
    for (const std::uint8_t b : unit) {
        if (zeros >= 2 && b == 3) {
            zeros = 0;
            continue;
        }
        plain.push_back(b);
        zeros = b == 0 ? zeros + 1 : 0;
    }
    const Bytes pattern = h264 ? bytesOf("00 00 00 01 06") : bytesOf("00 00 00 01 4E 01");
    const auto at = std::search(plain.begin(), plain.end(), pattern.begin(), pattern.end());
    const auto body = static_cast<std::size_t>(at - plain.begin()) + pattern.size();
    if (body + 101 > plain.size() || plain[body] != 5 || plain[body + 1] != 97) return {};
    unsigned sum = 0;
    for (auto b = at; b != plain.begin() + static_cast<long>(body) + 98; ++b) {
        sum += *b;
    }
    if (plain[body + 98] != (sum & 255) || plain[body + 99] != 0 || plain[body + 100] != 0x80) return {};
    return Bytes(plain.begin() + static_cast<long>(body) + 2, plain.begin() + static_cast<long>(body) + 99);
}

// Units with the pod's block in each, that decode to pictures whose drawn numbers rise and stand in the log.
void checkUnits(const std::vector<Bytes>& units, AVCodecID codec, int channel, const std::string& log) {
    AvDecoder decoder(codec);
    ASSERT_TRUE(decoder.good());
    std::vector<int> numbers;
    for (const Bytes& unit : units) {
        EXPECT_EQ(blockIn(unit, codec == AV_CODEC_ID_H264).size(), 97u);
        decoder.decode(unit, [&](const AVFrame& frame) {
            numbers.push_back(readFrameNumber(frame.data[0], frame.linesize[0], frame.width, frame.height));
        });
    }
    ASSERT_FALSE(numbers.empty());
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        EXPECT_EQ(numbers[i], numbers[i - 1] + 1);
    }
    EXPECT_TRUE(contains(linesOf(log), " frame channel=" + std::to_string(channel) +
                                           " number=" + std::to_string(numbers.back())));
}

void pullRtsp(const std::string& codec, AVCodecID id) {
    const std::string log = tempPath("podsim-rtsp-");
    Pod pod({"--udp", "off", "--rtsp-port", "0", "--event-log", log, "--codec0", codec, "--size0", "512x288",
             "--size1", "512x288"});
    ASSERT_TRUE(pod.waitReady());
    for (int channel = 0; channel < 2; ++channel) {
        AvSource source(30s);
        ASSERT_TRUE(
            source.open(pod.address("rtsp" + std::to_string(channel)), "rtsp", {{"rtsp_transport", "tcp"}}));
        std::vector<Bytes> units;
        ASSERT_TRUE(source.read(12, units));
        EXPECT_EQ(source.codec, channel == 0 ? id : AV_CODEC_ID_H264);
        checkUnits(units, source.codec, channel, log);
    }
    unlink(log.c_str());
}

TEST(Program, RtspH264) {
    pullRtsp("h264", AV_CODEC_ID_H264);
}
TEST(Program, RtspH265) {
    pullRtsp("h265", AV_CODEC_ID_HEVC);
}

TEST(Program, RtspViewersComeAndGo) {
    Pod pod({"--udp", "off", "--rtsp-port", "0", "--size0", "512x288", "--size1", "512x288"});
    ASSERT_TRUE(pod.waitReady());
    for (int round = 0; round < 3; ++round) {
        AvSource first(30s);
        AvSource second(30s);
        std::vector<Bytes> units;
        ASSERT_TRUE(first.open(pod.address("rtsp0"), "rtsp", {{"rtsp_transport", "tcp"}})) << round;
        ASSERT_TRUE(first.read(3, units)) << round;
        ASSERT_TRUE(second.open(pod.address("rtsp0"), "rtsp", {{"rtsp_transport", "udp"}})) << round;
        ASSERT_TRUE(second.read(3, units)) << round;
    }
    // With the last viewer gone the channel rests.
    const auto deadline = Clock::now() + 20s;
    std::optional<std::string> status;
    do {
        pod.writeLine("status");
        status = pod.readLine();
    } while (status && status->find("watched0=0") == std::string::npos && Clock::now() < deadline);
    ASSERT_TRUE(status);
    EXPECT_NE(status->find("watched0=0"), std::string::npos) << *status;
}

void pullUdp(const char* option, const char* format, const std::string& codec, AVCodecID id) {
    const std::string log = tempPath("podsim-video-");
    const int probe = udpSocket();
    const std::string to = "127.0.0.1:" + std::to_string(portOf(probe));
    close(probe);
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--event-log", log, "--codec1", codec, "--size1",
             "512x288", option, to, "--kbps1", "800"});
    ASSERT_TRUE(pod.waitReady());
    EXPECT_EQ(pod.address(std::string(option).substr(2)), to);
    AvSource source(40s);
    ASSERT_TRUE(source.open("udp://" + to, format, {{"fifo_size", "5000"}}));
    std::vector<Bytes> units;
    ASSERT_TRUE(source.read(60, units));
    EXPECT_EQ(source.codec, id);
    // The first units may lie before the first key frame and the last one may be cut.
    units.erase(units.begin());
    units.pop_back();
    AvDecoder decoder(id);
    int pictures = 0;
    int blocks = 0;
    int last = -1;
    for (const Bytes& unit : units) {
        blocks += blockIn(unit, id == AV_CODEC_ID_H264).empty() ? 0 : 1;
        decoder.decode(unit, [&](const AVFrame& frame) {
            last = readFrameNumber(frame.data[0], frame.linesize[0], frame.width, frame.height);
            ++pictures;
        });
    }
    EXPECT_EQ(blocks, static_cast<int>(units.size()));
    EXPECT_GT(pictures, 30);
    EXPECT_TRUE(contains(linesOf(log), " frame channel=1 number=" + std::to_string(last)));
    unlink(log.c_str());
}

TEST(Program, TransportStreamH264) {
    pullUdp("--ts1", "mpegts", "h264", AV_CODEC_ID_H264);
}
TEST(Program, TransportStreamH265) {
    pullUdp("--ts1", "mpegts", "h265", AV_CODEC_ID_HEVC);
}
TEST(Program, RawH264) {
    pullUdp("--raw1", "h264", "h264", AV_CODEC_ID_H264);
}
TEST(Program, RawH265) {
    pullUdp("--raw1", "hevc", "h265", AV_CODEC_ID_HEVC);
}

TEST(Program, StallStopsVideoAndGoesOn) {
    const int fd = udpSocket();
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--size0", "512x288", "--raw0",
             "127.0.0.1:" + std::to_string(portOf(fd))});
    ASSERT_TRUE(pod.waitReady());
    ASSERT_FALSE(readOnce(fd, 20s).empty());
    pod.writeLine("fault video.stall=on");
    const auto deadline = Clock::now() + 20s;
    bool quiet = false;
    while (!quiet && Clock::now() < deadline) {
        quiet = readOnce(fd, 400ms).empty();
    }
    EXPECT_TRUE(quiet);
    pod.signal(SIGUSR2);
    EXPECT_FALSE(readOnce(fd, 20s).empty());
    close(fd);
}

TEST(Program, StopsSoonWhileEverythingRuns) {
    for (const int number : {SIGINT, SIGTERM}) {
        Pod pod({"--udp", "0", "--rtsp-port", "0", "--size0", "512x288"});
        ASSERT_TRUE(pod.waitReady());
        AvSource source(30s);
        ASSERT_TRUE(source.open(pod.address("rtsp0"), "rtsp", {{"rtsp_transport", "tcp"}}));
        std::vector<Bytes> units;
        ASSERT_TRUE(source.read(3, units));
        pod.signal(number);
        EXPECT_EQ(pod.waitExit(5s), 0) << "promised within 1 s";
        EXPECT_EQ(pod.errors(), "");
    }
}

TEST(Program, StopsByItselfAfterItsDuration) {
    Pod pod({"--udp", "0", "--rtsp-port", "off", "--duration", "0.2"});
    EXPECT_TRUE(pod.waitReady());
    EXPECT_EQ(pod.waitExit(20s), 0);
}

TEST(Program, PortInUse) {
    Pod first({"--udp", "0", "--rtsp-port", "0"});
    ASSERT_TRUE(first.waitReady());
    const std::string rtsp = first.address("rtsp0");
    const std::string host = rtsp.substr(0, rtsp.find("/live"));
    const std::string rtsp_port = host.substr(host.rfind(':') + 1);
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"--udp", std::to_string(first.port("udp")), "--rtsp-port", "off"},
             {"--udp", "off", "--rtsp-port", rtsp_port}}) {
        Pod second(arguments);
        EXPECT_EQ(second.waitExit(20s), 1);
        EXPECT_NE(second.errors().find("in use"), std::string::npos);
    }
}

TEST(Program, OptionsAndHelp) {
    Pod bad({"--speed", "9"});
    EXPECT_EQ(bad.waitExit(20s), 2);
    EXPECT_EQ(bad.errors(), "podsim: unknown option '--speed'\n");
    Pod help({"--help"});
    EXPECT_EQ(help.waitExit(20s), 0);
    EXPECT_EQ(help.readLine()->substr(0, 8), "podsim -");
    Pod nowhere({"--event-log", "/nonexistent/log", "--udp", "0", "--rtsp-port", "off"});
    EXPECT_EQ(nowhere.waitExit(20s), 1);
}

TEST(Program, RubbishOnEveryLineDoesNoHarm) {
    Pod pod({"--udp", "0", "--tcp", "0", "--rtsp-port", "off"});
    ASSERT_TRUE(pod.waitReady());
    const int udp = pod.talk();
    const int tcp = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    connectTo(tcp, pod.port("tcp"));
    std::srand(5);
    for (int i = 0; i < 400; ++i) {
        Bytes noise(static_cast<std::size_t>(std::rand() % 1400));
        for (auto& b : noise) {
            b = static_cast<std::uint8_t>(std::rand() % 5 == 0   ? 0xFB
                                          : std::rand() % 4 == 0 ? 0x2C
                                                                 : std::rand());
        }
        send(udp, noise.data(), noise.size(), MSG_NOSIGNAL);
        send(tcp, noise.data(), noise.size(), MSG_NOSIGNAL);
    }
    // It still understands.
    const Bytes look_down = bytesOf("FB 2C AA 02 73 00 71");
    const auto deadline = Clock::now() + 20s;
    bool understood = false;
    while (!understood && Clock::now() < deadline) {
        send(udp, look_down.data(), look_down.size(), 0);
        understood = waitReport(
            udp, [](const std::uint8_t* r) { return r[46] == 115; }, 1s);
    }
    EXPECT_TRUE(understood);
    close(udp);
    close(tcp);
}

}  // namespace
}  // namespace podsim
