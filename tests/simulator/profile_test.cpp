// What moves by itself, as it stands in the state that the reports are made of.
#include "simulator/pod/profile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "simulator/pod/pod.h"

namespace podsim {
namespace {

constexpr double kStep_s = 0.01;

// The states of so many seconds, 25 a second.
std::vector<Snapshot> run(Profile profile, double seconds) {
    Pod pod;
    ProfileScript script(profile);
    std::vector<Snapshot> states;
    for (int i = 0; i < static_cast<int>(seconds / kStep_s); ++i) {
        script.step(pod, kStep_s);
        pod.step(kStep_s);
        if (i % 4 == 0) {
            states.push_back(pod.snapshot());
        }
    }
    return states;
}

std::pair<double, double> span(const std::vector<Snapshot>& states, double Snapshot::*value) {
    const auto [low, high] =
        std::minmax_element(states.begin(), states.end(),
                            [value](const Snapshot& a, const Snapshot& b) { return a.*value < b.*value; });
    return {*low.*value, *high.*value};
}

TEST(Profile, NoneLeavesTheServoAlone) {
    for (const Snapshot& state : run(Profile::kNone, 20)) {
        EXPECT_EQ(state.servo_state, ServoState::kStandby);
    }
}

TEST(Profile, AScanSwingsBothAxesToAndFro) {
    const auto states = run(Profile::kScan, 60);
    const auto [left, right] = span(states, &Snapshot::frame_yaw_deg);
    EXPECT_LT(left, -40);
    EXPECT_GT(right, 40);
    EXPECT_EQ(states.back().servo_state, ServoState::kScan);
    int turns = 0;
    for (std::size_t i = 1; i < states.size(); ++i) {
        turns += states[i - 1].rate_az_dps * states[i].rate_az_dps < 0 ? 1 : 0;
    }
    EXPECT_GE(turns, 4);
    const auto [low, high] = span(states, &Snapshot::attitude_pitch_deg);
    EXPECT_LT(low, -38);
    EXPECT_GT(high, -24);
}

TEST(Profile, ASlewReachesOneDirectionAfterTheOther) {
    const auto states = run(Profile::kSlew, 26);
    for (const auto& [az, el] : {std::pair<double, double>{-60, -20}, {45, -60}, {120, -5}, {0, -40}}) {
        EXPECT_TRUE(std::any_of(states.begin(), states.end(), [az = az, el = el](const Snapshot& s) {
            return std::fabs(s.frame_yaw_deg - az) < 1 && std::fabs(s.frame_pitch_deg - el) < 1;
        })) << az;
    }
}

TEST(Profile, TrackingJumpsToEachPointAndTheDeviationDecays) {
    const auto states = run(Profile::kTrack, 33);
    int jumps = 0;
    double before = 0;
    double smallest_after = 1000;
    for (const Snapshot& s : states) {
        const double size = std::hypot(s.track_x_px, s.track_y_px);
        if (size > before + 80) {
            ++jumps;
            smallest_after = 1000;
        }
        if (s.track_state != TrackState::kIdle) {
            smallest_after = std::min(smallest_after, size);
        }
        before = size;
    }
    EXPECT_GE(jumps, 4);
    EXPECT_LT(smallest_after, 60);
    EXPECT_EQ(states[states.size() / 2].servo_state, ServoState::kTracking);
}

}  // namespace
}  // namespace podsim
