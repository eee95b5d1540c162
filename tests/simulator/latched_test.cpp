// What the pod tells about movements by hand, and how a latched pod keeps them until their own stop.
#include <gtest/gtest.h>

#include "tests/simulator/pod_helpers.h"

namespace podsim {
namespace {

constexpr int kRate = 0x70, kVisibleLens = 0x45, kInfraredLens = 0x50, kGyro = 0x76;

struct LatchedPod : Pod {
    LatchedPod() : Pod(config()) {}
    static PodConfig config() {
        PodConfig c;
        c.latched = true;
        return c;
    }
};

bool atRest(const Pod& pod) {
    const Snapshot s = pod.snapshot();
    return s.hand_az_dps == 0 && s.hand_el_dps == 0 && s.vl_zoom_direction == 0 && s.ir_zoom_direction == 0 &&
           s.vl_focus_direction == 0 && s.ir_focus_direction == 0;
}

TEST(PodHand, ARateIsToldWhileTheAxisMovesAndUntilItStands) {
    Pod pod;
    EXPECT_TRUE(atRest(pod));
    send(pod, kRate, words16({-20, 10}));
    run(pod, 1);
    EXPECT_LT(pod.snapshot().hand_az_dps, -1);
    EXPECT_GT(pod.snapshot().hand_el_dps, 0.5);
    EXPECT_EQ(pod.snapshot().hand_az_dps, pod.snapshot().rate_az_dps);
    send(pod, kRate, words16({0, 0}));
    EXPECT_FALSE(atRest(pod)) << "it cannot stand at once";
    run(pod, 1);
    EXPECT_TRUE(atRest(pod));
}

TEST(PodHand, AtTheEndStopTheCommandedRateIsTold) {
    Pod pod;
    send(pod, kRate, words16({0, 100}));
    run(pod, 10);
    EXPECT_EQ(pod.snapshot().rate_el_dps, 0);
    EXPECT_GT(pod.snapshot().hand_el_dps, 1);
}

TEST(PodHand, LensesHaveDirections) {
    Pod pod;
    send(pod, kVisibleLens, {2, 4});
    EXPECT_EQ(pod.snapshot().vl_zoom_direction, -1);
    send(pod, kVisibleLens, {3, 4});
    EXPECT_EQ(pod.snapshot().vl_zoom_direction, 0);
    EXPECT_EQ(pod.snapshot().vl_focus_direction, 1);
    send(pod, kInfraredLens, {15});
    EXPECT_EQ(pod.snapshot().ir_zoom_direction, 1);
    send(pod, kInfraredLens, {2});
    EXPECT_EQ(pod.snapshot().ir_zoom_direction, 0);
    EXPECT_EQ(pod.snapshot().ir_focus_direction, -1);
    send(pod, kVisibleLens);
    send(pod, kInfraredLens);
    EXPECT_TRUE(atRest(pod));
}

TEST(PodHand, WhatMovesOfItselfIsNoMovementByHand) {
    for (const int code : {0x71 /* centre */, 0x73 /* look down */, 0x74 /* stow */}) {
        Pod pod;
        send(pod, static_cast<std::uint16_t>(code));
        run(pod, 0.4);
        EXPECT_GT(std::fabs(pod.snapshot().rate_az_dps) + std::fabs(pod.snapshot().rate_el_dps), 1) << code;
        EXPECT_TRUE(atRest(pod)) << code;
    }
    Pod pod;
    send(pod, kVisibleLens, {5});
    EXPECT_TRUE(atRest(pod)) << "auto-focus";
}

TEST(PodHand, ComingToRestAfterATrackIsNoneEither) {
    Pod pod;
    run(pod, 1);
    send(pod, 0x73);
    run(pod, 0.4);
    send(pod, 59 /* tracking stops, the servo stands */);
    pod.step(0.01);
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kManual);
    EXPECT_GT(std::fabs(pod.snapshot().rate_el_dps), 0.1);
    EXPECT_TRUE(atRest(pod));
}

TEST(PodHand, AGyroRateEndsByItself) {
    LatchedPod pod;
    send(pod, kGyro, {3, 5, 0});
    run(pod, 0.2);
    EXPECT_GT(pod.snapshot().hand_az_dps, 1);
    run(pod, 2);
    EXPECT_TRUE(atRest(pod));
}

TEST(PodHand, CommandsAreCountedAndMovementsAmongThem) {
    Pod pod;
    frame(pod, 0);
    frame(pod, kVisibleLens, {1, 4});
    frame(pod, kVisibleLens, {1, 4});
    EXPECT_EQ(pod.snapshot().standing_code, kVisibleLens);
    frame(pod, kVisibleLens);
    frame(pod, 0, {}, kRate, 0, 5);
    EXPECT_EQ(pod.snapshot().standing_code, kRate);
    frame(pod, 0, {}, kRate, 0, 0);
    EXPECT_EQ(pod.snapshot().standing_code, 0);
    send(pod, kRate, words16({1, 0}));
    send(pod, kRate, words16({0, 0}));
    send(pod, kGyro, {3, 0, 1});
    send(pod, 0x74);
    send(pod, 1026, std::vector<std::uint8_t>(26));
    EXPECT_EQ(pod.snapshot().frames, 10U);
    EXPECT_EQ(pod.snapshot().commands, 8U);
    EXPECT_EQ(pod.snapshot().movements, 5U);
}

TEST(PodLatched, OnlyZeroRatesEndARate) {
    LatchedPod pod;
    frame(pod, 0, {}, kRate, 10, 0);
    run(pod, 1);
    frame(pod, 0);
    frame(pod, kVisibleLens);
    frame(pod, kInfraredLens);
    send(pod, kVisibleLens);
    run(pod, 1);
    EXPECT_GT(pod.snapshot().hand_az_dps, 1);
    EXPECT_GT(pod.snapshot().rate_az_dps, 1);
    frame(pod, 0, {}, kRate, 0, 0);
    run(pod, 1);
    EXPECT_TRUE(atRest(pod));
    send(pod, kRate, words16({10, 0}));
    run(pod, 0.2);
    send(pod, kRate, words16({0, 0}));
    run(pod, 1);
    EXPECT_TRUE(atRest(pod));
}

TEST(PodLatched, OnlyItsOwnZeroParametersEndALensMovement) {
    for (const bool visible : {true, false}) {
        LatchedPod pod;
        const auto own = static_cast<std::uint16_t>(visible ? kVisibleLens : kInfraredLens);
        const auto other = static_cast<std::uint16_t>(visible ? kInfraredLens : kVisibleLens);
        const auto direction = [&] {
            const Snapshot s = pod.snapshot();
            return visible ? s.vl_zoom_direction : s.ir_zoom_direction;
        };
        const std::vector<std::uint8_t> zoom_in = {static_cast<std::uint8_t>(visible ? 1 : 15), 4};
        frame(pod, own, zoom_in);
        frame(pod, 0);
        frame(pod, 0, {}, kRate, 0, 0);
        frame(pod, other);
        send(pod, other);
        send(pod, kRate, words16({0, 0}));
        send(pod, own, {static_cast<std::uint8_t>(visible ? 5 : 3)});
        send(pod, own, {0, 4});
        EXPECT_EQ(direction(), 1) << visible;
        send(pod, own);
        EXPECT_EQ(direction(), 0) << visible;
        EXPECT_TRUE(atRest(pod)) << visible;
        // The frame that stands among the periodic ones moves the lens again, and its zero frame ends that.
        frame(pod, own, zoom_in);
        send(pod, own);
        frame(pod, own, zoom_in);
        EXPECT_EQ(direction(), 1) << visible;
        frame(pod, own);
        EXPECT_EQ(direction(), 0) << visible;
    }
}

TEST(PodLatched, WhatTakesTheServoDoesNotEndTheRate) {
    LatchedPod pod;
    send(pod, kRate, words16({0, -10}));
    run(pod, 0.2);
    send(pod, 0x71);
    run(pod, 0.2);
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kCentring);
    EXPECT_LT(pod.snapshot().hand_el_dps, -1);
    send(pod, kGyro, {3, 5, 0});
    run(pod, 3);
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kManual);
    EXPECT_LT(pod.snapshot().rate_el_dps, -1) << "it has taken the servo again";
    send(pod, kRate, words16({0, 0}));
    run(pod, 1);
    EXPECT_TRUE(atRest(pod));
}

}  // namespace
}  // namespace podsim
