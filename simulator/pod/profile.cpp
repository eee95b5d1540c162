#include "simulator/pod/profile.h"

#include <cstdint>
#include <iterator>

#include "simulator/pod/pod.h"

namespace podsim {
namespace {

constexpr std::uint16_t kTrackPoint = 58, kTrackStop = 59, kGuide = 114;
constexpr std::uint16_t kScanAzimuth = 119, kScanElevation = 120, kScanRun = 121;

struct Pair {
    int first, second;
};
// Azimuth and elevation of the frame, degrees.
constexpr Pair kDirections[] = {{-60, -20}, {45, -60}, {120, -5}, {0, -40}};
constexpr double kSlewEvery_s = 6;
// Pixels right of and above the picture's centre.
constexpr Pair kPoints[] = {{220, -90}, {-260, 60}, {120, 130}, {-180, -140}};
constexpr double kTrackEvery_s = 8;
// Degrees, and tenths of a degree a second.
constexpr Pair kScanAzimuthRange = {0, 90}, kScanElevationRange = {-30, 20}, kScanSpeeds = {120, 40};

void give(Pod& pod, std::uint16_t code, const Pair& words) {
    const auto low = [](int word) { return static_cast<std::uint8_t>(word & 0xFF); };
    const auto high = [](int word) { return static_cast<std::uint8_t>(word >> 8 & 0xFF); };
    const std::uint8_t payload[] = {low(words.first), high(words.first), low(words.second),
                                    high(words.second)};
    pod.apply(code, payload, sizeof payload, -1, 0, 0);
}

}  // namespace

void ProfileScript::beginScan(Pod& pod) const {
    give(pod, kScanAzimuth, kScanAzimuthRange);
    give(pod, kScanElevation, kScanElevationRange);
    give(pod, kScanRun, kScanSpeeds);
}

void ProfileScript::step(Pod& pod, double dt_s) {
    m_wait_s -= dt_s;
    if (m_profile == Profile::kNone || m_wait_s > 0) {
        return;
    }
    switch (m_profile) {
        case Profile::kScan:
            if (m_next == 0) {
                beginScan(pod);
            }
            break;
        case Profile::kSlew:
            give(pod, kGuide,
                 {kDirections[m_next % std::size(kDirections)].first * 100,
                  kDirections[m_next % std::size(kDirections)].second * 100});
            m_wait_s = kSlewEvery_s;
            break;
        default:
            give(pod, kTrackStop, {0, 0});
            give(pod, kTrackPoint, kPoints[m_next % std::size(kPoints)]);
            m_wait_s = kTrackEvery_s;
            break;
    }
    ++m_next;
}

}  // namespace podsim
