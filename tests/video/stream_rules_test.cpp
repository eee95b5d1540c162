#include "video/stream_rules.h"

#include <gtest/gtest.h>

#include <limits>

using sorvane::noteOpenedAddress;
using sorvane::offeredWith;
using Texts = std::vector<std::string>;

TEST(AddressHistory, UnknownAddressGoesToTheHead) {
    Texts history = {"a", "b"};
    noteOpenedAddress(history, "c");
    EXPECT_EQ(history, (Texts{"c", "a", "b"}));
    Texts empty;
    noteOpenedAddress(empty, "c");
    EXPECT_EQ(empty, Texts{"c"});
}

TEST(AddressHistory, FourthEntryChangesPlacesWithTheFirst) {
    Texts history = {"a", "b", "c", "d", "e"};
    noteOpenedAddress(history, "d");
    EXPECT_EQ(history, (Texts{"d", "b", "c", "a", "e"}));
}

TEST(AddressHistory, FirstEntryStays) {
    Texts history = {"a", "b"};
    noteOpenedAddress(history, "a");
    EXPECT_EQ(history, (Texts{"a", "b"}));
}

TEST(AddressFilter, AddressWithHttpIsOfferedForRtspOnly) {
    for (const char* url : {"http://10.0.0.1/x", "https://10.0.0.1/x", "rtsp://10.0.0.1/x", "proxy-rtsp"}) {
        EXPECT_TRUE(offeredWith(sorvane::kStreamRtsp, url)) << url;
        EXPECT_FALSE(offeredWith(sorvane::kStreamUdpRaw, url)) << url;
        EXPECT_FALSE(offeredWith(sorvane::kStreamUdp422, url)) << url;
        EXPECT_FALSE(offeredWith(sorvane::kStreamUdpTs, url)) << url;
    }
}

TEST(AddressFilter, BareAddressIsOfferedForTheOthers) {
    EXPECT_FALSE(offeredWith(sorvane::kStreamRtsp, "239.1.1.1"));
    EXPECT_TRUE(offeredWith(sorvane::kStreamUdpRaw, "239.1.1.1"));
    EXPECT_TRUE(offeredWith(sorvane::kStreamUdpTs, ""));
}

TEST(AddressFilter, CaseMatters) {
    EXPECT_FALSE(offeredWith(sorvane::kStreamRtsp, "RTSP://10.0.0.1/x"));
    EXPECT_TRUE(offeredWith(sorvane::kStreamUdpTs, "HTTP://10.0.0.1/x"));
}

TEST(HostPart, CutsFromThe192ToTheLastColon) {
    EXPECT_EQ(sorvane::hostPart("rtsp://192.168.1.160:554/live/track1"), "192.168.1.160");
    EXPECT_EQ(sorvane::hostPart("rtsp://192.168.1.160:554/a:b"), "192.168.1.160:554/a");
    EXPECT_EQ(sorvane::hostPart("192:"), "192");
}

TEST(HostPart, MissingMarkerOrColonGivesNothing) {
    EXPECT_EQ(sorvane::hostPart("rtsp://10.0.0.7:554/live/track1"), "");
    EXPECT_EQ(sorvane::hostPart("192.168.1.160"), "");
    EXPECT_EQ(sorvane::hostPart("rtsp://192.168.1.160/live"), "");  // the only colon lies before
    EXPECT_EQ(sorvane::hostPart(""), "");
}

TEST(SecondAddress, IsWholeForRtspAndCutForTheOthers) {
    const std::string url = "rtsp://192.168.1.160:554/live/track1";
    EXPECT_EQ(sorvane::secondAddress(sorvane::kStreamRtsp, url), url);
    EXPECT_EQ(sorvane::secondAddress(sorvane::kStreamUdpTs, url), "192.168.1.160");
}

TEST(Pacing, RateFallsWhileEmptyDownToTheMinimum) {
    const sorvane::PacingRule rule;
    EXPECT_FLOAT_EQ(sorvane::nextShowFps(40, true, 0, rule), 39);
    EXPECT_FLOAT_EQ(sorvane::nextShowFps(35.5F, true, 0, rule), 35);
    EXPECT_FLOAT_EQ(sorvane::nextShowFps(35, true, 0, rule), 35);
}

TEST(Pacing, RateRisesWhileMoreThanTheMaximumWaits) {
    const sorvane::PacingRule rule;
    EXPECT_FLOAT_EQ(sorvane::nextShowFps(40, false, 20, rule), 40);
    EXPECT_FLOAT_EQ(sorvane::nextShowFps(40, false, 21, rule), 41);
    EXPECT_FLOAT_EQ(sorvane::nextShowFps(4000, false, 21, rule), 4001);
}

TEST(Pacing, AMaximumOfNoneOrLessIsReachedByTheFirstThatWaits) {
    sorvane::PacingRule rule;
    rule.cache_max = 0;
    EXPECT_FLOAT_EQ(sorvane::nextShowFps(40, false, 0, rule), 40);
    EXPECT_FLOAT_EQ(sorvane::nextShowFps(40, false, 1, rule), 41);
    rule.cache_max = -1;
    EXPECT_FLOAT_EQ(sorvane::nextShowFps(40, false, 0, rule), 41);
}

TEST(Pacing, PeriodIsTruncatedAndAlwaysPositive) {
    EXPECT_EQ(sorvane::framePeriodMs(40), 25);
    EXPECT_EQ(sorvane::framePeriodMs(35), 28);
    EXPECT_EQ(sorvane::framePeriodMs(5000), 1);
    EXPECT_EQ(sorvane::framePeriodMs(0), 1000);
    EXPECT_EQ(sorvane::framePeriodMs(-3), 1000);
    EXPECT_EQ(sorvane::framePeriodMs(std::numeric_limits<float>::quiet_NaN()), 1000);
    EXPECT_EQ(sorvane::framePeriodMs(1e-30F), 1000);
}
