// The built program on loopback, seen from a station: lines, faults, start and end.
#include <fcntl.h>

#include <csignal>

#include "simulator/wire/bytes.h"
#include "tests/simulator/program_helpers.h"

namespace podsim {
namespace {

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
            if (static_cast<std::size_t>(stream.end() - at) >= size) {
                return Bytes(at, at + static_cast<long>(size));
            }
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

// The question stands behind the frames: its answer knows them.
TEST(Program, TellsItsMotionAndLatched) {
    const std::string standing = "motion az=0.000 el=0.000 zoom0=0 focus0=0 zoom1=0 focus1=0";
    for (const bool latched : {false, true}) {
        std::vector<std::string> arguments = {"--udp", "0", "--rtsp-port", "off"};
        if (latched) {
            arguments.emplace_back("--latched");
        }
        Pod pod(arguments);
        ASSERT_TRUE(pod.waitReady());
        pod.writeLine("motion");
        EXPECT_EQ(pod.readLine(), standing + " commands=0 movements=0 frames=0 standing=0");
        const int fd = pod.talk();
        // Zoom of the second channel, then an idle periodic frame.
        const Bytes zoom = bytesOf("FB 2C AA 06 50 00 0F 00 00 00 59");
        Bytes idle = kRight;
        idle[37] = idle[38] = idle[39] = 0;
        idle[42] = 0;
        for (int i = 2; i < 42; ++i) {
            idle[42] = static_cast<std::uint8_t>(idle[42] ^ idle[static_cast<std::size_t>(i)]);
        }
        ASSERT_EQ(send(fd, zoom.data(), zoom.size(), 0), 11);
        ASSERT_EQ(send(fd, idle.data(), idle.size(), 0), 44);
        const auto deadline = Clock::now() + 10s;
        std::optional<std::string> told;
        do {
            pod.writeLine("motion");
            told = pod.readLine();
        } while (told && told->find("frames=3") == std::string::npos && Clock::now() < deadline);
        EXPECT_EQ(told, "motion az=0.000 el=0.000 zoom0=0 focus0=0 zoom1=" + std::to_string(latched ? 1 : 0) +
                            " focus1=0 commands=2 movements=1 frames=3 standing=0");
        close(fd);
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
