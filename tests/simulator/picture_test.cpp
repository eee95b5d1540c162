// The pictures: frame number, directions, modes, palettes, and that what is told to be visible is drawn
// there.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "simulator/pod/palette.h"
#include "tests/simulator/pod_helpers.h"

namespace podsim {
namespace {

constexpr int kWidth = 640, kHeight = 360;

I420Image draw(const Snapshot& s, int channel = kMainChannel, std::uint32_t number = 0, int width = kWidth,
               int height = kHeight) {
    Renderer renderer(width, height, channel);
    I420Image image;
    renderer.render(s, number, image);
    return image;
}

// A pod whose picture carries no texts and marks.
Snapshot bare(Pod& pod) {
    Snapshot s = pod.snapshot();
    s.osd_level = 0;
    s.ai_box = false;
    s.frame_width = kWidth;
    s.frame_height = kHeight;
    return s;
}

double meanDifference(const I420Image& a, const I420Image& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.y.size(); ++i) {
        sum += std::abs(a.y[i] - b.y[i]);
    }
    for (std::size_t i = 0; i < a.u.size(); ++i) {
        sum += std::abs(a.u[i] - b.u[i]) + std::abs(a.v[i] - b.v[i]);
    }
    return sum / static_cast<double>(a.y.size());
}

// The shift of the content from a to b in pixels, by the best match of a central patch.
void shiftBetween(const I420Image& a, const I420Image& b, int reach, int& dx, int& dy) {
    constexpr int kHalf = 60;
    long best = -1;
    for (int sy = -reach; sy <= reach; ++sy) {
        for (int sx = -reach; sx <= reach; ++sx) {
            long sum = 0;
            for (int y = kHeight / 2 - kHalf; y < kHeight / 2 + kHalf; y += 3) {
                for (int x = kWidth / 2 - kHalf; x < kWidth / 2 + kHalf; x += 3) {
                    sum += std::abs(a.y[static_cast<std::size_t>(y * kWidth + x)] -
                                    b.y[static_cast<std::size_t>((y + sy) * kWidth + x + sx)]);
                }
            }
            if (best < 0 || sum < best) {
                best = sum;
                dx = sx;
                dy = sy;
            }
        }
    }
}

double meanLuma(const I420Image& p, int x0, int y0, int x1, int y1) {
    double sum = 0;
    for (int y = y0; y < y1; ++y) {
        for (int x = x0; x < x1; ++x) {
            sum += p.y[static_cast<std::size_t>(y * p.width + x)];
        }
    }
    return sum / ((x1 - x0) * (y1 - y0));
}

TEST(Picture, FrameNumberStandsInTheTopEdgeOfBothChannels) {
    Pod pod;
    for (const int channel : {kMainChannel, kInfraredChannel}) {
        for (const std::uint32_t number : {0U, 1U, 0x8000U, 0xA5C3U, 65535U, 65536U + 77U}) {
            const I420Image p = draw(pod.snapshot(), channel, number);
            EXPECT_EQ(readFrameNumber(p.y.data(), p.width, p.width, p.height),
                      static_cast<int>(number & 0xFFFF));
        }
    }
    // By hand: 0xA5C3 is 1010 0101 1100 0011.
    const I420Image p = draw(pod.snapshot(), kMainChannel, 0xA5C3);
    const char* bits = "1010010111000011";
    for (int k = 0; k < 16; ++k) {
        for (const int y : {0, 16, 31}) {
            for (const int x : {k * 32, k * 32 + 31}) {
                EXPECT_EQ(p.y[static_cast<std::size_t>(y * p.width + x)], bits[k] == '1' ? 235 : 16);
            }
        }
    }
    EXPECT_EQ(p.u[0], 128);
}

TEST(Picture, GreyBlocksAreNoFrameNumber) {
    const std::vector<std::uint8_t> grey(640 * 32, 128);
    EXPECT_EQ(readFrameNumber(grey.data(), 640, 640, 32), -1);
    EXPECT_EQ(readFrameNumber(grey.data(), 500, 500, 32), -1);
}

TEST(Picture, PositiveAzimuthRateMovesTheContentLeftAndPositivePitchDown) {
    struct Row {
        int az, el, dx, dy;  // signs of the content's shift
    };
    for (const Row& row : {Row{8, 0, -1, 0}, Row{-8, 0, 1, 0}, Row{0, 8, 0, 1}, Row{0, -8, 0, -1}}) {
        Pod still, moved;
        // Equal but for the rate, so that the flight's own motion is in both.
        send(moved, 112, words16({row.az, row.el}));
        run(still, 0.2);
        run(moved, 0.2);
        int dx = 0, dy = 0;
        shiftBetween(draw(bare(still)), draw(bare(moved)), 24, dx, dy);
        EXPECT_GT(row.dx != 0 ? dx * row.dx : dy * row.dy, 3) << row.az << " " << row.el;
        EXPECT_LE(std::abs(row.dx == 0 ? dx : dy), 3);
    }
}

TEST(Picture, ZoomEnlargesTheContent) {
    Pod pod;
    run(pod, 2);
    const Snapshot wide = bare(pod);
    send(pod, 76, words16({200, 0}));
    const Snapshot narrow = bare(pod);
    std::set<int> seen;
    for (const VisibleObject& n : visibleObjects(narrow, kWidth, kHeight, kMainChannel)) {
        for (const VisibleObject& w : visibleObjects(wide, kWidth, kHeight, kMainChannel)) {
            if (n.id == w.id) {
                EXPECT_NEAR(n.width_px / w.width_px, 2, 0.1);
                seen.insert(n.id);
            }
        }
    }
    EXPECT_FALSE(seen.empty());
    EXPECT_GT(meanDifference(draw(wide), draw(narrow)), 5);
}

TEST(Picture, VehiclesAreDrawnWhereTheyAreTold) {
    // In the infrared picture the engine of a car is hotter than what surrounds it.
    Pod pod;
    run(pod, 2);
    Snapshot s = bare(pod);
    s.display_mode = DisplayMode::kInfrared;
    s.track_source_visible = false;
    const I420Image p = draw(s, kMainChannel, 0, 1280, 720);
    int checked = 0;
    for (const VisibleObject& o : visibleObjects(s, 1280, 720, kMainChannel)) {
        if (o.occluded || o.type != 1 || o.x_px < 60 || o.x_px > 1220 || o.y_px < 80 || o.y_px > 660) {
            continue;
        }
        const int x = static_cast<int>(o.x_px), y = static_cast<int>(o.y_px);
        const int half_w = static_cast<int>(o.width_px / 2), half_h = static_cast<int>(o.height_px / 2);
        int hottest = 0;
        for (int py = y - half_h; py <= y + half_h; ++py) {
            for (int px = x - half_w; px <= x + half_w; ++px) {
                hottest = std::max<int>(hottest, p.y[static_cast<std::size_t>(py * 1280 + px)]);
            }
        }
        const double road = meanLuma(p, x - 2 * half_w - 6, y - 3, x - 2 * half_w, y + 3);
        EXPECT_GT(hottest, road + 30) << o.id;
        ++checked;
    }
    EXPECT_GE(checked, 1);
}

TEST(Picture, TrackerBoxIsDrawnAroundTheObject) {
    Pod pod;
    run(pod, 2);
    Snapshot s = pod.snapshot();
    const auto objects = visibleObjects(s, 1280, 720, kMainChannel);
    ASSERT_FALSE(objects.empty());
    const auto target = std::find_if(objects.begin(), objects.end(), [](const VisibleObject& o) {
        return !o.occluded && o.x_px > 200 && o.x_px < 1080 && o.y_px > 200 && o.y_px < 520;
    });
    ASSERT_NE(target, objects.end());
    send(pod, 147, {1, static_cast<std::uint8_t>(target->id)});
    Snapshot tracked = bare(pod);
    tracked.frame_width = 1280;
    tracked.frame_height = 720;
    Snapshot idle = tracked;
    idle.track_state = TrackState::kIdle;
    const I420Image with = draw(tracked, kMainChannel, 0, 1280, 720),
                    without = draw(idle, kMainChannel, 0, 1280, 720);
    double x0 = 1e9, x1 = -1e9, y0 = 1e9, y1 = -1e9;
    for (int y = 0; y < 720; ++y) {
        for (int x = 0; x < 1280; ++x) {
            const auto at = static_cast<std::size_t>(y * 1280 + x);
            if (with.y[at] != without.y[at]) {
                x0 = std::min<double>(x0, x);
                x1 = std::max<double>(x1, x);
                y0 = std::min<double>(y0, y);
                y1 = std::max<double>(y1, y);
            }
        }
    }
    EXPECT_NEAR((x0 + x1) / 2, 640 + tracked.track_x_px, 3);
    EXPECT_NEAR((y0 + y1) / 2, 360 - tracked.track_y_px, 3);
    EXPECT_NEAR((x0 + x1) / 2, target->x_px, 10);
    EXPECT_NEAR((y0 + y1) / 2, target->y_px, 10);
}

TEST(Picture, DisplayModesDiffer) {
    Pod pod;
    run(pod, 1);
    std::vector<I420Image> pictures;
    for (std::uint8_t mode = 0; mode <= 6; ++mode) {
        send(pod, 37, {mode});
        pictures.push_back(draw(bare(pod)));
    }
    for (std::size_t a = 0; a < pictures.size(); ++a) {
        for (std::size_t b = 0; b < a; ++b) {
            EXPECT_GT(meanDifference(pictures[a], pictures[b]), 2) << a << " " << b;
        }
    }
}

TEST(Picture, InfraredChannelIsInfraredInEveryMode) {
    Pod pod;
    Snapshot s = bare(pod);
    const I420Image one = draw(s, kInfraredChannel);
    s.display_mode = DisplayMode::kPipInfrared;
    EXPECT_EQ(meanDifference(one, draw(s, kInfraredChannel)), 0);
    for (const std::uint8_t u : one.u) {
        ASSERT_EQ(u, 128);  // white hot has no colour
    }
}

TEST(Picture, PalettesDiffer) {
    Pod pod;
    Snapshot s = bare(pod);
    s.display_mode = DisplayMode::kInfrared;
    std::vector<I420Image> pictures;
    for (s.ir_palette = 0; s.ir_palette < kPaletteCount; ++s.ir_palette) {
        pictures.push_back(draw(s));
    }
    for (std::size_t a = 0; a < pictures.size(); ++a) {
        for (std::size_t b = 0; b < a; ++b) {
            EXPECT_GT(meanDifference(pictures[a], pictures[b]), 1) << a << " " << b;
        }
    }
    // Black hot is white hot upside down.
    EXPECT_LT(pictures[1].y[200 * kWidth + 320] + pictures[0].y[200 * kWidth + 320], 16 + 235 + 4);
    EXPECT_GT(pictures[1].y[200 * kWidth + 320] + pictures[0].y[200 * kWidth + 320], 16 + 235 - 4);
}

TEST(Picture, SettingsChangeIt) {
    struct Row {
        const char* name;
        void (*change)(Snapshot&);
        bool infrared;
    };
    const Row rows[] = {
        {"brightness", [](Snapshot& s) { s.vl_brightness = 2; }, false},
        {"contrast", [](Snapshot& s) { s.vl_contrast = -2; }, false},
        {"gain", [](Snapshot& s) { s.vl_auto_gain = false, s.vl_gain = 2; }, false},
        {"focus", [](Snapshot& s) { s.vl_focus = 0.4; }, false},
        {"fog", [](Snapshot& s) { s.fog_level = 3; }, false},
        {"night", [](Snapshot& s) { s.night_mode = true; }, false},
        {"no power", [](Snapshot& s) { s.module_bits = 0xFD; }, false},
        {"osd", [](Snapshot& s) { s.osd_level = 2; }, false},
        {"partial osd", [](Snapshot& s) { s.osd_level = 1; }, false},
        {"detections", [](Snapshot& s) { s.ai_box = true, s.frame_width = 1280, s.vl_fov_deg = 15; }, false},
        {"brightness", [](Snapshot& s) { s.ir_brightness = 2; }, true},
        {"contrast", [](Snapshot& s) { s.ir_contrast = 3; }, true},
        {"focus", [](Snapshot& s) { s.ir_focus = 0.3; }, true},
        {"enhancement", [](Snapshot& s) { s.ir_enhancement = 7; }, true},
        {"shutter", [](Snapshot& s) { s.nuc_s = 1, s.nuc_shutter = true; }, true},
        {"background", [](Snapshot& s) { s.nuc_s = 1, s.nuc_shutter = false; }, true},
        {"no power", [](Snapshot& s) { s.module_bits = 0xFE; }, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Pod pod;
        run(pod, 1);
        Snapshot s = bare(pod);
        if (row.infrared) {
            s.display_mode = DisplayMode::kInfrared;
        }
        const I420Image before = draw(s);
        row.change(s);
        EXPECT_GT(meanDifference(before, draw(s)), 0.3);
    }
}

TEST(Picture, NoticesAndTextsShow) {
    Pod pod;
    run(pod, 4);
    Snapshot s = pod.snapshot();
    s.ai_box = false;
    const I420Image before = draw(s);
    const auto differs = [&](void (*change)(Snapshot&)) {
        Snapshot changed = s;
        change(changed);
        return meanDifference(before, draw(changed)) > 0;
    };
    EXPECT_TRUE(differs([](Snapshot& x) { x.notice = "fog level=2"; }));
    EXPECT_TRUE(differs([](Snapshot& x) { x.recording = true; }));
    EXPECT_TRUE(differs([](Snapshot& x) { x.snapshotting = true; }));
    EXPECT_TRUE(differs([](Snapshot& x) { x.laser_range_m = 321; }));
    EXPECT_TRUE(differs([](Snapshot& x) { x.illuminator = true; }));
    EXPECT_TRUE(differs([](Snapshot& x) { x.osd_style = 0; }));
    EXPECT_TRUE(differs([](Snapshot& x) { x.cooler_on = false; }));
    EXPECT_TRUE(differs([](Snapshot& x) {
        x.custom_text_on = true;
        x.custom_text = "HELLO";
        x.custom_text_x = 100;
        x.custom_text_y = 200;
    }));
    // Each item of the word that has a mark or text of its own.
    for (const int bit : {0, 1, 2, 5, 6, 7, 12, 13, 14, 15, 18, 19}) {
        Snapshot changed = s;
        changed.osd_word = 1U << bit;
        EXPECT_GT(meanDifference(before, draw(changed)), 0) << bit;
    }
}

TEST(Picture, SkyAboveAndGroundBelow) {
    Pod pod;
    send(pod, 114, words16({0, 0}));
    run(pod, 6);
    const I420Image p = draw(bare(pod));
    // Sky is bluish and brighter than the fields.
    EXPECT_GT(meanLuma(p, 0, 60, kWidth, 110), meanLuma(p, 0, 310, kWidth, 350) + 15);
    double sky_u = 0, ground_v = 0;
    for (int x = 0; x < kWidth / 2; ++x) {
        sky_u += p.u[static_cast<std::size_t>(20 * kWidth / 2 + x)];
        ground_v += p.u[static_cast<std::size_t>(170 * kWidth / 2 + x)];
    }
    EXPECT_GT(sky_u, ground_v);
}

// Means over an 8 x 4 grid of the default view; a change of look shows here and is then looked at.
TEST(Picture, DefaultViewsKeepTheirLook) {
    Pod pod;
    run(pod, 1);
    const int visible[4][8] = {
#include "tests/simulator/golden_visible.inc"
    };
    const int infrared[4][8] = {
#include "tests/simulator/golden_infrared.inc"
    };
    for (const int channel : {kMainChannel, kInfraredChannel}) {
        const I420Image p = draw(bare(pod), channel);
        for (int j = 0; j < 4; ++j) {
            for (int i = 0; i < 8; ++i) {
                const double mean = meanLuma(p, i * 80, j * 90, i * 80 + 80, j * 90 + 90);
                EXPECT_NEAR(mean, (channel == kMainChannel ? visible : infrared)[j][i], 6) << i << "," << j;
            }
        }
    }
}

TEST(Picture, EveryDirectionAndSizeCanBeDrawn) {
    Pod pod;
    Snapshot s = pod.snapshot();
    I420Image image;
    Renderer main(512, 288, kMainChannel), infrared(1920, 1080, kInfraredChannel);
    for (const double pitch : {-95.0, -90.0, -60.0, -8.0, 0.0, 8.0, 45.0}) {
        for (const double yaw : {-180.0, -77.0, 0.0, 123.0, 180.0}) {
            for (const double fov : {0.6, 31.0, 60.5}) {
                s.attitude_pitch_deg = pitch;
                s.attitude_yaw_deg = yaw;
                s.vl_fov_deg = fov;
                s.display_mode = static_cast<DisplayMode>(static_cast<int>(fov + yaw + 400) % 7);
                main.render(s, 7, image);
                EXPECT_EQ(readFrameNumber(image.y.data(), 512, 512, 288), 7);
            }
        }
    }
    infrared.render(s, 65000, image);
    EXPECT_EQ(image.width, 1920);
    EXPECT_EQ(readFrameNumber(image.y.data(), 1920, 1920, 1080), 65000);
}

TEST(Picture, AllLowHeightsAndFarPlacesCanBeDrawn) {
    Pod pod;
    Snapshot s = pod.snapshot();
    for (const double place : {0.0, 12345.6, -987654.3}) {
        s.east_m = s.north_m = place;
        for (const double height : {2.0, 30.0, 8000.0}) {
            s.height_m = height;
            const I420Image p = draw(s);
            EXPECT_EQ(readFrameNumber(p.y.data(), p.width, p.width, p.height), 0);
        }
    }
}

}  // namespace
}  // namespace podsim
