// Periodic mode: a command is an edit of the frame that each tick sends.
#include "link/frame_sender.h"

#include "base/bytes.h"
#include "sender_fixture.h"

namespace sorvane {
namespace {

using Parts = std::vector<Bytes>;

struct PeriodicSender : SenderFixture {
    PeriodicSender() { single = false; }
};

const Bytes kIdle = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
const Bytes kZeroRate = {0, 0, 0, 0, 0, 0x70, 0, 0, 0, 0};

TEST_F(PeriodicSender, CommandGoesOutWithEachTickOnly) {
    sender.sendCommand4(0x45, 3, 4, 5, 6);
    EXPECT_TRUE(sent.empty());
    EXPECT_FALSE(release);
    const Parts expected = {{0x45, 3, 4, 5, 6, 0, 0, 0, 0, 0}};
    EXPECT_EQ(tick(), expected);
    EXPECT_EQ(tick(), expected);
    EXPECT_EQ(last_code, 0);
}

TEST_F(PeriodicSender, GoldenBytesOfAWholeTick) {
    nav.longitude = 1185000000;  // 118.5 degrees
    nav.satellites = 9;
    sender.sendCommandRate(0, 0x70, -20, 7);
    sender.periodTick();
    // 2026-11-21 07:09:45.67 from the local clock; EC FF and 07 00 are the rates.
    const Bytes expected = {0xFB, 0x2C, 0, 0,  0,  0, 0, 0,    0,    0,    0,    0, 0,    26,  11,
                            21,   7,    9, 45, 67, 0, 0, 0xED, 0x42, 0,    0,    0, 0,    9,   0,
                            0,    0,    0, 0,  0,  0, 0, 0x70, 0xEC, 0xFF, 0x07, 0, 0xA6, 0xF0};
    ASSERT_EQ(expected.size(), 44U);
    std::uint8_t x = 0;
    for (int i = 2; i < 42; ++i) {
        x = static_cast<std::uint8_t>(x ^ expected[static_cast<std::size_t>(i)]);
    }
    ASSERT_EQ(x, expected[42]) << "the golden bytes contradict themselves";
    EXPECT_EQ(sent, (Parts{expected}));
}

TEST_F(PeriodicSender, SecondCommandWithinOnePeriodReplacesTheFirst) {
    sender.sendCommand4(0x31, 1, 2, 3, 4);
    sender.sendCommand4(0x32, 5, 0, 0, 0);
    EXPECT_EQ(tick(), (Parts{{0x32, 5, 0, 0, 0, 0, 0, 0, 0, 0}}));
    EXPECT_EQ(tick(), (Parts{{0x32, 5, 0, 0, 0, 0, 0, 0, 0, 0}}));
}

TEST_F(PeriodicSender, PressAndReleaseBetweenTwoTicksGoesOutOnce) {
    sender.sendCommand4(0x32, 5, 0, 0, 0);
    sender.stopCommand(0);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(tick(), (Parts{{0x32, 5, 0, 0, 0, 0, 0, 0, 0, 0}}));
    EXPECT_EQ(tick(), (Parts{kIdle}));
    EXPECT_TRUE(release) << "stays pending until the next command";
}

TEST_F(PeriodicSender, LensReleaseSendsOneZeroFrameOfItsCode) {
    for (const int code : {0x45, 0x50}) {
        sender.sendCommand4(static_cast<std::uint8_t>(code), 1, 7, 0, 0);
        tick();
        sender.stopCommand(0);
        const auto c = static_cast<std::uint8_t>(code);
        EXPECT_EQ(tick(), (Parts{{c, 1, 7, 0, 0, 0, 0, 0, 0, 0}, {c, 0, 0, 0, 0, 0, 0, 0, 0, 0}}));
        EXPECT_EQ(tick(), (Parts{kIdle}));
    }
}

TEST_F(PeriodicSender, LegacyCodeReleaseSendsASeparateServoFrame) {
    sender.sendCommand4(0x83, 9, 9, 9, 9);
    sender.stopCommand(0);
    EXPECT_EQ(tick(), (Parts{{0x83, 9, 9, 9, 9, 0, 0, 0, 0, 0}, {0x70, 0, 0, 0, 0, 0, 0, 0, 0, 0}}));
    EXPECT_EQ(frame.code, 0) << "the frame itself is idle";
    EXPECT_EQ(tick(), (Parts{kIdle}));
}

TEST_F(PeriodicSender, RateReleaseKeepsTheRateCodeWithZeroRates) {
    sender.sendCommandRate(0, 0x70, 20, -1);
    const Bytes moving = {0, 0, 0, 0, 0, 0x70, 20, 0, 0xFF, 0xFF};
    EXPECT_EQ(tick(), (Parts{moving}));
    sender.stopCommand(0x70);
    EXPECT_EQ(tick(), (Parts{moving}));
    EXPECT_EQ(tick(), (Parts{kZeroRate}));
    EXPECT_EQ(tick(), (Parts{kZeroRate}));
}

TEST_F(PeriodicSender, TrackPointIsSentOnceWhateverTheRelease) {
    for (const bool released : {false, true}) {
        sender.sendCommandWord(0x3A, -2, 300);
        if (released) {
            sender.stopCommand(0);
        }
        EXPECT_EQ(tick(), (Parts{{0x3A, 0xFE, 0xFF, 0x2C, 0x01, 0, 0, 0, 0, 0}}));
        EXPECT_EQ(tick(), (Parts{kIdle}));
    }
}

TEST_F(PeriodicSender, RateLeavesTheParametersAlone) {
    sender.sendCommand4(0x45, 1, 2, 3, 4);
    sender.sendCommandRate(0, 0x70, 5, 6);
    EXPECT_EQ(tick(), (Parts{{0, 1, 2, 3, 4, 0x70, 5, 0, 6, 0}}));
    sender.sendCommandRate(0x11, 0x70, 5, 6);
    EXPECT_EQ(tick(), (Parts{{0x11, 1, 2, 3, 4, 0x70, 5, 0, 6, 0}}));
}

TEST_F(PeriodicSender, CommandClearsTheRateCodeButNotTheRates) {
    sender.sendCommandRate(0, 0x70, 5, 6);
    sender.sendCommand4(0x71, 0, 0, 0, 0);
    EXPECT_EQ(tick(), (Parts{{0x71, 0, 0, 0, 0, 0, 5, 0, 6, 0}}));
}

TEST_F(PeriodicSender, LongPayloadKeepsItsBytesUntilTheRelease) {
    const std::uint8_t payload[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    sender.sendCommandPayload(0x20, payload, 9);
    sender.periodTick();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(Bytes(sent[0].begin() + 2, sent[0].begin() + 16),
              (Bytes{0x20, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0, 0}));
    sender.stopCommand(0);
    tick();
    EXPECT_EQ(tick(), (Parts{kIdle}));
}

TEST_F(PeriodicSender, OtherPayloadsAreOverwrittenByTheNavBlock) {
    const std::uint8_t payload[] = {1, 2, 3, 4, 5, 6};
    nav.pitch = 0x0807;
    sender.sendCommandPayload(98, payload, 6);
    sender.periodTick();
    EXPECT_EQ(Bytes(sent[0].begin() + 2, sent[0].begin() + 9), (Bytes{98, 1, 2, 3, 4, 0x07, 0x08}));
}

TEST_F(PeriodicSender, PayloadBadInputChangesNothing) {
    const Bytes payload(300, 0xAA);
    for (const int n : {40, 254, -1}) {
        sender.sendCommandPayload(0x20, payload.data(), n);
    }
    sender.sendCommandPayload(0x20, nullptr, 9);
    EXPECT_TRUE(release);
    EXPECT_EQ(tick(), (Parts{kIdle}));
    EXPECT_EQ(sent[0][43], 0xF0);
}

TEST_F(PeriodicSender, TimeComesFromTheLocalClockWithoutASource) {
    nav.year = 99;
    nav.hundredths = 1;
    sender.periodTick();
    EXPECT_EQ(sent[0][13], 26);
    EXPECT_EQ(sent[0][19], 67);
    EXPECT_EQ(nav.year, 99) << "the kept block is not changed by this path";
}

TEST_F(PeriodicSender, TimeComesFromTheSourceWhenOneIsAttached) {
    nav.year = 99;
    nav.hundredths = 1;
    recv_telemetry = true;
    sender.periodTick();
    recv_telemetry = false;
    ins_open = true;
    sender.periodTick();
    for (const Bytes& f : sent) {
        EXPECT_EQ(f[13], 99);
        EXPECT_EQ(f[19], 1);
    }
}

TEST_F(PeriodicSender, FixedFrameIsCompletedInPlace) {
    FixedCommandFrame own;
    own.code = 0x71;
    nav.longitude = 10000000;
    sender.sendFixedFrame(own);
    EXPECT_EQ(sent, (Parts{Bytes(own.bytes(), own.bytes() + 44)}));
    EXPECT_EQ(loadF32(own.bytes() + 20), 1.0F);
    EXPECT_EQ(frame.code, 0) << "another frame than the kept one";
}

TEST_F(PeriodicSender, FrameOutlivesAClosedLink) {
    // Set while nothing is open: goes out with the first tick after opening.
    sender.sendCommand4(0x71, 0, 0, 0, 0);
    EXPECT_EQ(tick(), (Parts{{0x71, 0, 0, 0, 0, 0, 0, 0, 0, 0}}));
}

TEST_F(PeriodicSender, DragDoesNotThrottleTheFixedFrame) {
    drag = true;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(tick().size(), 1U);
    }
    EXPECT_EQ(clock_reads, 0);
}

// Behind bulk on a slow line a stop would come late; ahead of its own command it would stop nothing.
TEST_F(SenderFixture, CommandsAndTheirEndsGoAheadOfStreamsAndBulk) {
    const std::uint8_t bulk[8] = {};
    sender.sendVariableFrame(CMD_NAV_BLOCK, bulk, sizeof bulk);
    sender.sendVariableFrame(0x1234, bulk, sizeof bulk);
    sender.sendCommand4(CMD_VL_LENS, 1, 2, 0, 0);
    sender.sendCommandRate(0, CMD_SERVO_RATE, 3, 4);
    sender.sendCommandPayload(CMD_TIME_SYNC, bulk, sizeof bulk);
    sender.stopCommand(CMD_VL_LENS);
    EXPECT_EQ(ahead, (std::vector<bool>{false, false, true, true, true, true}));
    ahead.clear();
    single = false;
    sender.sendCommand4(CMD_VL_LENS, 1, 2, 0, 0);
    sender.periodTick();
    sender.stopCommand(0);
    sender.periodTick();
    sender.sendEndFrame(CMD_SERVO_RATE);
    EXPECT_EQ(ahead, (std::vector<bool>{false, true, true, true}))
        << "held, once more and its end, an end alone";
}

}  // namespace
}  // namespace sorvane
