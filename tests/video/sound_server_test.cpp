// Sound from a camera on loopback into a sound server of the test's own, whose device goes away, which dies
// or stands still: the picture goes on, closing waits for nobody, and the sound comes back by itself.
#include <gtest/gtest.h>

#include <QAudioOutput>
#include <QCoreApplication>
#include <QPointer>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/tavrik/child.h"
#include "tests/tavrik/receiver.h"
#include "tests/tavrik/rtsp_server.h"
#include "video/channel_sound.h"

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
namespace stream_test = tavrik::test;

// Where the server of this process' tests stands; set once, before the first thread.
std::string g_folder;

std::string outputOf(const std::string& command) {
    std::string output;
    std::FILE* pipe = ::popen(command.c_str(), "r");
    char buffer[1024];
    for (std::size_t got = 0; (got = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0;) {
        output.append(buffer, got);
    }
    ::pclose(pipe);
    return output;
}

std::string ask(const std::string& what) { return outputOf("pactl " + what + " 2>/dev/null"); }

bool becomes(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + 60s;
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(20ms);
    }
    return condition();
}

class SoundServer : public testing::Test {
protected:
    static stream_test::RtspServer::Settings settings() {
        stream_test::RtspServer::Settings out;
        out.audio = true;
        return out;
    }
    SoundServer() { ChannelSound::openGate(); }
    ~SoundServer() override { ChannelSound::closeGate(); }
    // Without the user's settings, and with a device that takes sound at the pace of a real one.
    static void startServer() {
        s_server = std::make_unique<stream_test::Child>(std::vector<std::string>{
            "/usr/bin/env", "pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
            "--realtime=no", "--high-priority=no", "-L", "module-null-sink sink_name=first", "-L",
            "module-native-protocol-unix auth-anonymous=1 socket=" + g_folder + "/socket"});
    }
    static void SetUpTestSuite() { startServer(); }
    static void TearDownTestSuite() { s_server.reset(); }
    static bool serverIsThere() {
        return becomes([] { return !ask("list short sinks").empty(); });
    }
    void SetUp() override { ASSERT_TRUE(serverIsThere()) << s_server->output(); }
    void open() {
        m_handle = tavrik::feedOpen(m_camera.url().c_str(), 0, m_receiver.onFrame(), m_sound.player(), "",
                                    true, "", nullptr, 1);
        ASSERT_TRUE(m_camera.waitForPlay(stream_test::kPatienceMs));
    }
    template <class Done>
    bool play(Done done) {
        return stream_test::stream(
            [&](int) {
                m_camera.sendPicture(m_encoder.encode(m_next), static_cast<std::uint32_t>(m_next) * 3600);
                m_camera.sendSound(hum(), static_cast<std::uint32_t>(m_next) * 320);
                ++m_next;
                QCoreApplication::processEvents();
            },
            done, 40);
    }
    // 40 ms of 500 Hz, as loud as it goes.
    static stream_test::Bytes hum() {
        stream_test::Bytes samples;
        for (int n = 0; n < 320; ++n) {
            samples.push_back(n % 16 < 8 ? 0x80 : 0x00);
        }
        return samples;
    }
    // By the server's own word.
    bool sounds() {
        return play([&] { return m_next % 10 == 0 && !ask("list short sink-inputs").empty(); });
    }
    // By what comes out of the server's device.
    bool isHeardFrom(const std::string& sink) {
        stream_test::Child recorder({"/usr/bin/env", "parec", "--device=" + sink + ".monitor", "--raw",
                                     "--format=u8", "--rate=8000", "--channels=1", "--latency-msec=50"});
        const bool heard = play([&] {
            const std::string samples = recorder.output();
            // Of u8, 128 is silence.
            return std::count_if(samples.begin(), samples.end(), [](char sample) {
                       return std::abs(static_cast<unsigned char>(sample) - 128) > 64;
                   }) > 1000;
        });
        return heard;
    }
    bool shows(std::size_t more) {
        const std::size_t wanted = m_receiver.numbers().size() + more;
        return play([&] { return m_receiver.numbers().size() >= wanted; });
    }
    // As the channel does it. Promised within 1 s; the machine of a test may be five times as slow.
    void close() {
        const auto start = std::chrono::steady_clock::now();
        ChannelSound::closeGate();
        tavrik::feedClose(m_handle);
        const QPointer<QAudioOutput> output = m_output;
        m_sound.stop();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
        EXPECT_TRUE(becomes([&] { return output.isNull(); })) << "somebody waits for the device still";
        ChannelSound::openGate();
    }

    static std::unique_ptr<stream_test::Child> s_server;

    QAudioOutput* m_output = nullptr;
    QIODevice* m_device = nullptr;
    ChannelSound m_sound{SoundFields{m_output, m_device}};
    stream_test::RtspServer m_camera{settings()};
    stream_test::TestEncoder m_encoder{stream_test::EncoderSettings{}};
    stream_test::Receiver m_receiver;
    int m_next = 0;
    int m_handle = 0;
};

std::unique_ptr<stream_test::Child> SoundServer::s_server;

TEST_F(SoundServer, WhoseDeviceIsUnloadedTakesNoPictureAlongAndTheNextOneIsHeard) {
    open();
    ASSERT_TRUE(sounds());
    ASSERT_TRUE(isHeardFrom("first"));
    ask("unload-module module-null-sink");
    EXPECT_TRUE(becomes([] { return ask("list short sinks").find("first") == std::string::npos; }));
    EXPECT_TRUE(shows(50));
    ask("load-module module-null-sink sink_name=second");
    EXPECT_TRUE(isHeardFrom("second")) << "the stream plays on";
    ask("unload-module module-null-sink");
    EXPECT_TRUE(shows(5));
    close();
    EXPECT_EQ(m_output, nullptr);
    ask("load-module module-null-sink sink_name=third");
    open();
    EXPECT_TRUE(sounds());
    close();
    EXPECT_TRUE(becomes([] { return ask("list short sink-inputs").empty(); }));
}

TEST_F(SoundServer, ThatStandsStillTakesNoPictureAlong) {
    open();
    ASSERT_TRUE(sounds());
    s_server->signal(SIGSTOP);
    EXPECT_TRUE(shows(50));
    close();
    s_server->signal(SIGCONT);
    open();
    EXPECT_TRUE(sounds());
    close();
}

TEST_F(SoundServer, ThatDiesTakesNoPictureAlongAndIsHeardWhenItIsBack) {
    open();
    ASSERT_TRUE(sounds());
    s_server->end(SIGKILL);
    EXPECT_TRUE(shows(25));
    startServer();
    ASSERT_TRUE(serverIsThere());
    EXPECT_TRUE(isHeardFrom("first")) << s_server->output();
    s_server->end(SIGKILL);
    EXPECT_TRUE(shows(5));
    close();
    startServer();
    ASSERT_TRUE(serverIsThere());
    open();
    EXPECT_TRUE(isHeardFrom("first")) << "nor does a server that dies with the stream closed count";
    close();
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    g_folder = testing::TempDir() + "sound_server_" + std::to_string(::getpid());
    fs::create_directories(g_folder);
    for (const char* name : {"HOME", "XDG_RUNTIME_DIR"}) {
        ::setenv(name, g_folder.c_str(), 1);
    }
    ::setenv("PULSE_SERVER", ("unix:" + g_folder + "/socket").c_str(), 1);
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    QCoreApplication application(argc, argv);
    const int result = RUN_ALL_TESTS();
    std::error_code error;
    fs::remove_all(g_folder, error);
    return result;
}
