// Every command of the catalogue gives its feedback byte, a named change, and a state that can be seen.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <string>

#include "simulator/wire/commands.h"
#include "tests/simulator/pod_helpers.h"

namespace podsim {
namespace {

struct Case {
    const char* name;
    std::uint16_t code;
    std::vector<std::uint8_t> payload;
    std::function<bool(const Snapshot& before, const Snapshot& after)> changed;
    std::function<void(Pod&)> prepare = nullptr;
};

std::function<bool(const Snapshot&, const Snapshot&)> becomes(ServoState state) {
    return [state](const Snapshot& a, const Snapshot& b) {
        return a.servo_state != state && b.servo_state == state;
    };
}

#define CHANGED(condition) [](const Snapshot& a, const Snapshot& b) { return condition; }

std::vector<Case> catalogue() {
    const auto track = [](Pod& pod) { send(pod, 58, words16({0, 0})); };
    return {
        {"custom text",
         26,
         {20, 0, 100, 0, 0, 'H', 'I'},
         CHANGED(!a.custom_text_on && b.custom_text == "HI")},
        {"geo guide", 27, dwords({1144200000, 304500000, 250}), becomes(ServoState::kDigitalGuide)},
        {"geo track", 28, dwords({1144200000, 304500000, 250}), becomes(ServoState::kTracking)},
        {"time sync", 32, {0xEB, 0x07, 5, 6, 7, 8, 9, 0, 0}, CHANGED(b.utc_ms - a.utc_ms > 86400000)},
        {"load enable",
         33,
         {2},
         CHANGED(!(a.module_bits & 2) && (b.module_bits & 2)),
         [](Pod& pod) { send(pod, 34, {2}); }},
        {"load sleep", 34, {3}, CHANGED((a.module_bits & 1) && !(b.module_bits & 1))},
        {"sleep of the laser", 34, {4}, CHANGED(a.laser_on && !b.laser_on)},
        {"sleep of the servo", 34, {1}, becomes(ServoState::kOff)},
        {"sleep of the tracker", 34, {5}, CHANGED(a.tracker_on && !b.tracker_on)},
        {"sleep of the cooler", 34, {6}, CHANGED(a.cooler_on && !b.cooler_on)},
        {"template size", 35, {4}, CHANGED(a.template_width_px != 128 && b.template_width_px == 128)},
        {"template free",
         35,
         {0, 0, 40, 50},
         CHANGED(a.template_width_px != 40 && b.template_width_px == 40 && b.template_height_px == 50)},
        {"same field of view",
         36,
         {},
         CHANGED(std::fabs(a.vl_fov_deg - a.ir_fov_deg) > 0.3 &&
                 std::fabs(b.vl_fov_deg - b.ir_fov_deg) < 0.01)},
        {"video mode",
         37,
         {5},
         CHANGED(a.display_mode != b.display_mode && b.display_mode == DisplayMode::kLeftRight)},
        {"window defog", 40, {1, 1}, CHANGED(!a.window_defog && b.window_defog)},
        {"set ip", 41, {10, 20, 30, 40}, CHANGED(a.ip[0] != 10 && b.ip[0] == 10 && b.ip[3] == 40)},
        {"video switch", 49, {}, CHANGED(a.display_mode != b.display_mode)},
        {"snapshot", 50, {}, CHANGED(b.snapshot_count == a.snapshot_count + 1 && b.snapshotting)},
        {"record", 51, {}, CHANGED(!a.recording && b.recording)},
        {"illuminator", 53, {1}, CHANGED(!a.illuminator && b.illuminator)},
        {"illuminator rate", 53, {2, 0xF4, 0x01}, CHANGED(a.illuminator_hz == 0 && b.illuminator_hz == 5)},
        {"configuration save", 54, {0, 6}, CHANGED(!a.config_saved && b.config_saved)},
        {"factory state",
         54,
         {1, 6},
         CHANGED(a.ir_palette != 0 && b.ir_palette == 0),
         [](Pod& pod) {
             send(pod, 83, {1, 4});
         }},
        {"osd level", 55, {1}, CHANGED(a.osd_level != 1 && b.osd_level == 1)},
        {"osd items",
         55,
         {3, 0x06, 0x01, 0x08},
         CHANGED(a.osd_word == 0 && b.osd_word == 0x080006 && b.config_saved)},
        {"osd style", 55, {4, 10, 0, 0}, CHANGED(a.osd_style != 10 && b.osd_style == 10)},
        {"reboot", 57, {9}, CHANGED((a.module_bits & 0x80) && !(b.module_bits & 0x80))},
        {"track point", 58, words16({0, 0}), becomes(ServoState::kTracking)},
        {"track stop",
         59,
         {},
         CHANGED(a.track_state != TrackState::kIdle && b.track_state == TrackState::kIdle),
         track},
        {"range single", 61, {}, CHANGED(a.laser_range_m == 0 && b.laser_range_m > 100)},
        {"range continuous",
         62,
         {3},
         CHANGED(!a.laser_continuous && b.laser_continuous && b.laser_period_s == 3)},
        {"range stop",
         63,
         {},
         CHANGED(a.laser_continuous && !b.laser_continuous),
         [](Pod& pod) { send(pod, 62, {1}); }},
        {"contrast", 65, {1, 1}, CHANGED(b.vl_contrast == a.vl_contrast + 1)},
        {"brightness", 65, {2, 2}, CHANGED(b.vl_brightness == a.vl_brightness - 1)},
        {"stabilisation", 65, {4, 2}, CHANGED(a.stabilisation && !b.stabilisation)},
        {"gain", 65, {5, 1}, CHANGED(b.vl_gain == a.vl_gain + 1 && !b.vl_auto_gain)},
        {"automatic gain",
         65,
         {5, 3},
         CHANGED(!a.vl_auto_gain && b.vl_auto_gain),
         [](Pod& pod) {
             send(pod, 65, {5, 2});
         }},
        {"visible defaults",
         65,
         {6},
         CHANGED(a.vl_contrast != 0 && b.vl_contrast == 0),
         [](Pod& pod) {
             send(pod, 65, {1, 1});
         }},
        {"visible zoom", 69, {1, 3}, CHANGED(b.vl_zoom > a.vl_zoom)},
        {"visible focus", 69, {4, 3}, CHANGED(b.vl_focus < a.vl_focus)},
        {"visible auto focus",
         69,
         {5},
         CHANGED(b.vl_focus > a.vl_focus),
         [](Pod& pod) {
             send(pod, 69, {3, 3});
             run(pod, 1);
         }},
        {"fog", 74, {2}, CHANGED(a.fog_level == 0 && b.fog_level == 2)},
        {"night", 75, {1}, CHANGED(!a.night_mode && b.night_mode)},
        {"focal length", 76, words16({500, 0}),
         CHANGED(a.vl_focal_mm < 11 && std::fabs(b.vl_focal_mm - 50) < 0.1)},
        {"infrared zoom", 80, {15}, CHANGED(b.ir_zoom > a.ir_zoom)},
        {"infrared focus", 80, {2}, CHANGED(b.ir_focus < a.ir_focus)},
        {"palette", 83, {1, 7}, CHANGED(a.ir_palette == 0 && b.ir_palette == 7)},
        {"electronic zoom",
         84,
         {},
         CHANGED(a.ir_ezoom == 1 && b.ir_ezoom == 2 && b.ir_fov_deg < a.ir_fov_deg * 0.6)},
        {"background compensation", 85, {}, CHANGED(a.nuc_s == 0 && b.nuc_s > 0 && !b.nuc_shutter)},
        {"shutter compensation", 86, {}, CHANGED(a.nuc_s == 0 && b.nuc_s > 0 && b.nuc_shutter)},
        {"enhancement", 87, {1, 6}, CHANGED(a.ir_enhancement == 0 && b.ir_enhancement == 6)},
        {"infrared defaults",
         88,
         {2},
         CHANGED(a.ir_enhancement == 3 && b.ir_enhancement == 0),
         [](Pod& pod) {
             send(pod, 87, {1, 3});
         }},
        {"infrared brightness", 89, {1}, CHANGED(b.ir_brightness == a.ir_brightness - 1)},
        {"infrared contrast", 90, {0}, CHANGED(b.ir_contrast == a.ir_contrast + 1)},
        {"temperature alarm",
         92,
         {0x80, 0xF4, 0x01},
         CHANGED(!a.temperature_alarm_on && b.temperature_alarm_on && b.temperature_alarm_c == 50)},
        {"encoder", 98, {0, 1}, CHANGED(a.encoder_codec == -1 && b.encoder_codec == 1)},
        {"bit rate", 98, {1, 0xA0, 0x0F}, CHANGED(b.encoder_bitrate_kbps - a.encoder_bitrate_kbps == 4000)},
        {"servo rate", 112, words16({10, 0}), CHANGED(b.rate_az_dps > a.rate_az_dps)},
        {"centre", 113, {}, becomes(ServoState::kCentring)},
        {"digital guide", 114, words16({1000, 0}), becomes(ServoState::kDigitalGuide)},
        {"look down", 115, {}, becomes(ServoState::kLookDown)},
        {"stow", 116, {}, becomes(ServoState::kStowed)},
        {"servo off", 117, {}, becomes(ServoState::kOff)},
        {"gyro rate", 118, {3, 5, 0}, becomes(ServoState::kGyroManualDrift)},
        {"gyro calibration", 118, {1}, becomes(ServoState::kGyroAutoDrift)},
        {"scan run", 121, {}, becomes(ServoState::kScan)},
        {"heading lock", 122, {}, becomes(ServoState::kHeadingLock)},
        {"heading follow", 123, {}, becomes(ServoState::kHeadingFollow)},
        {"attitude guide", 124, words16({0, 0}), becomes(ServoState::kAttitudeGuide)},
        {"locate mode", 132, {1}, CHANGED(a.locate_mode == 0 && b.locate_mode == 1)},
        {"track step", 144, {1}, CHANGED(b.template_step == a.template_step + 1), track},
        {"detection boxes", 145, {0}, CHANGED(a.ai_box && !b.ai_box)},
        {"track by id stops",
         147,
         {},
         CHANGED(a.track_state != TrackState::kIdle && b.track_state == TrackState::kIdle),
         track},
        {"auto track", 149, {1}, CHANGED(!a.auto_track && b.auto_track)},
        {"detection mode", 154, {1, 2}, CHANGED(a.ai_source == 0 && b.ai_source == 1 && b.ai_method == 2)},
        {"detection region", 155, words16({-30, 40}),
         CHANGED(a.ai_roi_x_px == 0 && b.ai_roi_x_px == -30 && b.ai_roi_y_px == 40)},
    };
}

// Commands whose effect is not in the report: the name and the feedback byte stand.
struct Named {
    std::uint16_t code;
    const char* name;
};
constexpr Named kWithoutAState[] = {{17, "sbus-channels"}, {19, "pass-through"},  {25, "folder-naming"},
                                    {56, "request-info"},  {119, "scan-azimuth"}, {120, "scan-elevation"},
                                    {1026, "nav-stream"},  {12288, "firmware"},   {200, "unknown-command"}};

// The notice on the picture is the name of a logged change in words.
bool tells(const std::string& notice, const std::vector<std::string>& names) {
    return std::any_of(names.begin(), names.end(), [&notice](std::string name) {
        std::replace(name.begin(), name.end(), '-', ' ');
        return notice.compare(0, name.size(), name) == 0;
    });
}

TEST(Catalogue, EveryCommandShowsItsFeedbackItsNameAndItsState) {
    for (const Case& c : catalogue()) {
        SCOPED_TRACE(c.name);
        Pod pod;
        run(pod, 3);
        if (c.prepare) {
            c.prepare(pod);
        }
        pod.step(kTick);
        const Snapshot before = pod.snapshot();
        std::vector<std::string> names;
        pod.setLog([&names](const std::string& name, const std::string&) { names.push_back(name); });
        send(pod, c.code, c.payload);
        ASSERT_FALSE(names.empty());
        EXPECT_NE(names[0], "unknown-command");
        pod.step(kTick);
        const Snapshot after = pod.snapshot();
        EXPECT_EQ(after.command_feedback, c.code & 0xFF);
        EXPECT_TRUE(tells(after.notice, names)) << after.notice;
        EXPECT_TRUE(c.changed(before, after));
    }
}

TEST(Catalogue, TheRestIsNamedAndAnswered) {
    for (const Named& row : kWithoutAState) {
        SCOPED_TRACE(row.name);
        Pod pod;
        run(pod, 3);
        std::vector<std::string> names;
        pod.setLog([&names](const std::string& name, const std::string&) { names.push_back(name); });
        send(pod, row.code, {1, 2, 3, 4});
        EXPECT_EQ(pod.snapshot().command_feedback, row.code & 0xFF);
        ASSERT_EQ(names.size(), 1U);
        EXPECT_EQ(names[0], row.name);
    }
}

TEST(Catalogue, NoKnownCodeIsLeftOut) {
    std::set<std::uint16_t> tried;
    for (const Case& c : catalogue()) {
        tried.insert(c.code);
    }
    for (const Named& row : kWithoutAState) {
        tried.insert(row.code);
    }
    for (std::size_t i = 0; i < commandCount(); ++i) {
        EXPECT_EQ(tried.count(commandTable()[i].code), 1U) << commandTable()[i].name;
    }
}

TEST(Catalogue, ScanSetUpShowsInTheScan) {
    Pod pod;
    send(pod, 119, words16({-60, 20}));
    send(pod, 121);
    run(pod, 12);
    EXPECT_NEAR(pod.snapshot().frame_yaw_deg, -60, 13);
}

TEST(Catalogue, PitchScanSetUpShowsInTheScan) {
    Pod pod;
    send(pod, 120, words16({-50, 20}));
    // Azimuth locked, pitch at 10 degrees per second.
    send(pod, 121, words16({0x8000, 100}));
    run(pod, 12);
    double lowest = 90, highest = -90;
    for (double t = 0; t < 6; t += kTick) {
        pod.step(kTick);
        lowest = std::min(lowest, pod.snapshot().frame_pitch_deg);
        highest = std::max(highest, pod.snapshot().frame_pitch_deg);
    }
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kScan);
    EXPECT_NEAR(lowest, -60, 3);
    EXPECT_NEAR(highest, -40, 3);
}

TEST(Catalogue, TheStreamOfPositionsDoesNotHideTheFeedback) {
    Pod pod;
    for (int i = 0; i < 20; ++i) {
        send(pod, 1026, std::vector<std::uint8_t>(30));
        pod.step(kTick);
        if (i == 10) {
            send(pod, 75, {1});
        }
    }
    EXPECT_EQ(pod.snapshot().command_feedback, 75);
}

TEST(Catalogue, TrackByIdLocksAnObjectOfThePicture) {
    Pod pod;
    run(pod, 2);
    const Snapshot s = pod.snapshot();
    const auto objects = visibleObjects(s, s.frame_width, s.frame_height, kMainChannel);
    ASSERT_FALSE(objects.empty());
    send(pod, 147, {1, static_cast<std::uint8_t>(objects[0].id)});
    EXPECT_EQ(pod.snapshot().locked_object_id, objects[0].id);
    EXPECT_EQ(pod.snapshot().command_feedback, 147);
    send(pod, 59);
    send(pod, 147, {1, 255});
    EXPECT_EQ(pod.snapshot().track_state, TrackState::kIdle);
}

TEST(Catalogue, DisplayModesAndTheSwitchBetweenCameras) {
    for (std::uint8_t mode = 0; mode <= 6; ++mode) {
        Pod pod;
        send(pod, 37, {mode});
        EXPECT_EQ(static_cast<int>(pod.snapshot().display_mode), mode);
        send(pod, 49);
        EXPECT_NE(static_cast<int>(pod.snapshot().display_mode), mode);
    }
    Pod pod;
    send(pod, 37, {7});
    EXPECT_EQ(pod.snapshot().display_mode, DisplayMode::kVisibleWide);
    const double wide = pod.snapshot().vl_fov_deg;
    send(pod, 37, {6});
    EXPECT_LT(pod.snapshot().vl_fov_deg, wide / 3);
}

}  // namespace
}  // namespace podsim
