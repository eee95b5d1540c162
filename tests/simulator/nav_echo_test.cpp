// The pod's own words coming back, and words that are a station's own.
#include "simulator/wire/nav_echo.h"

#include <gtest/gtest.h>

#include <cmath>

namespace podsim {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

NavInput someNav(int beat = 0) {
    NavInput n;
    n.heading_deg = 123.456 + beat * 0.1;
    n.pitch_deg = -1.234;
    n.roll_deg = 4.567;
    n.latitude_deg = 30.4512345;
    n.longitude_deg = 114.4198765;
    n.altitude_m = 175.9;
    n.minute = 59;
    n.second = 7;
    n.hundredths = beat;
    return n;
}

// Through the inertial unit's frame and a periodic frame: angles and altitude cut off, position in single
// precision.
NavInput throughAStation(NavInput n) {
    n.heading_deg = std::trunc(n.heading_deg * 100) / 100;
    n.pitch_deg = std::trunc(n.pitch_deg * 100) / 100;
    n.roll_deg = std::trunc(n.roll_deg * 100) / 100;
    n.latitude_deg = static_cast<double>(static_cast<float>(n.latitude_deg));
    n.longitude_deg = static_cast<double>(static_cast<float>(n.longitude_deg));
    n.altitude_m = std::trunc(n.altitude_m);
    n.hour += 8;
    return n;
}

TEST(NavEcho, KnowsItsOwnWordsForTenSeconds) {
    NavEcho echo;
    EXPECT_FALSE(echo.isEcho(throughAStation(someNav()), 0));
    for (int beat = 0; beat < 50; ++beat) {
        echo.told(someNav(beat), false, beat * kSecond / 25);
    }
    EXPECT_TRUE(echo.isEcho(throughAStation(someNav(49)), 2 * kSecond));
    EXPECT_TRUE(echo.isEcho(throughAStation(someNav(10)), 2 * kSecond));
    NavEcho other;
    other.told(someNav(), false, 0);
    EXPECT_FALSE(other.isEcho(throughAStation(someNav()), 11 * kSecond));
}

TEST(NavEcho, WhatDiffersIsTheStationsOwn) {
    const auto judged = [](void (*change)(NavInput&)) {
        NavEcho echo;
        echo.told(someNav(), false, 0);
        NavInput heard = throughAStation(someNav());
        change(heard);
        return echo.isEcho(heard, kSecond);
    };
    EXPECT_TRUE(judged([](NavInput&) {}));
    EXPECT_FALSE(judged([](NavInput& n) { n.heading_deg += 0.05; }));
    EXPECT_FALSE(judged([](NavInput& n) { n.pitch_deg += 0.05; }));
    EXPECT_FALSE(judged([](NavInput& n) { n.roll_deg += 0.05; }));
    EXPECT_FALSE(judged([](NavInput& n) { n.latitude_deg += 5e-5; }));
    EXPECT_FALSE(judged([](NavInput& n) { n.longitude_deg += 5e-5; }));
    EXPECT_FALSE(judged([](NavInput& n) { n.altitude_m += 3; }));
}

// A station whose inertial line is pulled goes on sending the last place it heard, with a time of its own.
TEST(NavEcho, ABlockThatStandsStaysAnEcho) {
    NavEcho echo;
    echo.told(someNav(), false, 0);
    NavInput heard = throughAStation(someNav());
    EXPECT_TRUE(echo.isEcho(heard, kSecond));
    heard.second = 40;
    EXPECT_TRUE(echo.isEcho(heard, 30 * kSecond));
    EXPECT_TRUE(echo.isEcho(heard, 600 * kSecond));
    heard.latitude_deg += 0.01;
    EXPECT_FALSE(echo.isEcho(heard, 601 * kSecond));
}

// A place that a station has told comes back in the feeds, too: with the time told it is an echo, with a time
// of its own it is still meant.
TEST(NavEcho, AToldPlaceIsAnEchoByItsTime) {
    NavEcho echo;
    echo.told(someNav(10), true, 0);
    EXPECT_TRUE(echo.isEcho(throughAStation(someNav(10)), kSecond));
    NavInput again = throughAStation(someNav(10));
    again.second = 8;
    EXPECT_FALSE(echo.isEcho(again, kSecond));
}

}  // namespace
}  // namespace podsim
