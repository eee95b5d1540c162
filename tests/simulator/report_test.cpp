#include "simulator/wire/report.h"
#include "simulator/pod/pod.h"

#include <gtest/gtest.h>

#include "simulator/pod/calendar.h"
#include "simulator/pod/pod.h"

namespace podsim {
namespace {

TEST(ReportOf, ScalesAndBits) {
    Snapshot s;
    s.load_type = 4;
    s.module_bits = 0x7F;
    s.photographing = true;
    s.recording = true;
    s.file_naming_ok = false;
    s.tf_inserted = true;
    s.window_defog = true;
    s.ir_enhancement = 5;
    s.track_source_visible = true;
    s.ir_ezoom = 2;
    s.config_saved = true;
    s.vl_ezoom_index = 1;
    s.ir_palette = 9;
    s.servo_state = ServoState::kTracking;
    s.frame_yaw_deg = -179.99;
    s.frame_pitch_deg = -45.125;
    s.load_version_major = 3;
    s.load_version_minor = 11;
    s.ir_fov_deg = 12.34;
    s.vl_fov_deg = 55.5;
    s.tele_fov_deg = 2.5;
    s.tf_capacity_gb = 64;
    s.laser_range_m = 1234.56;
    s.target_valid = true;
    s.target_longitude_deg = 114.25;
    s.target_latitude_deg = 30.5;
    s.target_altitude_m = 41.4;
    s.track_state = TrackState::kCoasting;
    s.track_x_px = -33.4;
    s.track_y_px = 12.6;
    s.max_temperature_c = -1.5;
    s.command_feedback = 58;
    const wire::Report r = reportOf(s);
    EXPECT_EQ(r.module_status, 0x7F);
    EXPECT_EQ(r.status_word_a, 1u << 0 | 1u << 4 | 1u << 6 | 1u << 9 | 5u << 10);
    EXPECT_EQ(r.status_word_b, 1u << 1 | 20u << 2 | 1u << 9 | 1u << 10 | 9u << 12);
    EXPECT_EQ(r.servo_state, 7);
    EXPECT_EQ(r.frame_yaw, -17999);
    EXPECT_EQ(r.frame_pitch, -4513);
    EXPECT_EQ(r.load_version, 0x3B);
    EXPECT_EQ(r.ir_fov, 123);
    EXPECT_EQ(r.vl_fov, 555);
    EXPECT_EQ(r.tf_capacity, 640);
    EXPECT_EQ(r.laser_distance, 12346);
    EXPECT_EQ(r.target_longitude_deg, 114.25);
    EXPECT_EQ(r.target_altitude, 41);
    EXPECT_EQ(r.track_state, 2);
    EXPECT_EQ(r.track_x, -33);
    EXPECT_EQ(r.track_y, 13);
    EXPECT_EQ(r.max_temperature, -15);
    EXPECT_EQ(r.command_feedback, 58);
}

TEST(ReportOf, NoTargetNoPosition) {
    Snapshot s;
    s.target_longitude_deg = 114;
    s.target_valid = false;
    EXPECT_EQ(reportOf(s).target_longitude_deg, 0);
}

TEST(ReportOf, TheShownVisibleCameraTellsItsField) {
    Snapshot s;
    s.vl_fov_deg = 40;
    s.tele_fov_deg = 2.5;
    s.display_mode = DisplayMode::kVisibleTele;
    EXPECT_EQ(reportOf(s).vl_fov, 25);
}

TEST(SeiFieldsOf, BoxFromTheUpperLeftCorner) {
    Snapshot s;
    s.frame_width = 1280;
    s.frame_height = 720;
    s.track_x_px = 100;
    s.track_y_px = 50;
    s.target_width_px = 64;
    s.target_height_px = 32;
    EXPECT_EQ(seiFieldsOf(s).box_width_px, 0);
    s.track_state = TrackState::kStable;
    s.track_source_visible = false;
    const SeiFields f = seiFieldsOf(s);
    EXPECT_EQ(f.tracking_source, 2);
    EXPECT_EQ(f.box_left_px, 640 + 100 - 32);
    EXPECT_EQ(f.box_top_px, 360 - 50 - 16);
    EXPECT_EQ(f.box_width_px, 64);
}

TEST(SeiFieldsOf, PodsClock) {
    Snapshot s;
    s.utc_ms = fromCalendar({2026, 6, 15, 8, 30, 59, 250});
    const SeiFields f = seiFieldsOf(s);
    EXPECT_EQ(f.year, 2026);
    EXPECT_EQ(f.month, 6);
    EXPECT_EQ(f.day, 15);
    EXPECT_NEAR(f.second_of_day, 30659.25, 1e-9);
}

TEST(Feeds, VelocityFollowsTheHeading) {
    Snapshot s;
    s.heading_deg = 90;
    s.ground_speed_mps = 30;
    s.satellites = 17;
    const wire::InsState i = insStateOf(s, 5);
    EXPECT_NEAR(i.east_mps, 30, 1e-9);
    EXPECT_NEAR(i.north_mps, 0, 1e-9);
    EXPECT_EQ(i.satellites_first + i.satellites_second, 17);
    EXPECT_EQ(i.utc_us, 5);
    const wire::NavBlock n = navBlockOf(s);
    EXPECT_NEAR(n.east_speed_mps, 30, 1e-9);
    EXPECT_EQ(n.satellites, 17);
}

TEST(NavInputOf, YearIsCompleted) {
    wire::NavBlock b;
    b.year = 26;
    b.month = 6;
    b.latitude_deg = 30.25;
    const NavInput n = navInputOf(b);
    EXPECT_EQ(n.year, 2026);
    EXPECT_EQ(n.latitude_deg, 30.25);
}

// By the bytes that the station has to read.
TEST(AnswerTo, TheDisplayTellsItsItems) {
    Snapshot s;
    s.osd_word = 0x00687601;
    const wire::Bytes items = answerTo({3}, s);
    EXPECT_EQ(items, wire::buildVariableFrame(18, wire::Bytes{1, 3, 0x01, 0x76, 0x68, 0x00}.data(), 6));
    EXPECT_TRUE(answerTo({1}, s).empty());
    EXPECT_TRUE(answerTo({}, s).empty());
}

TEST(Answer, TheChannelsOfTheRemoteControlAreThoseThatWereAssigned) {
    const wire::Bytes factory = {2, 0, 2, 1, 3, 5, 4, 6, 9, 7, 8};
    const auto answer = [](Pod& pod) { return answerTo({2}, pod.snapshot()); };
    const auto frame = [](const wire::Bytes& table) {
        return wire::buildVariableFrame(18, table.data(), table.size());
    };
    const auto assign = [](Pod& pod, const wire::Bytes& table) {
        pod.apply(17, table.data(), table.size(), -1, 0, 0);
    };
    Pod pod;
    EXPECT_EQ(answer(pod), frame(factory));
    const wire::Bytes table = {2, 0x1F, 0x00, 0x05, 0x11, 0x07, 0x08, 0x09, 0x0A, 0x1B, 0x0C};
    assign(pod, table);
    EXPECT_EQ(answer(pod), frame(table));
    // Another subject, or a table that is too short.
    assign(pod, {3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1});
    assign(pod, {2, 1, 1, 1, 1, 1, 1, 1, 1, 1});
    EXPECT_EQ(answer(pod), frame(table));
    const auto configure = [&pod](wire::Bytes what) { pod.apply(54, what.data(), what.size(), -1, 0, 0); };
    configure({0, 6});
    EXPECT_EQ(answer(pod), frame(table));
    configure({1, 6});
    EXPECT_EQ(answer(pod), frame(factory));
}

}  // namespace
}  // namespace podsim
