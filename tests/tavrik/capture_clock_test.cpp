#include "tavrik/capture_clock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace tavrik::test {
namespace {

using Clock = CaptureClock::Clock;
using std::chrono::milliseconds;

constexpr std::int64_t kFrame = 3600;

// A camera of 25 pictures a second whose pictures come as they are made.
class Stream {
public:
    CaptureClock::Picture next(std::int64_t pts, bool ordered = false, std::int64_t order = 0) {
        m_now += milliseconds(40);
        return {{pts, kNoTime, m_now}, order, ordered};
    }
    void pass(int ms) { m_now += milliseconds(ms); }

private:
    Clock::time_point m_now{std::chrono::seconds(1000)};
};

std::vector<std::int64_t> shown(const std::vector<CaptureTimes>& times) {
    std::vector<std::int64_t> out;
    for (const CaptureTimes& t : times) {
        out.push_back(t.pts);
    }
    return out;
}

void expectSound(const std::vector<CaptureTimes>& times, std::int64_t before = -1) {
    for (const CaptureTimes& t : times) {
        EXPECT_GT(t.dts, before);
        EXPECT_LE(t.dts, t.pts);
        before = t.dts;
    }
}

TEST(CaptureClock, KeepsTheStreamsOwnTimes) {
    CaptureClock clock;
    Stream stream;
    const std::int64_t from = 123456789;
    const auto first = clock.run({stream.next(from), stream.next(from + 3000), stream.next(from + 9000)});
    EXPECT_EQ(shown(first), (std::vector<std::int64_t>{0, 3000, 9000}));
    EXPECT_EQ(first[2].dts, 9000);
    const auto second = clock.run({stream.next(from + 12600)});
    EXPECT_EQ(shown(second), (std::vector<std::int64_t>{12600}));
    EXPECT_EQ(clock.sound({from + 100, kNoTime, {}}), 100);
    EXPECT_EQ(clock.sound({from - 100, kNoTime, {}}), -100);
    EXPECT_EQ(clock.sound({kNoTime, kNoTime, {}}), kNoTime);
}

TEST(CaptureClock, TakesTheTimesOfArrivalWhereNoneAreTold) {
    CaptureClock clock;
    Stream stream;
    std::vector<CaptureClock::Picture> run{stream.next(kNoTime), stream.next(kNoTime)};
    stream.pass(60);
    run.push_back(stream.next(kNoTime));
    EXPECT_EQ(shown(clock.run(run)), (std::vector<std::int64_t>{0, kFrame, kFrame + 9000}));
    // One without a time among others makes the run one without times.
    EXPECT_EQ(shown(clock.run({stream.next(50), stream.next(kNoTime)})),
              (std::vector<std::int64_t>{2 * kFrame + 9000, 3 * kFrame + 9000}));
    EXPECT_EQ(clock.sound({50, kNoTime, {}}), kNoTime);
    // A burst still has an order.
    const auto now = stream.next(kNoTime);
    const auto burst = clock.run({now, now, now});
    expectSound(burst, 3 * kFrame + 9000);
    EXPECT_LT(burst[0].pts, burst[1].pts);
    EXPECT_LT(burst[1].pts, burst[2].pts);
}

// I P b b b P b b b, as encoders send it; with and without the stream's times, and without the pictures' own
// order.
TEST(CaptureClock, PutsPicturesInTheOrderOfShowing) {
    const std::vector<std::int64_t> order{0, 4, 1, 2, 3, 8, 5, 6, 7};
    for (const int what : {0, 1, 2}) {
        CaptureClock clock;
        Stream stream;
        std::vector<CaptureClock::Picture> run;
        for (const std::int64_t o : order) {
            run.push_back(stream.next(what == 1 ? kNoTime : 90000 + o * kFrame, what != 2, o * 2));
        }
        const auto times = clock.run(run);
        expectSound(times);
        EXPECT_EQ(times.front().dts, 0);
        for (std::size_t i = 0; i < order.size(); ++i) {
            EXPECT_EQ(times[i].pts - times[0].pts, order[i] * kFrame) << what;
        }
        // The third picture sent is the second shown: each is decoded one picture ahead.
        EXPECT_EQ(times[0].pts, kFrame);
        // The next group goes on without a gap.
        std::vector<CaptureClock::Picture> next;
        for (const std::int64_t o : order) {
            next.push_back(stream.next(what == 1 ? kNoTime : 90000 + (9 + o) * kFrame, what != 2, o * 2));
        }
        const auto later = clock.run(next);
        expectSound(later, times.back().dts);
        for (std::size_t i = 0; i < order.size(); ++i) {
            EXPECT_EQ(later[i].pts - times[0].pts, (9 + order[i]) * kFrame) << what;
        }
        EXPECT_EQ(later[0].dts - times[0].dts, 9 * kFrame);
    }
}

// Reordering that the first run did not show is made room for.
TEST(CaptureClock, LearnsOfReorderingLate) {
    CaptureClock clock;
    Stream stream;
    const auto first = clock.run({stream.next(0), stream.next(kFrame)});
    const auto second = clock.run(
        {stream.next(5 * kFrame), stream.next(2 * kFrame), stream.next(3 * kFrame), stream.next(4 * kFrame)});
    EXPECT_EQ(shown(second), (std::vector<std::int64_t>{5 * kFrame, 2 * kFrame, 3 * kFrame, 4 * kFrame}));
    expectSound(second, first.back().dts);
}

TEST(CaptureClock, GoesOnThroughJumps) {
    for (const std::int64_t jump :
         {-50000000LL, 50000000LL, -90000LL * 30, 900000000000000LL, -(1LL << 33)}) {
        CaptureClock clock;
        Stream stream;
        const std::int64_t from = 9000000;
        auto times = clock.run({stream.next(from), stream.next(from + kFrame)});
        // Between two runs ...
        auto more = clock.run({stream.next(from + jump), stream.next(from + jump + kFrame)});
        EXPECT_EQ(shown(more), (std::vector<std::int64_t>{2 * kFrame, 3 * kFrame})) << jump;
        EXPECT_EQ(clock.sound({from + jump, kNoTime, {}}), 2 * kFrame);
        // ... and inside one.
        more =
            clock.run({stream.next(from + jump + 2 * kFrame), stream.next(from + jump + 2 * kFrame + jump)});
        EXPECT_EQ(shown(more), (std::vector<std::int64_t>{4 * kFrame, 5 * kFrame})) << jump;
    }
}

// Sound behind a jump has times that say nothing of its place; it goes on where it is until they hold again.
TEST(CaptureClock, KnowsNoPlaceOfSoundWhileTheTimesJump) {
    CaptureClock clock;
    Stream stream;
    clock.run({stream.next(0), stream.next(kFrame)});
    EXPECT_EQ(clock.sound({kFrame, kNoTime, {}}), kFrame);
    const std::int64_t jump = 50000000;
    clock.run({stream.next(2 * kFrame), stream.next(jump)});
    EXPECT_EQ(clock.sound({jump, kNoTime, {}}), kNoTime);
    clock.run({stream.next(jump + kFrame), stream.next(jump + 2 * kFrame)});
    EXPECT_EQ(clock.sound({jump + kFrame, kNoTime, {}}), 4 * kFrame);
}

// A line that rests lets the pictures come late and in a heap: their own times hold.
TEST(CaptureClock, DoesNotTakeAStallForAJump) {
    CaptureClock clock;
    Stream stream;
    clock.run({stream.next(0), stream.next(kFrame)});
    stream.pass(20000);
    EXPECT_EQ(shown(clock.run({stream.next(2 * kFrame), stream.next(3 * kFrame)})),
              (std::vector<std::int64_t>{2 * kFrame, 3 * kFrame}));
    // What the camera did not send is a gap.
    stream.pass(20000);
    EXPECT_EQ(shown(clock.run({stream.next(504 * kFrame)})), (std::vector<std::int64_t>{504 * kFrame}));
}

// Times that contradict the order of the pictures, or stand still, are no times.
TEST(CaptureClock, DoesNotBelieveTimesAgainstTheOrder) {
    CaptureClock clock;
    Stream stream;
    EXPECT_EQ(
        shown(clock.run({stream.next(0, true, 0), stream.next(-kFrame, true, 2), stream.next(50, true, 4)})),
        (std::vector<std::int64_t>{0, kFrame, 2 * kFrame}));
    EXPECT_EQ(shown(clock.run({stream.next(70), stream.next(70), stream.next(70)})),
              (std::vector<std::int64_t>{3 * kFrame, 4 * kFrame, 5 * kFrame}));
    EXPECT_TRUE(clock.run({}).empty());
}

}  // namespace
}  // namespace tavrik::test
