// A pod that points at a place for as long as the periodic frames of it come.
#include <gtest/gtest.h>

#include "tests/simulator/pod_helpers.h"

namespace podsim {
namespace {

constexpr std::uint16_t kGuide = 27, kTrack = 28, kLookDown = 0x73, kTrackPoint = 58;

struct HoldingPod : Pod {
    HoldingPod() : Pod(config()) {}
    static PodConfig config() {
        PodConfig c;
        c.places_held = true;
        return c;
    }
};

// East of the village, on the ground.
std::vector<std::uint8_t> east() { return dwords({1144300000, 304500000, 250}); }

// One of the periodic frames, whole.
void placeFrame(Pod& pod, std::uint16_t code) {
    const std::vector<std::uint8_t> payload = east();
    pod.apply(code, payload.data(), payload.size(), 0, 0, 0);
}

double axes(const Pod& pod) {
    const Snapshot s = pod.snapshot();
    return std::fabs(s.rate_az_dps) + std::fabs(s.rate_el_dps);
}

double hand(const Pod& pod) {
    const Snapshot s = pod.snapshot();
    return std::fabs(s.hand_az_dps) + std::fabs(s.hand_el_dps);
}

TEST(PodPlaces, LastAsLongAsTheirFrames) {
    for (const std::uint16_t code : {kGuide, kTrack}) {
        HoldingPod pod;
        placeFrame(pod, code);
        for (int i = 0; i < 100; ++i) {
            pod.step(kTick);
            placeFrame(pod, code);
            ASSERT_GT(hand(pod), 0) << code << " " << i;
        }
        // Arrived, it turns against the aircraft's own turning.
        EXPECT_GT(axes(pod), 1) << code;
        EXPECT_EQ(pod.snapshot().standing_code, code);
        frame(pod, 0);
        EXPECT_EQ(hand(pod), 0) << code;
        run(pod, 1);
        EXPECT_EQ(pod.snapshot().servo_state, ServoState::kManual) << code;
        EXPECT_EQ(axes(pod), 0) << code;
        // The same frame is a new one then.
        placeFrame(pod, code);
        run(pod, 1);
        EXPECT_GT(axes(pod), 1) << code;
        EXPECT_GT(hand(pod), 0) << code;
    }
}

TEST(PodPlaces, AnotherPodGoesOn) {
    for (const std::uint16_t code : {kGuide, kTrack}) {
        Pod pod;
        placeFrame(pod, code);
        run(pod, 0.2);
        EXPECT_EQ(hand(pod), 0) << code;
        frame(pod, 0);
        run(pod, 5);
        EXPECT_GT(axes(pod), 1) << code;
        EXPECT_EQ(pod.snapshot().movements, 0U) << code;
    }
}

TEST(PodPlaces, OneThatCameAloneGoesOnToo) {
    HoldingPod pod;
    send(pod, kTrack, east());
    frame(pod, 0);
    run(pod, 5);
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kTracking);
    EXPECT_GT(axes(pod), 1);
    EXPECT_EQ(hand(pod), 0);
}

TEST(PodPlaces, TheEndLeavesAloneWhatHasTheServo) {
    HoldingPod pod;
    placeFrame(pod, kTrack);
    run(pod, 0.2);
    send(pod, kLookDown);
    EXPECT_EQ(hand(pod), 0);
    frame(pod, 0);
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kLookDown);

    placeFrame(pod, kTrack);
    run(pod, 5);
    send(pod, kTrackPoint, words16({0, 0}));
    frame(pod, 0);
    pod.step(kTick);
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kTracking);
}

TEST(PodPlaces, AtTheEndStopTheAskedRateIsTold) {
    HoldingPod pod;
    // While the aircraft turns once, the place lies behind it for a while.
    bool at_stop = false;
    for (double t = 0; t < 130; t += kTick) {
        placeFrame(pod, kTrack);
        pod.step(kTick);
        ASSERT_GT(hand(pod), 0) << t;
        at_stop = at_stop || pod.snapshot().rate_az_dps == 0;
    }
    EXPECT_TRUE(at_stop);
}

TEST(PodPlaces, CountAsMovementsByHand) {
    HoldingPod pod;
    placeFrame(pod, kGuide);
    placeFrame(pod, kGuide);
    send(pod, kTrack, east());
    frame(pod, 0);
    EXPECT_EQ(pod.snapshot().movements, 3U);
    EXPECT_EQ(pod.snapshot().commands, 3U);
}

}  // namespace
}  // namespace podsim
