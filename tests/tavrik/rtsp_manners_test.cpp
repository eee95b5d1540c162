// What servers do, and what the station asks of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "receiver.h"
#include "rtsp_server.h"

namespace tavrik::test {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kTicks = 3600;

int open(const std::string& url, Receiver& receiver, const char* options = "", bool sound = false) {
    return feedOpen(url.c_str(), 0, receiver.onFrame(), sound ? receiver.onAudio() : nullptr, "", true,
                    options, nullptr, 1);
}

// Whether some pictures arrive, all readable.
bool showsPictures(RtspServer& server, Receiver& receiver, std::size_t count = 5) {
    TestEncoder encoder(EncoderSettings{});
    const bool enough =
        stream([&](int n) { server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * kTicks); },
               [&] { return receiver.numbers().size() >= count; });
    const std::vector<int> numbers = receiver.numbers();
    return enough && std::find(numbers.begin(), numbers.end(), -1) == numbers.end();
}

template <class Condition>
bool within(std::chrono::milliseconds time, Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + time;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

TEST(RtspTransports, TheOtherIsAskedForOnceWhereTcpIsRefused) {
    RtspServer::Settings settings;
    settings.refuses_tcp = true;
    RtspServer server(settings);
    Receiver receiver;
    const int handle = open(server.url(), receiver);
    EXPECT_TRUE(showsPictures(server, receiver));
    feedClose(handle);
    EXPECT_EQ(server.setUps(), (std::vector<std::string>{"track0 RTP/AVP/TCP", "track0 RTP/AVP"}));
}

TEST(RtspTransports, OneThatIsNamedIsTheOnlyOne) {
    RtspServer::Settings settings;
    settings.refuses_tcp = true;
    RtspServer server(settings);
    Receiver receiver;
    const int handle = open(server.url(), receiver, "rtsp_transport=tcp");
    ASSERT_TRUE(within(20s, [&] { return server.setUps().size() == 1; }));
    EXPECT_FALSE(within(500ms, [&] { return server.setUps().size() > 1; }));
    feedClose(handle);
}

TEST(RtspTracks, TheFirstVideoIsPlayedAndTheSecondNotAskedFor) {
    for (const bool sound_first : {false, true}) {
        RtspServer::Settings settings;
        settings.audio = true;
        settings.sound_first = sound_first;
        settings.second_video = true;
        RtspServer server(settings);
        Receiver receiver;
        const int handle = open(server.url(), receiver, "", true);
        EXPECT_TRUE(showsPictures(server, receiver));
        EXPECT_TRUE(
            stream([&](int n) { server.sendSound(Bytes(160, 0x80), static_cast<std::uint32_t>(n) * 160); },
                   [&] { return !receiver.sound().empty(); }));
        feedClose(handle);
        std::vector<std::string> asked = server.setUps();
        std::sort(asked.begin(), asked.end());
        EXPECT_EQ(asked, (std::vector<std::string>{"track0 RTP/AVP/TCP", "track1 RTP/AVP/TCP"}));
    }
}

TEST(RtspTracks, SoundIsAskedForOnlyWhereSomebodyListens) {
    for (const bool by_option : {false, true}) {
        RtspServer::Settings settings;
        settings.audio = true;
        RtspServer server(settings);
        Receiver receiver;
        const int handle =
            open(server.url(), receiver, by_option ? "allowed_media_types=video" : "", by_option);
        EXPECT_TRUE(showsPictures(server, receiver));
        feedClose(handle);
        EXPECT_EQ(server.setUps(), std::vector<std::string>{"track0 RTP/AVP/TCP"});
    }
}

TEST(RtspRedirects, AreFollowedFiveTimes) {
    RtspServer::Settings settings;
    settings.manner = RtspServer::Manner::kSendsHome;
    RtspServer server(settings);
    Receiver receiver;
    const int handle = open(server.url(), receiver);
    ASSERT_TRUE(within(20s, [&] { return server.connections() >= 6; }));
    EXPECT_FALSE(within(1s, [&] { return server.connections() > 6; }));
    feedClose(handle);
    EXPECT_EQ(server.connections(), 6);
}

TEST(RtspPasswords, AreGivenInBothForms) {
    for (const bool digest : {false, true}) {
        RtspServer::Settings settings;
        settings.user = "pilot";
        settings.password = "p@ss:w/rd";
        settings.digest = digest;
        RtspServer server(settings);
        std::string url = server.url();
        url.insert(std::string("rtsp://").size(), "pilot:p%40ss%3Aw%2Frd@");
        Receiver receiver;
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        const int handle = open(url, receiver);
        EXPECT_TRUE(showsPictures(server, receiver)) << digest;
        feedClose(handle);
        const std::string printed =
            testing::internal::GetCapturedStderr() + testing::internal::GetCapturedStdout();
        EXPECT_EQ(printed, "");
    }
}

TEST(RtspPasswords, WrongOnesEndTheTry) {
    RtspServer::Settings settings;
    settings.user = "pilot";
    settings.password = "right";
    RtspServer server(settings);
    std::string url = server.url();
    url.insert(std::string("rtsp://").size(), "pilot:wrong@");
    Receiver receiver;
    testing::internal::CaptureStderr();
    const int handle = open(url, receiver);
    EXPECT_FALSE(server.waitForPlay(500));
    feedClose(handle);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_LT(server.connections(), 5);
}

TEST(RtspRestart, TheEndOfTheServerIsTheEndAndAnOpeningBeginsAnew) {
    Receiver first;
    int port = 0;
    int handle = 0;
    {
        RtspServer server({});
        port = server.port();
        handle = open(server.url(), first);
        ASSERT_TRUE(showsPictures(server, first));
    }
    RtspServer::Settings settings;
    settings.port = port;
    RtspServer server(settings);
    EXPECT_FALSE(within(500ms, [&] { return server.connections() > 0; })) << "nothing connects by itself";
    feedClose(handle);
    Receiver second;
    handle = open(server.url(), second);
    EXPECT_TRUE(showsPictures(server, second));
    feedClose(handle);
}

TEST(RtspFloods, AHeadThatNeverEndsIsLeft) {
    RtspServer::Settings lines, line;
    lines.manner = RtspServer::Manner::kEndlessHeaders;
    line.manner = RtspServer::Manner::kEndlessLine;
    RtspServer first(lines), second(line);
    Receiver receiver;
    const int handles[] = {open(first.url(), receiver), open(second.url(), receiver)};
    ASSERT_TRUE(within(20s, [&] { return first.describeSeen() && second.describeSeen(); }));
    EXPECT_TRUE(within(50s, [&] { return first.floodLeft() && second.floodLeft(); }));
    for (const int handle : handles) {
        feedClose(handle);
    }
}

TEST(RtspFarewell, IsNotWaitedFor) {
    RtspServer::Settings settings;
    settings.manner = RtspServer::Manner::kSilentAtTeardown;
    RtspServer server(settings);
    Receiver receiver;
    const int handle = open(server.url(), receiver);
    ASSERT_TRUE(showsPictures(server, receiver));
    const auto start = std::chrono::steady_clock::now();
    feedClose(handle);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    EXPECT_TRUE(server.waitForTeardown(kPatienceMs));
}

}  // namespace
}  // namespace tavrik::test
