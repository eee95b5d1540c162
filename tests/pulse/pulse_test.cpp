#include "pulse/pulse.h"

#include <gtest/gtest.h>

namespace {

using sorvane::Pulse;
using sorvane::PulseState;

// A source and its clock.
class PulseTest : public ::testing::Test {
protected:
    void open(bool by_itself = true) { pulse.follow(true, by_itself, now); }
    void close() { pulse.follow(false, true, now); }
    // So many arrivals, each `gap_ms` after the one before.
    void arrive(int count, std::int64_t gap_ms) {
        for (int i = 0; i < count; ++i) {
            now += gap_ms;
            pulse.came(now);
        }
    }
    PulseState state() const { return pulse.read(now).state; }
    // The state at an age, without an arrival.
    PulseState stateAt(std::int64_t age_ms) const { return pulse.read(now + age_ms).state; }

    Pulse pulse;
    std::int64_t now = 50'000;
};

TEST_F(PulseTest, WithoutUseThereIsNothingToTell) {
    EXPECT_EQ(state(), PulseState::kAbsent);
    arrive(10, 40);
    EXPECT_EQ(state(), PulseState::kAbsent);
    EXPECT_EQ(pulse.counts().came, 0);
    pulse.failed();
    EXPECT_EQ(pulse.counts().failed, 0);
}

TEST_F(PulseTest, UntilTheFirstArrivalItWarnsThenItIsDangerFromTheBeginningOfTheUse) {
    open();
    EXPECT_EQ(state(), PulseState::kWarn);
    EXPECT_EQ(pulse.read(now + 700).age_ms, 700);
    EXPECT_EQ(stateAt(2000), PulseState::kWarn);
    EXPECT_EQ(stateAt(2001), PulseState::kDanger);
}

TEST_F(PulseTest, WithinThreeOfItsIntervalsItIsOk) {
    open();
    arrive(40, 200);
    EXPECT_DOUBLE_EQ(pulse.usualMs(), 200.0);
    EXPECT_EQ(stateAt(0), PulseState::kOk);
    EXPECT_EQ(stateAt(600), PulseState::kOk);
    EXPECT_EQ(stateAt(601), PulseState::kWarn);
    EXPECT_EQ(stateAt(2000), PulseState::kWarn);
    EXPECT_EQ(stateAt(2001), PulseState::kDanger);
    EXPECT_EQ(pulse.read(now + 601).age_ms, 601);
}

TEST_F(PulseTest, TheIntervalIsItsOwn) {
    open();
    arrive(40, 40);
    EXPECT_EQ(stateAt(120), PulseState::kOk);
    EXPECT_EQ(stateAt(121), PulseState::kWarn);
    Pulse slow;
    slow.follow(true, true, 0);
    for (int i = 1; i <= 10; ++i) {
        slow.came(i * 600);
    }
    EXPECT_EQ(slow.read(6000 + 1800).state, PulseState::kOk);
    EXPECT_EQ(slow.read(6000 + 1801).state, PulseState::kWarn);
}

TEST_F(PulseTest, WhatIsSlowerThanTwoSecondsIsDangerAllTheSame) {
    open();
    arrive(20, 3000);
    EXPECT_EQ(stateAt(1900), PulseState::kOk);
    EXPECT_EQ(stateAt(2001), PulseState::kDanger);
}

TEST_F(PulseTest, LessThanATenthOfASecondIsNotToldApart) {
    open();
    arrive(40, 5);
    EXPECT_EQ(stateAt(100), PulseState::kOk);
    EXPECT_EQ(stateAt(101), PulseState::kWarn);
}

TEST_F(PulseTest, WithTooFewArrivalsOnlyTheTwoSecondsCount) {
    open();
    arrive(3, 40);
    EXPECT_LT(pulse.usualMs(), 0.0);
    EXPECT_EQ(stateAt(1500), PulseState::kOk);
    EXPECT_EQ(stateAt(2001), PulseState::kDanger);
    arrive(1, 40);
    EXPECT_EQ(stateAt(1500), PulseState::kWarn);
}

TEST_F(PulseTest, APauseDoesNotChangeWhatIsUsual) {
    open();
    arrive(40, 40);
    arrive(1, 30'000);
    arrive(1, 40);
    EXPECT_DOUBLE_EQ(pulse.usualMs(), 40.0);
    arrive(1, 9'000);
    EXPECT_DOUBLE_EQ(pulse.usualMs(), 40.0);
}

TEST_F(PulseTest, PicturesInPairsHaveTheIntervalOfTheirMean) {
    open();
    for (int i = 0; i < 30; ++i) {
        arrive(1, 80);
        arrive(1, 0);
    }
    EXPECT_NEAR(pulse.usualMs(), 40.0, 5.0);
    EXPECT_EQ(stateAt(80), PulseState::kOk);
}

TEST_F(PulseTest, AnotherRhythmIsLearned) {
    open();
    arrive(60, 40);
    arrive(33, 400);
    EXPECT_DOUBLE_EQ(pulse.usualMs(), 400.0);
    EXPECT_EQ(stateAt(1100), PulseState::kOk);
}

TEST_F(PulseTest, ANewUseStartsAnew) {
    open();
    arrive(40, 40);
    arrive(1, 500);
    ASSERT_EQ(pulse.counts().pauses, 1);
    close();
    EXPECT_EQ(state(), PulseState::kAbsent);
    now += 60'000;
    open();
    EXPECT_EQ(pulse.read(now).age_ms, 0);
    EXPECT_EQ(pulse.counts().pauses, 0);
    EXPECT_LT(pulse.usualMs(), 0.0);
    arrive(1, 40);
    EXPECT_EQ(pulse.counts().pauses, 0) << "the time between two uses is no pause";
}

TEST_F(PulseTest, APauseIsCountedAtItsEndWithWhatIsMissing) {
    open();
    arrive(40, 40);
    now += 400;
    EXPECT_TRUE(pulse.came(now));
    EXPECT_EQ(pulse.lastPauseMs(), 400);
    now += 40;
    EXPECT_FALSE(pulse.came(now));
    arrive(20, 40);
    now += 2800;
    EXPECT_TRUE(pulse.came(now));
    EXPECT_EQ(pulse.counts().pauses, 2);
    EXPECT_EQ(pulse.counts().missing, 9 + 69);
    EXPECT_EQ(pulse.counts().longest_pause_ms, 2800);
    EXPECT_EQ(pulse.counts().came, 63);
    now += 300;
    EXPECT_TRUE(pulse.came(now));
    EXPECT_EQ(pulse.lastPauseMs(), 300);
    EXPECT_EQ(pulse.counts().longest_pause_ms, 2800);
}

TEST_F(PulseTest, OnDemandAnAgeIsNoFault) {
    open(false);
    EXPECT_EQ(state(), PulseState::kOk);
    EXPECT_LT(pulse.read(now).age_ms, 0) << "nothing was asked yet";
    arrive(5, 40);
    EXPECT_EQ(stateAt(60'000), PulseState::kOk);
    EXPECT_EQ(pulse.read(now + 60'000).age_ms, 60'000);
    now += 60'000;
    EXPECT_FALSE(pulse.came(now)) << "and its end no pause";
    EXPECT_EQ(pulse.counts().pauses, 0);
}

TEST_F(PulseTest, OnDemandTheLastOneMustHaveGone) {
    open(false);
    pulse.failed();
    EXPECT_EQ(state(), PulseState::kDanger);
    arrive(1, 40);
    EXPECT_EQ(state(), PulseState::kOk);
    EXPECT_EQ(pulse.counts().failed, 1);
}

TEST_F(PulseTest, WhatComesByItselfIsJudgedFromThatMomentOn) {
    open(false);
    arrive(1, 40);
    now += 60'000;
    pulse.follow(true, true, now);
    EXPECT_EQ(state(), PulseState::kWarn) << "not danger for the minute before";
    EXPECT_EQ(stateAt(2001), PulseState::kDanger);
    arrive(10, 40);
    EXPECT_EQ(state(), PulseState::kOk);
    EXPECT_EQ(pulse.counts().pauses, 0);
    pulse.follow(true, false, now);
    EXPECT_EQ(stateAt(60'000), PulseState::kOk);
}

TEST_F(PulseTest, WhatIsNotTakenWhileItGoesByItselfShowsByTheAge) {
    open();
    arrive(20, 40);
    now += 60;
    pulse.failed();
    EXPECT_EQ(state(), PulseState::kOk);
    EXPECT_EQ(stateAt(200), PulseState::kWarn);
    EXPECT_EQ(pulse.counts().failed, 1);
}

TEST_F(PulseTest, ALineKnownToBeBrokenIsDangerWhateverItTakes) {
    for (const bool by_itself : {true, false}) {
        open(by_itself);
        arrive(20, 40);
        pulse.setBroken(true);
        EXPECT_EQ(state(), PulseState::kDanger);
        pulse.setBroken(false);
        EXPECT_EQ(state(), PulseState::kOk);
    }
    close();
    pulse.setBroken(true);
    EXPECT_EQ(state(), PulseState::kAbsent);
}

TEST_F(PulseTest, TheRateIsThatOfTheLastTwoSeconds) {
    open();
    EXPECT_DOUBLE_EQ(pulse.rate(now), 0.0);
    arrive(100, 40);
    EXPECT_NEAR(pulse.rate(now), 25.0, 0.5);
    EXPECT_NEAR(pulse.rate(now + 1000), 12.5, 0.5);
    arrive(40, 200);
    EXPECT_NEAR(pulse.rate(now), 5.0, 0.5);
    arrive(200, 5);
    EXPECT_NEAR(pulse.rate(now), 200.0, 10.0) << "more than are remembered";
    EXPECT_DOUBLE_EQ(pulse.rate(now + 2000), 0.0) << "nothing comes any more";
}

TEST_F(PulseTest, SoonAfterTheBeginningTheRateIsThatOfTheTimeSinceThen) {
    open();
    arrive(10, 40);
    EXPECT_NEAR(pulse.rate(now), 25.0, 0.5);
}

}  // namespace
