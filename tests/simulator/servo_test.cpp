// Servo of the simulated pod.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>

#include "simulator/pod/servo.h"
#include "tests/simulator/pod_helpers.h"

namespace podsim {
namespace {

TEST(PodServo, RateMovesTheTwoAxesInTheirDirections) {
    Pod pod;
    const Snapshot before = pod.snapshot();
    send(pod, 112, words16({20, 10}));
    run(pod, 0.6);
    const Snapshot right_up = pod.snapshot();
    EXPECT_EQ(right_up.servo_state, ServoState::kManual);
    EXPECT_GT(right_up.frame_yaw_deg, before.frame_yaw_deg + 2);
    EXPECT_GT(right_up.attitude_pitch_deg, before.attitude_pitch_deg + 1);
    send(pod, 112, words16({-20, -10}));
    run(pod, 1.5);
    EXPECT_LT(pod.snapshot().frame_yaw_deg, right_up.frame_yaw_deg - 2);
    EXPECT_LT(pod.snapshot().attitude_pitch_deg, right_up.attitude_pitch_deg - 1);
}

TEST(PodServo, StandsAfterTheZeroRate) {
    Pod pod;
    send(pod, 112, words16({40, 0}));
    run(pod, 1);
    EXPECT_GT(pod.snapshot().rate_az_dps, 5);
    send(pod, 112, words16({0, 0}));
    run(pod, 0.4);
    const Snapshot stopped = pod.snapshot();
    EXPECT_DOUBLE_EQ(stopped.rate_az_dps, 0);
    run(pod, 3);
    EXPECT_NEAR(pod.snapshot().frame_yaw_deg, stopped.frame_yaw_deg, 1e-9);
}

TEST(PodServo, NeedsTimeToReachItsSpeed) {
    Pod pod;
    send(pod, 112, words16({40, 0}));
    run(pod, kTick);
    const double first = pod.snapshot().rate_az_dps;
    run(pod, 0.4);
    EXPECT_GT(first, 0);
    EXPECT_GT(pod.snapshot().rate_az_dps, 2 * first);
}

TEST(PodServo, StopsAtItsEnds) {
    Pod pod;
    send(pod, 112, words16({200, 200}));
    run(pod, 20);
    EXPECT_DOUBLE_EQ(pod.snapshot().frame_yaw_deg, kAzimuthStop);
    EXPECT_NEAR(pod.snapshot().frame_pitch_deg, kElevationHigh, 1.0);
    EXPECT_DOUBLE_EQ(pod.snapshot().rate_az_dps, 0);
    send(pod, 112, words16({-200, -200}));
    run(pod, 20);
    EXPECT_DOUBLE_EQ(pod.snapshot().frame_yaw_deg, -kAzimuthStop);
    EXPECT_NEAR(pod.snapshot().frame_pitch_deg, kElevationLow, 1.0);
}

TEST(PodServo, RateScalesWithTheFieldOfView) {
    Pod wide, narrow;
    send(narrow, 76, words16({1000, 0}));
    send(wide, 112, words16({20, 0}));
    send(narrow, 112, words16({20, 0}));
    run(wide, 1);
    run(narrow, 1);
    EXPECT_GT(wide.snapshot().rate_az_dps, 5 * narrow.snapshot().rate_az_dps);
}

TEST(PodServo, PeriodicRateEndsWithItsZeroOrItsAbsence) {
    for (const int last_code : {0x70, 0}) {
        Pod pod;
        for (int i = 0; i < 25; ++i) {
            frame(pod, 0, {}, 0x70, -30, 0);
            pod.step(kTick);
        }
        EXPECT_LT(pod.snapshot().rate_az_dps, -5);
        for (int i = 0; i < 25; ++i) {
            frame(pod, 0, {}, last_code, 0, 0);
            pod.step(kTick);
        }
        EXPECT_DOUBLE_EQ(pod.snapshot().rate_az_dps, 0);
    }
}

TEST(PodServo, ZeroRateFramesDisturbNoOtherMovement) {
    Pod pod;
    frame(pod, 113);
    for (int i = 0; i < 100; ++i) {
        frame(pod, 0, {}, 0x70, 0, 0);
        pod.step(kTick);
    }
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kCentring);
    EXPECT_NEAR(pod.snapshot().frame_yaw_deg, 0, 0.1);
}

struct Goal {
    std::uint16_t code;
    std::vector<std::uint8_t> payload;
    ServoState state;
    double az, el;
};

TEST(PodServo, GoesToTheAnglesOfItsCommands) {
    const Goal goals[] = {{113, {}, ServoState::kCentring, 0, 0},
                          {114, words16({-4550, -2025}), ServoState::kDigitalGuide, -45.5, -20.25},
                          {116, {}, ServoState::kStowed, 0, kElevationHigh}};
    for (const Goal& g : goals) {
        Pod pod;
        send(pod, g.code, g.payload);
        run(pod, 8);
        EXPECT_EQ(pod.snapshot().servo_state, g.state) << g.code;
        EXPECT_NEAR(pod.snapshot().frame_yaw_deg, g.az, 0.1) << g.code;
        EXPECT_NEAR(pod.snapshot().frame_pitch_deg, g.el, 0.3) << g.code;
    }
}

TEST(PodServo, LooksStraightDown) {
    Pod pod;
    send(pod, 115);
    run(pod, 6);
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kLookDown);
    EXPECT_NEAR(pod.snapshot().attitude_pitch_deg, -90, 0.1);
}

TEST(PodServo, AttitudeGuideTellsItsProgress) {
    Pod pod;
    send(pod, 124, words16({-12000, -2500}));
    pod.step(kTick);
    EXPECT_EQ(pod.snapshot().attitude_guidance_feedback, 18);
    run(pod, 8);
    EXPECT_EQ(pod.snapshot().attitude_guidance_feedback, 19);
    EXPECT_NEAR(turned(pod.snapshot().attitude_yaw_deg, -120), 0, 0.3);
    EXPECT_NEAR(pod.snapshot().attitude_pitch_deg, -25, 0.1);
}

TEST(PodServo, HeadingLockKeepsTheEarthAndFollowTheFrame) {
    Pod lock, follow;
    send(lock, 122);
    send(follow, 123);
    const Snapshot start = lock.snapshot();
    run(lock, 5);
    run(follow, 5);
    EXPECT_EQ(lock.snapshot().servo_state, ServoState::kHeadingLock);
    EXPECT_NEAR(turned(start.attitude_yaw_deg, lock.snapshot().attitude_yaw_deg), 0, 0.5);
    EXPECT_GT(std::fabs(lock.snapshot().frame_yaw_deg - start.frame_yaw_deg), 5);
    EXPECT_EQ(follow.snapshot().servo_state, ServoState::kHeadingFollow);
    EXPECT_NEAR(follow.snapshot().frame_yaw_deg, start.frame_yaw_deg, 1e-9);
    EXPECT_GT(std::fabs(turned(start.attitude_yaw_deg, follow.snapshot().attitude_yaw_deg)), 5);
}

TEST(PodServo, ScansBetweenTheSetAngles) {
    Pod pod;
    send(pod, 119, words16({10, 40}));
    send(pod, 120, words16({-20, 10}));
    send(pod, 121, words16({200, 100}));
    run(pod, 8);
    double low = 1e9, high = -1e9, el_low = 1e9, el_high = -1e9;
    for (int i = 0; i < 25 * 20; ++i) {
        pod.step(kTick);
        const Snapshot s = pod.snapshot();
        low = std::min(low, s.frame_yaw_deg);
        high = std::max(high, s.frame_yaw_deg);
        el_low = std::min(el_low, s.frame_pitch_deg);
        el_high = std::max(el_high, s.frame_pitch_deg);
    }
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kScan);
    EXPECT_NEAR(low, -10, 3);
    EXPECT_NEAR(high, 30, 3);
    EXPECT_NEAR(el_low, -25, 2);
    EXPECT_NEAR(el_high, -15, 2);
}

TEST(PodServo, ScanAxisCanBeLocked) {
    Pod pod;
    send(pod, 119, words16({-30, 40}));
    send(pod, 121, words16({0x8000 | 50, 0x8000 | 50}));
    run(pod, 8);
    EXPECT_NEAR(pod.snapshot().frame_yaw_deg, -30, 0.2);
}

TEST(PodServo, GeographicGuideCentresThePlace) {
    Pod pod;
    const Snapshot s = pod.snapshot();
    const double latitude = s.centre_latitude_deg + 0.0003, longitude = s.centre_longitude_deg - 0.0002;
    send(
        pod, 28,
        dwords({static_cast<std::int32_t>(longitude * 1e7), static_cast<std::int32_t>(latitude * 1e7), 250}));
    run(pod, 6);
    EXPECT_NEAR(pod.snapshot().centre_latitude_deg, latitude, 3e-5);
    EXPECT_NEAR(pod.snapshot().centre_longitude_deg, longitude, 3e-5);
}

}  // namespace
}  // namespace podsim
