#include "tavrik/silence_guess.h"

#include <gtest/gtest.h>

namespace tavrik::test {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

// Pictures of 3 pushes of 100 bytes each, at a regular interval.
struct Line {
    SilenceGuess guess;
    SilenceGuess::Time now{};
    std::uint64_t position = 0;
    SilenceGuess::Duration gap = microseconds(200);
    SilenceGuess::Duration interval = milliseconds(40);

    void push(SilenceGuess::Duration after) {
        now += after;
        guess.pushed(position, now);
        position += 100;
    }
    void picture() {
        const std::uint64_t begin = position + 4;
        push(interval - 2 * gap);
        const SilenceGuess::Time first = now;
        push(gap);
        push(gap);
        guess.picture(begin, position, first);
    }
    void pictures(int count) {
        for (int i = 0; i < count; ++i) {
            picture();
        }
    }
};

TEST(SilenceGuess, NeedsManyPictures) {
    Line line;
    line.pictures(SilenceGuess::kPictures);
    EXPECT_EQ(line.guess.silenceMs(), -1);
    line.pictures(1);
    EXPECT_EQ(line.guess.silenceMs(), 3) << "never shorter than this";
}

TEST(SilenceGuess, IsThreeTimesTheLongestPauseInsideAPicture) {
    Line line;
    line.gap = microseconds(2500);
    line.pictures(SilenceGuess::kPictures + 1);
    EXPECT_EQ(line.guess.silenceMs(), 8);
    line.gap = microseconds(4100);
    line.pictures(1);
    EXPECT_EQ(line.guess.silenceMs(), 13) << "a longer one counts at once";
}

TEST(SilenceGuess, IsNoneNearHalfTheIntervalOfPictures) {
    Line line;
    line.gap = microseconds(5600);
    line.pictures(SilenceGuess::kPictures + 1);
    EXPECT_EQ(line.guess.silenceMs(), 17);
    line.gap = microseconds(5700);
    line.pictures(1);
    EXPECT_EQ(line.guess.silenceMs(), -1) << "18 ms of 40 are 45 %";
    line.gap = microseconds(200);
    line.pictures(SilenceGuess::kPictures);
    EXPECT_EQ(line.guess.silenceMs(), -1) << "a long pause is remembered";
    line.pictures(9 * SilenceGuess::kPictures);
    EXPECT_EQ(line.guess.silenceMs(), 3) << "but not for ever";
}

TEST(SilenceGuess, RestsForMinutesAfterAWrongOne) {
    Line line;
    line.pictures(SilenceGuess::kPictures + 1);
    ASSERT_EQ(line.guess.silenceMs(), 3);
    testing::internal::CaptureStderr();
    line.push(milliseconds(4));
    line.guess.wrong();
    line.guess.wrong();
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    EXPECT_EQ(line.guess.silenceMs(), -1);
    const SilenceGuess::Time begun = line.now;
    while (line.now - begun < SilenceGuess::kRest - line.interval) {
        line.picture();
        ASSERT_EQ(line.guess.silenceMs(), -1);
    }
    line.pictures(2);
    EXPECT_EQ(line.guess.silenceMs(), 3);
}

TEST(SilenceGuess, LearnsFromTheWrongOneToo) {
    Line line;
    line.pictures(SilenceGuess::kPictures + 1);
    line.push(milliseconds(4));
    line.guess.wrong();
    line.now += SilenceGuess::kRest;
    line.pictures(1);
    EXPECT_EQ(line.guess.silenceMs(), 12);
}

}  // namespace
}  // namespace tavrik::test
