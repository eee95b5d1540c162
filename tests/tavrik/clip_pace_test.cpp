#include "tavrik/clip_pace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <vector>

#include "tavrik/stamp.h"

namespace tavrik {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr int kNone = -1;

struct ClipPaceTest : ::testing::Test {
    // Shows the picture as soon as it is due, or at once where it is late; tells how long after the first
    // one.
    nanoseconds show(std::int64_t position_us) {
        pace.next(position_us);
        if (!pace.isDue()) {
            now = pace.due();
            now -= 1ns;
            EXPECT_FALSE(pace.isDue()) << "a moment before its time";
            now += 1ns;
        }
        EXPECT_TRUE(pace.isDue());
        if (!begun) {
            begun = true;
            first = now;
        }
        return now - first;
    }
    // Stamps and times in milliseconds; kNone: no stamp.
    std::vector<int> showAll(const std::vector<int>& stamps) {
        std::vector<int> shown;
        for (const int ms : stamps) {
            shown.push_back(static_cast<int>(show(ms == kNone ? kNoTime : ms * 1000LL) / 1ms));
        }
        return shown;
    }

    ClipPace::Time now = ClipPace::Time(1000s);
    bool begun = false;
    ClipPace::Time first;
    ClipPace pace{[this] { return now; }};
};

// 30000/1001 pictures a second in a container's units of 1/90000 s.
constexpr int kTenMinutes = 17983;
std::int64_t stampUs(int number) { return number * 3003LL * 100 / 9; }

TEST_F(ClipPaceTest, TenMinutesDoNotDriftHoweverLongAPictureTakes) {
    std::srand(5);
    for (int n = 0; n < kTenMinutes; ++n) {
        const nanoseconds late = show(stampUs(n)) - std::chrono::microseconds(stampUs(n));
        ASSERT_GE(late, 0ns) << n;
        ASSERT_LT(late, 70ms) << n;
        // Decoding; now and then longer than the next picture may wait.
        now += std::chrono::microseconds(n % 10 == 0 ? 40000 + std::rand() % 60000 : std::rand() % 20000);
    }
    EXPECT_EQ(pace.due() - first, std::chrono::microseconds(stampUs(kTenMinutes - 1)));
}

TEST_F(ClipPaceTest, TenMinutesWithoutStampsDoNotDriftEither) {
    pace.setUsualStep(nanoseconds(33366667));
    for (int n = 0; n < kTenMinutes; ++n) {
        show(kNoTime);
        now += 5ms;
    }
    const nanoseconds told = std::chrono::microseconds(stampUs(kTenMinutes - 1));
    EXPECT_LT(pace.due() - first - told, 20us);
    EXPECT_GT(pace.due() - first - told, -20us);
}

TEST_F(ClipPaceTest, ThePictureComesAsLongAfterThePauseAsItWasAwayBeforeIt) {
    showAll({0, 40});
    pace.next(80000);
    now += 15ms;
    pace.hold();
    EXPECT_TRUE(pace.held());
    now += 3600s;
    EXPECT_FALSE(pace.isDue()) << "nothing is while time stands";
    pace.hold();
    now += 7s;
    pace.resume();
    EXPECT_FALSE(pace.held());
    EXPECT_EQ(pace.due(), now + 25ms);
    now += 24ms;
    EXPECT_FALSE(pace.isDue());
    pace.resume();
    now += 1ms;
    EXPECT_TRUE(pace.isDue());
}

TEST_F(ClipPaceTest, AThousandPausesAddUpToNothing) {
    nanoseconds paused{};
    for (int n = 0; n < 1000; ++n) {
        pace.next(stampUs(n));
        pace.hold();
        now += 1234567ns;
        paused += 1234567ns;
        pace.resume();
        if (!pace.isDue()) {
            now = pace.due();
        }
    }
    EXPECT_EQ(pace.due() - ClipPace::Time(1000s), paused + std::chrono::microseconds(stampUs(999)));
}

TEST_F(ClipPaceTest, HeldBeforeTheFirstPictureItBeginsWithTheResume) {
    pace.hold();
    now += 5s;
    pace.next(700000);
    EXPECT_FALSE(pace.isDue());
    now += 5s;
    pace.resume();
    EXPECT_TRUE(pace.isDue());
    EXPECT_EQ(pace.due(), now);
}

TEST_F(ClipPaceTest, HeldAndResumedBeforeTheFirstPictureChangesNothing) {
    now += 1s;
    pace.hold();
    now += 5s;
    pace.resume();
    now += 1s;
    EXPECT_EQ(showAll({700, 740}), (std::vector<int>{0, 40}));
}

TEST_F(ClipPaceTest, TheFirstStampIsZeroWhateverItIs) {
    EXPECT_EQ(showAll({-90000, -89960, -89900}), (std::vector<int>{0, 40, 100}));
}

TEST_F(ClipPaceTest, AStampThatJumpsBackGoesOnByTheUsualStep) {
    pace.setUsualStep(20ms);
    EXPECT_EQ(showAll({5000, 5040, 0, 40, 80}), (std::vector<int>{0, 40, 60, 100, 140}));
}

TEST_F(ClipPaceTest, EqualStampsGoOnByTheUsualStep) {
    EXPECT_EQ(showAll({0, 0, 0, 100}), (std::vector<int>{0, 40, 80, 180}));
}

TEST_F(ClipPaceTest, AGapIsWaitedForUpToTenSeconds) {
    EXPECT_EQ(showAll({0, 10000, 20001, 20041}), (std::vector<int>{0, 10000, 10040, 10080}));
}

TEST_F(ClipPaceTest, MissingStampsAreFilledIn) {
    EXPECT_EQ(showAll({0, kNone, kNone, 120, 160}), (std::vector<int>{0, 40, 80, 120, 160}));
    EXPECT_EQ(showAll({200, kNone, kNone, 230, 270}), (std::vector<int>{200, 240, 280, 280, 320}))
        << "filled in too far, the next one comes at once";
}

TEST_F(ClipPaceTest, TheFirstStampMayComeLate) {
    EXPECT_EQ(showAll({kNone, kNone, 500, 540}), (std::vector<int>{0, 40, 80, 120}));
}

TEST_F(ClipPaceTest, StampsAtTheEndsOfTheirRangeAreJumps) {
    constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(show(kNoTime + 1), 0ms);
    EXPECT_EQ(show(kHighest), 40ms);
    EXPECT_EQ(show(kNoTime + 1), 80ms);
    EXPECT_EQ(show(0), 120ms);
    EXPECT_EQ(show(kHighest), 160ms);
}

}  // namespace
}  // namespace tavrik
