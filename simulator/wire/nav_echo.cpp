#include "simulator/wire/nav_echo.h"

#include <algorithm>
#include <cmath>

namespace podsim {
namespace {

constexpr std::int64_t kMemory_ns = 10'000'000'000;
// What rounding on both ways may change. Positions travel in single precision in the periodic frames.
constexpr double kAngle_deg = 0.021, kPosition_deg = 1.6e-5, kAltitude_m = 1.01;

bool nearAngle(double a_deg, double b_deg) {
    return std::fabs(std::remainder(a_deg - b_deg, 360)) < kAngle_deg;
}

bool samePlace(const NavInput& a, const NavInput& b) {
    return nearAngle(a.heading_deg, b.heading_deg) && nearAngle(a.pitch_deg, b.pitch_deg) &&
           nearAngle(a.roll_deg, b.roll_deg) && std::fabs(a.latitude_deg - b.latitude_deg) < kPosition_deg &&
           std::fabs(std::remainder(a.longitude_deg - b.longitude_deg, 360)) < kPosition_deg &&
           std::fabs(a.altitude_m - b.altitude_m) < kAltitude_m;
}

// Hours are left out: a station tells them in a time zone of its own.
bool sameTime(const NavInput& a, const NavInput& b) {
    return a.minute == b.minute && a.second == b.second && std::abs(a.hundredths - b.hundredths) <= 1;
}

}  // namespace

void NavEcho::told(const NavInput& said, bool by_station, std::int64_t now_ns) {
    while (!m_words.empty() && now_ns - m_words.front().at_ns > kMemory_ns) {
        m_words.pop_front();
    }
    m_words.push_back({said, by_station, now_ns});
}

bool NavEcho::isEcho(const NavInput& heard, std::int64_t now_ns) {
    if (m_hasLastEcho && samePlace(heard, m_lastEcho)) {
        return true;
    }
    const auto word = std::find_if(m_words.rbegin(), m_words.rend(), [&](const Word& w) {
        return now_ns - w.at_ns <= kMemory_ns && samePlace(heard, w.said) &&
               (!w.by_station || sameTime(heard, w.said));
    });
    if (word == m_words.rend()) {
        m_hasLastEcho = false;
        return false;
    }
    m_hasLastEcho = !word->by_station;
    m_lastEcho = heard;
    return true;
}

}  // namespace podsim
