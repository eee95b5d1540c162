#include "tavrik/sound_sync.h"

#include <gtest/gtest.h>

namespace tavrik::test {
namespace {

using std::chrono::milliseconds;
using Verdict = SoundSync::Verdict;

constexpr std::int64_t kMs = 90;

// A stream that runs by the clock of the test, in milliseconds from its start.
class SoundSyncTest : public testing::Test {
protected:
    SoundSync::Clock::time_point at(std::int64_t ms) const { return m_start + milliseconds(ms); }
    static std::int64_t pts(std::int64_t ms) { return 1000000 + ms * kMs; }
    void picture(std::int64_t ms, std::int64_t shown_ms) {
        m_sync.pictureReceived(pts(ms));
        m_sync.pictureShown(pts(ms), at(shown_ms));
    }
    SoundSync::Answer judge(std::int64_t ms, std::int64_t now_ms) {
        return m_sync.judge(pts(ms), at(now_ms), at(now_ms));
    }
    // Pictures every 40 ms, sound every 20 ms that comes `late` behind its picture.
    void run(std::int64_t from, std::int64_t to, std::int64_t late) {
        for (std::int64_t ms = from; ms < to; ms += 20) {
            if (ms % 40 == 0) {
                picture(ms, ms);
            }
            m_sync.soundReceived(pts(ms - late), at(ms));
        }
    }

    SoundSync m_sync;
    const SoundSync::Clock::time_point m_start{std::chrono::hours(1)};
};

TEST_F(SoundSyncTest, PlaysWhatIsWithThePicture) {
    run(0, 1000, 0);
    for (const int offset : {-300, -80, 0, 40}) {
        EXPECT_EQ(judge(960 + offset, 960).verdict, Verdict::kPlay) << offset;
    }
}

TEST_F(SoundSyncTest, DropsWhatAStallHasLeftBehindUntilItIsInStep) {
    run(0, 1000, 0);
    // The line stood for 4 s; everything comes at once and the pictures are shown at once.
    for (std::int64_t ms = 1000; ms < 5000; ms += 40) {
        picture(ms, 5000);
        m_sync.soundReceived(pts(ms), at(5000));
    }
    for (std::int64_t ms = 1000; ms < 4900; ms += 20) {
        EXPECT_EQ(judge(ms, 5001).verdict, Verdict::kDrop) << ms;
    }
    EXPECT_EQ(judge(4940, 5001).verdict, Verdict::kPlay);
    EXPECT_EQ(judge(4800, 5001).verdict, Verdict::kPlay) << "only more than 300 ms begins the dropping";
}

TEST_F(SoundSyncTest, LetsSoundWaitForItsPicture) {
    run(0, 1000, 0);
    const SoundSync::Answer ahead = judge(1160, 960);
    EXPECT_EQ(ahead.verdict, Verdict::kWait);
    EXPECT_GT(ahead.wait.count(), 0);
    EXPECT_LE(ahead.wait.count(), 200);
    EXPECT_EQ(judge(1160, 1120).verdict, Verdict::kPlay) << "the picture goes on between two pictures";
    EXPECT_EQ(judge(2500, 960).verdict, Verdict::kPlay) << "too far ahead to belong to it";
}

TEST_F(SoundSyncTest, WaitsForNoPictureThatDoesNotCome) {
    run(0, 1000, 0);
    EXPECT_EQ(judge(1500, 2500).verdict, Verdict::kPlay);
}

// Pictures go on being shown, but with one time for all: sound must not wait for a time that never comes.
TEST_F(SoundSyncTest, SoundDoesNotWaitForPicturesWhoseTimeStands) {
    picture(0, 0);
    picture(0, 1000);
    EXPECT_EQ(m_sync.judge(pts(500), at(0), at(500)).verdict, Verdict::kWait);
    EXPECT_EQ(m_sync.judge(pts(500), at(0), at(1001)).verdict, Verdict::kPlay);
}

TEST_F(SoundSyncTest, TakesALagOfTheSendersOwnForGranted) {
    run(0, 8000, 500);
    EXPECT_EQ(judge(7480, 7980).verdict, Verdict::kPlay);
    EXPECT_EQ(judge(7480 - 400, 7980).verdict, Verdict::kDrop);
}

TEST_F(SoundSyncTest, ComparesNoClocksThatHaveNothingToDoWithEachOther) {
    run(0, 1000, 0);
    EXPECT_EQ(m_sync.judge(pts(-60000), at(960), at(960)).verdict, Verdict::kPlay);
    EXPECT_EQ(m_sync.judge(kNoTime, at(960), at(960)).verdict, Verdict::kPlay);
}

TEST_F(SoundSyncTest, WithoutTimesDropsWhatHasWaitedLong) {
    run(0, 1000, 0);
    EXPECT_EQ(m_sync.judge(kNoTime, at(960), at(1900)).verdict, Verdict::kPlay);
    EXPECT_EQ(m_sync.judge(kNoTime, at(960), at(2100)).verdict, Verdict::kDrop);
    SoundSync alone;
    EXPECT_EQ(alone.judge(kNoTime, at(960), at(9000)).verdict, Verdict::kPlay) << "there is no picture";
}

}  // namespace
}  // namespace tavrik::test
