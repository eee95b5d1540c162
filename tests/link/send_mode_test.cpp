// Single mode: each command is one variable frame; the position stream and the limit during a drag.
#include "link/frame_sender.h"
#include "sender_fixture.h"

namespace sorvane {
namespace {

using Frames = std::vector<Bytes>;
using SingleSender = SenderFixture;

TEST_F(SingleSender, FourParameters) {
    sender.sendCommand4(0x45, 3, 4, 0, 0);
    EXPECT_EQ(sent, (Frames{{0xFB, 0x2C, 0xAA, 6, 0x45, 0, 3, 4, 0, 0, 0x44}}));
    EXPECT_EQ(last_code, 0x45);
    EXPECT_EQ(frame.code, 0) << "the periodic frame is not touched";
    EXPECT_TRUE(release);
}

TEST_F(SingleSender, WordsAreSignedLittleEndian) {
    sender.sendCommandWord(0x3A, -2, 300);
    // 06 ^ 3A ^ FE ^ FF ^ 2C ^ 01 = 10
    EXPECT_EQ(sent, (Frames{{0xFB, 0x2C, 0xAA, 6, 0x3A, 0, 0xFE, 0xFF, 0x2C, 0x01, 0x10}}));
}

TEST_F(SingleSender, RateUsesTheRateCode) {
    sender.sendCommandRate(0x11, 0x70, -20, 7);
    // 06 ^ 70 ^ EC ^ FF ^ 07 = 62
    EXPECT_EQ(sent, (Frames{{0xFB, 0x2C, 0xAA, 6, 0x70, 0, 0xEC, 0xFF, 0x07, 0x00, 0x62}}));
    EXPECT_EQ(last_code, 0x70);
}

TEST_F(SingleSender, PayloadOfItsLength) {
    const std::uint8_t payload[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    sender.sendCommandPayload(0x20, payload, 9);
    // 0B ^ 20 ^ (1 ^ ... ^ 9 = 01) = 2A
    EXPECT_EQ(sent, (Frames{{0xFB, 0x2C, 0xAA, 11, 0x20, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0x2A}}));
}

TEST_F(SingleSender, VariableFrameGoesOutInPeriodicModeToo) {
    single = false;
    sender.sendVariableFrame(56, "\x03", 1);
    // 03 ^ 38 ^ 03 = 38
    EXPECT_EQ(sent, (Frames{{0xFB, 0x2C, 0xAA, 3, 56, 0, 3, 0x38}}));
    EXPECT_EQ(last_code, 56);
}

TEST_F(SingleSender, StopFramesForTheThreeHeldCodesOnly) {
    for (const int code : {0x70, 0x45, 0x50}) {
        sender.sendCommand4(static_cast<std::uint8_t>(code), 1, 1, 1, 1);
        sent.clear();
        sender.stopCommand(0);
        const auto c = static_cast<std::uint8_t>(code);
        EXPECT_EQ(sent, (Frames{{0xFB, 0x2C, 0xAA, 6, c, 0, 0, 0, 0, 0, static_cast<std::uint8_t>(6 ^ c)}}));
    }
    for (int code = 0; code < 256; ++code) {
        if (code == 0x70 || code == 0x45 || code == 0x50) {
            continue;
        }
        sender.sendCommand4(static_cast<std::uint8_t>(code), 1, 1, 1, 1);
        sent.clear();
        sender.stopCommand(0);
        EXPECT_TRUE(sent.empty()) << code;
    }
}

TEST_F(SingleSender, GyroRateHasNoStopFrame) {
    sender.sendCommand4(0x76, 3, 0, 5, 0);
    sent.clear();
    sender.stopCommand(0);
    EXPECT_TRUE(sent.empty());
}

TEST_F(SingleSender, StopWithACodeIgnoresTheLastCode) {
    sender.sendCommand4(0x31, 0, 0, 0, 0);
    sent.clear();
    sender.stopCommand(0x70);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0][4], 0x70);
}

TEST_F(SingleSender, StopBeforeAnyCommandSendsNothing) {
    sender.stopCommand(0);
    EXPECT_TRUE(sent.empty());
}

TEST_F(SingleSender, NavBlockBetweenPressAndReleaseDoesNotChangeTheStop) {
    sender.sendCommand4(0x45, 1, 4, 0, 0);
    const std::uint8_t block[30] = {};
    sender.sendVariableFrame(1026, block, 30);
    sender.navTick();
    EXPECT_EQ(last_code, 0x45);
    sent.clear();
    sender.stopCommand(0);
    EXPECT_EQ(sent, (Frames{{0xFB, 0x2C, 0xAA, 6, 0x45, 0, 0, 0, 0, 0, 0x43}}));
}

TEST_F(SingleSender, NavTickGoldenBytes) {
    nav.pitch = -123;
    nav.longitude = 1185000000;  // 0x46A1AA40, an integer on this path
    nav.ground_speed = 424;
    sender.navTick();
    const Bytes expected = {0xFB, 0x2C, 0xAA, 32, 0x02, 0x04, 0x85, 0xFF, 0,    0,    0,   0, 26,
                            11,   21,   7,    9,  45,   67,   0x40, 0xAA, 0xA1, 0x46, 0,   0, 0,
                            0,    0,    0,    0,  0,    0,    0,    0,    0xA8, 0x01, 0x9C};
    ASSERT_EQ(expected.size(), 37U);
    std::uint8_t x = 0;
    for (std::size_t i = 3; i < 36; ++i) {
        x = static_cast<std::uint8_t>(x ^ expected[i]);
    }
    ASSERT_EQ(x, expected[36]) << "the golden bytes contradict themselves";
    EXPECT_EQ(sent, (Frames{expected}));
    EXPECT_EQ(nav.year, 26) << "this path stamps the kept block itself";
}

TEST_F(SingleSender, NavTickTakesTheTimeOfTheInertialUnit) {
    nav.year = 99;
    ins_open = true;
    sender.navTick();
    EXPECT_EQ(sent[0][12], 99);
    EXPECT_EQ(nav.year, 99);
}

TEST_F(SingleSender, NavTickDoesNotAskForTheInterfaceFeed) {
    nav.year = 99;
    recv_telemetry = true;
    sender.navTick();
    EXPECT_EQ(sent[0][12], 26);
}

TEST_F(SingleSender, DragPassesOneFrameInFortyMilliseconds) {
    drag = true;
    now_ms = 1000;
    restarted_ms = 0;
    sender.sendCommandRate(0, 0x70, 1, 0);
    EXPECT_EQ(restarted_ms, 1000);
    now_ms = 1039;
    sender.sendCommandRate(0, 0x70, 2, 0);
    EXPECT_EQ(sent.size(), 1U) << "dropped";
    EXPECT_EQ(restarted_ms, 1000) << "a dropped frame does not restart the clock";
    now_ms = 1040;
    sender.sendCommandRate(0, 0x70, 3, 0);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[1][6], 3) << "the dropped one is not queued";
    EXPECT_EQ(restarted_ms, 1040);
}

TEST_F(SingleSender, DroppedFrameIsNotTheLastCode) {
    drag = true;
    sender.sendCommand4(0x45, 1, 1, 0, 0);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(last_code, 0);
}

TEST_F(SingleSender, OutsideADragTheClockIsLeftAlone) {
    for (int i = 0; i < 5; ++i) {
        sender.sendCommand4(0x45, 1, 1, 0, 0);
    }
    EXPECT_EQ(sent.size(), 5U);
    EXPECT_EQ(clock_reads, 0);
    EXPECT_EQ(restarted_ms, 0);
}

TEST_F(SingleSender, BadInputSendsNothing) {
    const Bytes payload(300, 0xAA);
    for (const int n : {254, 300, -1, -2147483647 - 1}) {
        sender.sendVariableFrame(0x12, payload.data(), n);
    }
    sender.sendVariableFrame(0x12, nullptr, 4);
    sender.sendCommandPayload(0x12, payload.data(), 254);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(last_code, 0);
    sender.sendVariableFrame(0x12, nullptr, 0);
    EXPECT_EQ(sent.size(), 1U);
}

}  // namespace
}  // namespace sorvane
