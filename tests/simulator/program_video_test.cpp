// The built program's video on loopback, seen from a viewer.
#include <csignal>

#include "simulator/pod/renderer.h"
#include "tests/simulator/av_reader.h"
#include "tests/simulator/program_helpers.h"

namespace podsim {
namespace {

// The least that plays the first stream of an address over its RTSP connection.
class InterleavedClient {
public:
    explicit InterleavedClient(const std::string& url) : m_url(url), m_fd(socket(AF_INET, SOCK_STREAM, 0)) {
        const std::size_t colon = url.rfind(':');
        connectTo(m_fd, std::stoi(url.substr(colon + 1)));
    }
    ~InterleavedClient() { close(m_fd); }
    InterleavedClient(const InterleavedClient&) = delete;
    InterleavedClient& operator=(const InterleavedClient&) = delete;

    bool play() {
        std::string answer = ask("DESCRIBE", m_url, "Accept: application/sdp\r\n");
        const std::string body = readBytes(std::stoul(headerOf(answer, "Content-Length: ")));
        const std::size_t at = body.find("a=control:", body.find("m=video"));
        const std::string control = body.substr(at + 10, body.find('\r', at) - at - 10);
        answer = ask("SETUP", control.find("rtsp://") == 0 ? control : m_url + "/" + control,
                     "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n");
        const std::string session = headerOf(answer, "Session: ");
        return ask("PLAY", m_url, "Session: " + session.substr(0, session.find(';')) + "\r\n")
                   .find(" 200 ") != std::string::npos;
    }
    // The next packet of the first channel; empty at the end.
    Bytes nextRtp() {
        for (;;) {
            const std::string head = readBytes(4);
            if (head.size() < 4 || head[0] != '$') {
                return {};
            }
            const auto size = static_cast<std::size_t>(static_cast<unsigned char>(head[2]) << 8 |
                                                       static_cast<unsigned char>(head[3]));
            const std::string packet = readBytes(size);
            if (head[1] == 0) {
                return Bytes(packet.begin(), packet.end());
            }
        }
    }

private:
    static std::string headerOf(const std::string& answer, const std::string& name) {
        const std::size_t at = answer.find(name);
        return at == std::string::npos
                   ? "0"
                   : answer.substr(at + name.size(), answer.find('\r', at) - at - name.size());
    }
    std::string ask(const std::string& method, const std::string& url, const std::string& headers) {
        const std::string text = method + " " + url + " RTSP/1.0\r\nCSeq: " + std::to_string(++m_number) +
                                 "\r\n" + headers + "\r\n";
        send(m_fd, text.data(), text.size(), MSG_NOSIGNAL);
        std::string answer;
        while (answer.find("\r\n\r\n") == std::string::npos) {
            const std::string more = readBytes(1);
            if (more.empty()) {
                break;
            }
            answer += more;
        }
        return answer;
    }
    std::string readBytes(std::size_t size) {
        std::string text(size, '\0');
        std::size_t got = 0;
        pollfd ready{m_fd, POLLIN, 0};
        while (got < size && poll(&ready, 1, 20000) == 1) {
            const ssize_t n = read(m_fd, text.data() + got, size - got);
            if (n <= 0) {
                break;
            }
            got += static_cast<std::size_t>(n);
        }
        text.resize(got);
        return text;
    }

    std::string m_url;
    int m_fd;
    int m_number = 0;
};

// The message's payload when the unit holds a whole and right one ahead of every other message.
Bytes blockIn(const Bytes& unit, bool h264) {
    Bytes plain;
    // FFmpeg's parser leaves the first zero of a start code with the packet before.
    if (unit.size() > 2 && unit[0] == 0 && unit[1] == 0 && unit[2] == 1) {
        plain.push_back(0);
    }
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
    if (body + 101 > plain.size() || plain[body] != 5 || plain[body + 1] != 97) {
        return {};
    }
    unsigned sum = 0;
    for (auto b = at; b != plain.begin() + static_cast<long>(body) + 98; ++b) {
        sum += *b;
    }
    if (plain[body + 98] != (sum & 255) || plain[body + 99] != 0 || plain[body + 100] != 0x80) {
        return {};
    }
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
        EXPECT_GT(numbers[i], numbers[i - 1]);  // a busy machine may leave some out
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

TEST(ProgramVideo, RtspH264) { pullRtsp("h264", AV_CODEC_ID_H264); }
TEST(ProgramVideo, RtspH265) { pullRtsp("h265", AV_CODEC_ID_HEVC); }

TEST(ProgramVideo, RtspViewersComeAndGo) {
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

TEST(ProgramVideo, ViewerThatStopsReadingHoldsNeitherTheOthersNorTheEnd) {
    Pod pod({"--udp", "off", "--rtsp-port", "0", "--size0", "512x288", "--kbps0", "8000"});
    ASSERT_TRUE(pod.waitReady());
    AvSource stuck(60s);
    std::vector<Bytes> units;
    ASSERT_TRUE(stuck.open(pod.address("rtsp0"), "rtsp", {{"rtsp_transport", "tcp"}}));
    ASSERT_TRUE(stuck.read(1, units));
    AvSource other(60s);
    ASSERT_TRUE(other.open(pod.address("rtsp0"), "rtsp", {{"rtsp_transport", "tcp"}}));
    units.clear();
    EXPECT_TRUE(other.read(75, units));
    pod.signal(SIGTERM);
    EXPECT_EQ(pod.waitExit(5s), 0) << "promised within 1 s";
}

TEST(ProgramVideo, CommandedBitRateIsTakenOver) {
    const std::string log = tempPath("podsim-rate-");
    const int video = udpSocket();
    Pod pod({"--udp", "0", "--rtsp-port", "off", "--size0", "512x288", "--raw0",
             "127.0.0.1:" + std::to_string(portOf(video)), "--event-log", log});
    ASSERT_TRUE(pod.waitReady());
    const int fd = pod.talk();
    // Encoder settings: bit rate 1200.
    const Bytes rate = bytesOf("FB 2C AA 05 62 00 01 B0 04 D2");
    ASSERT_EQ(send(fd, rate.data(), rate.size(), 0), static_cast<ssize_t>(rate.size()));
    const auto deadline = Clock::now() + 20s;
    bool taken = false;
    while (!taken && Clock::now() < deadline) {
        readOnce(video, 100ms);
        taken = contains(linesOf(log), " bitrate channel=0 kbps=1200 done=1");
    }
    EXPECT_TRUE(taken);
    close(fd);
    close(video);
    unlink(log.c_str());
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

TEST(ProgramVideo, TransportStreamH264) { pullUdp("--ts1", "mpegts", "h264", AV_CODEC_ID_H264); }
TEST(ProgramVideo, TransportStreamH265) { pullUdp("--ts1", "mpegts", "h265", AV_CODEC_ID_HEVC); }
TEST(ProgramVideo, RawH264) { pullUdp("--raw1", "h264", "h264", AV_CODEC_ID_H264); }
TEST(ProgramVideo, RawH265) { pullUdp("--raw1", "hevc", "h265", AV_CODEC_ID_HEVC); }

TEST(ProgramVideo, StallStopsVideoAndGoesOn) {
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

const std::vector<std::string> kPauses{"--fault", "video.pause=600",    "--fault", "video.pause-after=2000",
                                       "--fault", "video.pause-every=5"};
constexpr auto kLongGap = 550ms;

// Reads for as long as it takes to see four long gaps inside pictures; the function tells of each piece
// behind a gap whether it continues a picture. A starved machine makes gaps of its own between pictures,
// fewer.
template <typename Read, typename Continues>
void expectGapsInsidePictures(Read read, Continues continues) {
    const auto deadline = Clock::now() + 60s;
    auto last = Clock::now();
    int inside = 0;
    int between = 0;
    for (bool first = true; inside < 4 && Clock::now() < deadline; first = false) {
        const Bytes piece = read();
        ASSERT_FALSE(piece.empty());
        const bool goes_on = continues(piece);
        if (!first && Clock::now() - last >= kLongGap) {
            ++(goes_on ? inside : between);
        }
        last = Clock::now();
    }
    EXPECT_EQ(inside, 4);
    EXPECT_LT(between, 4);
}

std::vector<std::string> pausing(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), kPauses.begin(), kPauses.end());
    return arguments;
}

TEST(ProgramVideo, RawBytesRestInsidePictures) {
    const int fd = udpSocket();
    Pod pod(pausing({"--udp", "off", "--rtsp-port", "off", "--size0", "512x288", "--raw0",
                     "127.0.0.1:" + std::to_string(portOf(fd))}));
    ASSERT_TRUE(pod.waitReady());
    // Every picture begins a datagram, and with a start code.
    expectGapsInsidePictures([&] { return readOnce(fd, 20s); },
                             [](const Bytes& b) { return !(b[0] == 0 && b[1] == 0 && b[2] <= 1); });
    close(fd);
}

TEST(ProgramVideo, TransportStreamRestsInsidePictures) {
    const int fd = udpSocket();
    Pod pod(pausing({"--udp", "off", "--rtsp-port", "off", "--size0", "512x288", "--ts0",
                     "127.0.0.1:" + std::to_string(portOf(fd))}));
    ASSERT_TRUE(pod.waitReady());
    expectGapsInsidePictures([&] { return readOnce(fd, 20s); },
                             [](const Bytes& b) { return (b[1] & 0x40) == 0; });
    close(fd);
}

// Over RTSP a picture ends by its last packet's marker.
TEST(ProgramVideo, RtspRestsInsidePicturesAndLosesNothing) {
    Pod pod(pausing({"--udp", "off", "--rtsp-port", "0", "--size0", "512x288"}));
    ASSERT_TRUE(pod.waitReady());
    InterleavedClient client(pod.address("rtsp0"));
    ASSERT_TRUE(client.play());
    bool marker = true;
    int sequence = -1;
    expectGapsInsidePictures([&] { return client.nextRtp(); },
                             [&](const Bytes& packet) {
                                 const bool inside = !marker;
                                 marker = (packet[1] & 0x80) != 0;
                                 const int number = packet[2] << 8 | packet[3];
                                 EXPECT_TRUE(sequence < 0 || number == ((sequence + 1) & 0xFFFF));
                                 sequence = number;
                                 return inside;
                             });
}

TEST(ProgramVideo, StopsSoonWhileEverythingRuns) {
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

}  // namespace
}  // namespace podsim
