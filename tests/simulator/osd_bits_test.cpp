// Each bit of the display's word shows in the picture, by itself and from the state in which a pod starts.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/simulator/pod_helpers.h"

namespace podsim {
namespace {

constexpr int kWidth = 1280, kHeight = 720;

struct Change {
    int pixels = 0;
    int left = kWidth, top = kHeight, right = -1, bottom = -1;
};

I420Image draw(const Snapshot& s, int channel) {
    Renderer renderer(kWidth, kHeight, channel);
    I420Image image;
    renderer.render(s, 0, image);
    return image;
}

Change changeOf(const I420Image& a, const I420Image& b) {
    Change c;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const auto at = static_cast<std::size_t>(y * kWidth + x);
            if (a.y[at] != b.y[at]) {
                ++c.pixels;
                c.left = std::min(c.left, x);
                c.right = std::max(c.right, x);
                c.top = std::min(c.top, y);
                c.bottom = std::max(c.bottom, y);
            }
        }
    }
    return c;
}

class OsdBits : public ::testing::Test {
protected:
    OsdBits() {
        run(pod, 4);
        s = pod.snapshot();
        s.ai_box = false;
        s.notice.clear();
    }
    Change changeBy(int bit, std::uint32_t from = 0, int channel = kMainChannel) {
        s.osd_word = from;
        const I420Image before = draw(s, channel);
        s.osd_word = from ^ 1U << bit;
        return changeOf(before, draw(s, channel));
    }

    Pod pod;
    Snapshot s;
};

TEST_F(OsdBits, EachShows) {
    for (int bit = 0; bit <= 22; ++bit) {
        if (bit == 8 || bit == 20) {
            EXPECT_EQ(changeBy(bit).pixels, 0) << bit << " stands for nothing in the picture";
            continue;
        }
        // The infrared camera's line stands in its own picture.
        const Change change = changeBy(bit, 0, bit == 9 ? kInfraredChannel : kMainChannel);
        EXPECT_GT(change.pixels, 30) << bit;
    }
}

// A bit that switches a text changes that text's place and leaves the middle of the picture alone.
TEST_F(OsdBits, TheTextsStandAtTheEdges) {
    for (const int bit : {2, 4, 5, 6, 7, 10, 11, 12, 13, 15, 16, 17, 18, 21, 22}) {
        const Change change = changeBy(bit);
        const bool at_side = change.right < kWidth * 45 / 100 || change.left > kWidth * 55 / 100;
        // The positions of aircraft and target stand in opposite corners.
        EXPECT_TRUE(at_side || bit == 11 || bit == 15) << bit << " " << change.left << ".." << change.right;
        EXPECT_TRUE(change.bottom < kHeight * 45 / 100 || change.top > kHeight * 55 / 100 || bit == 11 ||
                    bit == 15)
            << bit << " " << change.top << ".." << change.bottom;
    }
    const Change cross = changeBy(1);
    EXPECT_GT(cross.left, kWidth / 3);
    EXPECT_LT(cross.right, kWidth * 2 / 3);
}

// The whole display off hides what every other bit would show.
TEST_F(OsdBits, TheFirstBitHidesAllOthers) {
    for (int bit = 1; bit <= 22; ++bit) {
        EXPECT_EQ(changeBy(bit, 1).pixels, 0) << bit;
    }
}

// Degrees and minutes are no matter where the grid is shown.
TEST_F(OsdBits, TheGridTakesThePlaceOfBothForms) {
    EXPECT_EQ(changeBy(15, 1U << 11).pixels, 0);
    EXPECT_GT(changeBy(11, 1U << 15).pixels, 30);
}

TEST_F(OsdBits, AnIlluminatorThatShinesIsToldInAnyCase) {
    s.illuminator = true;
    const I420Image lit = draw(s, kMainChannel);
    s.illuminator = false;
    EXPECT_GT(changeOf(lit, draw(s, kMainChannel)).pixels, 30);
}

}  // namespace
}  // namespace podsim
