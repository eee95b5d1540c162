#include "video/recording_rules.h"

#include <gtest/gtest.h>

#include <climits>

namespace sorvane {
namespace {

using Tip = TipTick::Tip;

const CalendarTime kTime = {2026, 3, 9, 7, 5, 2, 999};

TEST(RecordingNames, ADayHasItsDirectory) {
    EXPECT_EQ(datedDirectory("/records", kTime), "/records/20260309");
    EXPECT_EQ(datedDirectory("", kTime), "/20260309");
    EXPECT_EQ(datedDirectory("/录像", {2026, 12, 31, 23, 59, 59, 0}), "/录像/20261231");
    EXPECT_EQ(datedDirectory("/录像", {2027, 1, 1, 0, 0, 0, 0}), "/录像/20270101");
}

TEST(RecordingNames, AFileTellsTimeHandleAndFormat) {
    EXPECT_EQ(recordingPath("/d", kTime, 1, kCaptureMp4), "/d/070502_2.mp4");
    EXPECT_EQ(recordingPath("/d", kTime, 1, kCaptureRaw), "/d/070502_2.dat");
    EXPECT_EQ(recordingPath("/d", kTime, 41, 7), "/d/070502_42.dat");
    EXPECT_EQ(recordingPath("/d", kTime, 0, kCaptureMp4), "/d/070502_1.mp4");
    EXPECT_EQ(recordingPath("/d", kTime, -1, kCaptureMp4), "/d/070502_0.mp4");
    EXPECT_EQ(recordingPath("/d", kTime, INT_MAX, kCaptureMp4), "/d/070502_2147483648.mp4");
}

TEST(RecordingNames, APictureTellsTimeAndChannel) {
    EXPECT_EQ(snapshotPath("/d", kTime, 1), "/d/070502_1.jpg");
    EXPECT_EQ(snapshotPath("/d", {2026, 3, 9, 23, 59, 60, 0}, 2), "/d/235960_2.jpg");
}

TEST(SplitPeriod, MinutesWithinWhatATimerTakes) {
    EXPECT_EQ(splitPeriodMs(10), 600000);
    EXPECT_EQ(splitPeriodMs(1), 60000);
    for (const int none : {0, -1, -10, INT_MIN}) {
        EXPECT_EQ(splitPeriodMs(none), 60000) << none;
    }
    EXPECT_EQ(splitPeriodMs(35791), 2147460000);
    for (const int huge : {35792, 71583, 1000000, INT_MAX}) {
        EXPECT_EQ(splitPeriodMs(huge), 2147460000) << huge;
    }
}

TEST(TipText, MinutesAreAllThatHavePassed) {
    EXPECT_EQ(recordingTipText(0), "record 00:00:00");
    EXPECT_EQ(recordingTipText(59), "record 00:00:59");
    EXPECT_EQ(recordingTipText(61), "record 00:01:01");
    EXPECT_EQ(recordingTipText(3600 + 5 * 60 + 7), "record 01:65:07");
    EXPECT_EQ(recordingTipText(100 * 3600), "record 100:6000:00");
}

TEST(Countdown, WholeSecondsWithReducedMinutes) {
    EXPECT_EQ(countdownText(0), "00:00:00");
    EXPECT_EQ(countdownText(999), "00:00:00");
    EXPECT_EQ(countdownText(1000), "00:00:01");
    EXPECT_EQ(countdownText(3599999), "00:59:59");
    EXPECT_EQ(countdownText((3600 + 5 * 60 + 7) * 1000LL), "01:05:07");
    EXPECT_EQ(countdownText(INT32_MAX), "596:31:23");
}

TEST(Tips, ToggleWhileTheirChannelIsActiveAndEndWithTheLast) {
    const auto expect = [](bool active1, bool active2, Tip first, Tip second, bool stops) {
        const TipTick tick = nextTipTick(active1, active2);
        EXPECT_EQ(tick.first, first) << active1 << active2;
        EXPECT_EQ(tick.second, second) << active1 << active2;
        EXPECT_EQ(tick.stops, stops) << active1 << active2;
    };
    expect(true, true, Tip::kToggles, Tip::kToggles, false);
    expect(true, false, Tip::kToggles, Tip::kHides, false);
    expect(false, true, Tip::kHides, Tip::kToggles, false);
    expect(false, false, Tip::kHides, Tip::kHides, true);
}

// Four characters of any kind fit.
bool fitsFour(const std::u16string& line) { return line.size() <= 4; }

TEST(BrokenText, LinesAreFullWhateverTheWords) {
    EXPECT_EQ(brokenToFit(u"", fitsFour), u"");
    EXPECT_EQ(brokenToFit(u"abcd", fitsFour), u"abcd");
    EXPECT_EQ(brokenToFit(u"abcde", fitsFour), u"abcd\ne");
    EXPECT_EQ(brokenToFit(u"a bc/defgh", fitsFour), u"a bc\n/def\ngh");
}

TEST(BrokenText, NarrowRoomStillTakesACharacterALine) {
    const auto nothing_fits = [](const std::u16string&) { return false; };
    EXPECT_EQ(brokenToFit(u"abc", nothing_fits), u"a\nb\nc");
    EXPECT_EQ(brokenToFit(u"a\U0001F600b", nothing_fits), u"a\n\U0001F600\nb");
    const std::u16string half_pair = {u'x', char16_t{0xD83D}};
    EXPECT_EQ(brokenToFit(half_pair, nothing_fits), (std::u16string{u'x', u'\n', char16_t{0xD83D}}));
}

TEST(BrokenText, APairOfSurrogatesIsOneCharacter) {
    EXPECT_EQ(brokenToFit(u"abc\U0001F600", fitsFour), u"abc\n\U0001F600");
    // The second half alone is a character like any other.
    const auto fits_one = [](const std::u16string& line) { return line.size() <= 1; };
    for (const int half : {0xDC00, 0xDFFF}) {
        const std::u16string text = {static_cast<char16_t>(half), u'x'};
        EXPECT_EQ(brokenToFit(text, fits_one), (std::u16string{text[0], u'\n', u'x'})) << half;
    }
}

}  // namespace
}  // namespace sorvane
