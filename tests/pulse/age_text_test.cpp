#include "base/age_text.h"

#include <gtest/gtest.h>

namespace {

TEST(AgeText, SecondsHaveOneDigitBehindThePointAndWhatIsBegunDoesNotCount) {
    EXPECT_EQ(sorvane::ageText(0), "0.0 s");
    EXPECT_EQ(sorvane::ageText(99), "0.0 s");
    EXPECT_EQ(sorvane::ageText(100), "0.1 s");
    EXPECT_EQ(sorvane::ageText(2049), "2.0 s");
    EXPECT_EQ(sorvane::ageText(99'999), "99.9 s");
}

TEST(AgeText, BeyondAHundredItTakesTheNextUnit) {
    EXPECT_EQ(sorvane::ageText(100'000), "1 min");
    EXPECT_EQ(sorvane::ageText(99 * 60'000 + 59'999), "99 min");
    EXPECT_EQ(sorvane::ageText(100 * 60'000), "1 h");
    EXPECT_EQ(sorvane::ageText(50LL * 3600'000), "50 h");
}

TEST(AgeText, WhatHasNeverComeHasNoAge) { EXPECT_EQ(sorvane::ageText(-1), "--"); }

}  // namespace
