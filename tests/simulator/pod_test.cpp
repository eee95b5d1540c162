// Tracker, lenses, flight and time of the simulated pod.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>

#include "simulator/pod/calendar.h"
#include "simulator/pod/servo.h"
#include "tests/simulator/pod_helpers.h"

namespace podsim {
namespace {

const VisibleObject* pickFree(const std::vector<VisibleObject>& objects, int width, int height) {
    for (const VisibleObject& o : objects) {
        if (!o.occluded && o.x_px > 150 && o.x_px < width - 150 && o.y_px > 150 && o.y_px < height - 150) {
            return &o;
        }
    }
    return nullptr;
}

void click(Pod& pod, const VisibleObject& o, int width, int height, int dx = 0) {
    send(pod, 58,
         words16({static_cast<int>(o.x_px) - width / 2 + dx, height / 2 - static_cast<int>(o.y_px)}));
}

TEST(PodTracker, LocksOnTheClickedObjectAndTheBoxStaysOnIt) {
    Pod pod;
    run(pod, 2);
    const Snapshot s = pod.snapshot();
    const auto objects = visibleObjects(s, s.frame_width, s.frame_height, kMainChannel);
    const VisibleObject* target = pickFree(objects, s.frame_width, s.frame_height);
    ASSERT_NE(target, nullptr);
    click(pod, *target, s.frame_width, s.frame_height, 6);
    EXPECT_EQ(pod.snapshot().locked_object_id, target->id);
    EXPECT_EQ(pod.snapshot().servo_state, ServoState::kTracking);
    int checked = 0;
    for (int i = 0; i < 25 * 6; ++i) {
        pod.step(kTick);
        const Snapshot now = pod.snapshot();
        ASSERT_NE(now.track_state, TrackState::kIdle);
        if (now.track_state != TrackState::kStable) {
            continue;
        }
        for (const VisibleObject& o : visibleObjects(now, now.frame_width, now.frame_height, kMainChannel)) {
            if (o.id != target->id) {
                continue;
            }
            EXPECT_LE(std::fabs(now.frame_width / 2.0 + now.track_x_px - o.x_px), 10);
            EXPECT_LE(std::fabs(now.frame_height / 2.0 - now.track_y_px - o.y_px), 10);
            EXPECT_NEAR(now.target_width_px, o.width_px, 1);
            ++checked;
        }
    }
    EXPECT_GT(checked, 50);
    // By then it has drifted to the centre.
    EXPECT_LT(std::hypot(pod.snapshot().track_x_px, pod.snapshot().track_y_px), 30);
}

TEST(PodTracker, EveryObjectOfThePictureCanBeClicked) {
    Pod reference;
    run(reference, 3);
    const Snapshot s = reference.snapshot();
    const auto objects = visibleObjects(s, s.frame_width, s.frame_height, kMainChannel);
    EXPECT_GE(objects.size(), 5U);
    for (const VisibleObject& o : objects) {
        Pod pod;
        run(pod, 3);
        send(pod, 58,
             words16({static_cast<int>(std::lround(o.x_px)) - s.frame_width / 2,
                      s.frame_height / 2 - static_cast<int>(std::lround(o.y_px))}));
        EXPECT_EQ(pod.snapshot().locked_object_id, o.id);
        EXPECT_EQ(pod.snapshot().target_type, o.type);
    }
}

TEST(PodTracker, ObjectsAreLargeEnoughToClick) {
    Pod pod;
    double longest = 0;
    for (int i = 0; i < 10; ++i) {
        run(pod, 1);
        const Snapshot s = pod.snapshot();
        for (const VisibleObject& o : visibleObjects(s, s.frame_width, s.frame_height, kMainChannel)) {
            longest = std::max(longest, o.width_px);
        }
    }
    EXPECT_GE(longest, 40);
}

TEST(PodTracker, TakesTheGroundWhereNothingMoves) {
    Pod pod;
    Snapshot s = pod.snapshot();
    send(pod, 35, {1});
    int x = 0, y = 0;
    bool free = false;
    for (y = -250; y <= 250 && !free; y += 50) {
        for (x = -500; x <= 500 && !free; x += 50) {
            free = true;
            for (const VisibleObject& o : visibleObjects(s, s.frame_width, s.frame_height, kMainChannel)) {
                free = free &&
                       std::hypot(o.x_px - s.frame_width / 2.0 - x, s.frame_height / 2.0 - y - o.y_px) > 120;
            }
            if (free) {
                send(pod, 58, words16({x, y}));
            }
        }
    }
    ASSERT_TRUE(free);
    s = pod.snapshot();
    EXPECT_EQ(s.servo_state, ServoState::kTracking);
    EXPECT_EQ(s.locked_object_id, 0);
    EXPECT_EQ(s.target_type, 0);
    run(pod, 4);
    EXPECT_EQ(pod.snapshot().track_state, TrackState::kStable);
    EXPECT_LT(std::hypot(pod.snapshot().track_x_px, pod.snapshot().track_y_px), 5);
}

TEST(PodTracker, ZeroZeroIsTheCentre) {
    Pod pod;
    send(pod, 58, words16({0, 0}));
    EXPECT_NE(pod.snapshot().track_state, TrackState::kIdle);
    EXPECT_LT(std::hypot(pod.snapshot().track_x_px, pod.snapshot().track_y_px), 60);
}

TEST(PodTracker, StopEndsTrackingAndTheServoStands) {
    Pod pod;
    send(pod, 58, words16({0, 0}));
    run(pod, 2);
    send(pod, 59);
    run(pod, 1);
    const Snapshot s = pod.snapshot();
    EXPECT_EQ(s.track_state, TrackState::kIdle);
    EXPECT_EQ(s.servo_state, ServoState::kManual);
    EXPECT_DOUBLE_EQ(s.rate_az_dps, 0);
    EXPECT_DOUBLE_EQ(s.track_x_px, 0);
}

TEST(PodTracker, SkyCannotBeTracked) {
    Pod pod;
    send(pod, 114, words16({0, 2500}));
    run(pod, 6);
    send(pod, 58, words16({0, 0}));
    EXPECT_EQ(pod.snapshot().track_state, TrackState::kIdle);
    EXPECT_NE(pod.snapshot().servo_state, ServoState::kTracking);
}

TEST(PodTracker, CoastsBehindAnObstacleAndFindsItsObjectAgain) {
    // Each object in turn for a minute: somewhere on its way stands a tree or the bridge.
    bool coasted = false, found_again = false;
    for (int id = 1; id <= 20 && !found_again; ++id) {
        Pod pod;
        run(pod, 1);
        send(pod, 147, {1, static_cast<std::uint8_t>(id)});
        bool coasting = false;
        for (int i = 0; i < 25 * 40 && pod.snapshot().track_state != TrackState::kIdle; ++i) {
            pod.step(kTick);
            const TrackState state = pod.snapshot().track_state;
            coasting = coasting || state == TrackState::kCoasting;
            found_again = found_again || (coasting && state == TrackState::kStable);
        }
        coasted = coasted || coasting;
    }
    EXPECT_TRUE(coasted);
    EXPECT_TRUE(found_again);
}

TEST(PodTracker, AutomaticTrackingFindsAnObject) {
    Pod pod;
    send(pod, 149, {1});
    run(pod, 3);
    EXPECT_NE(pod.snapshot().locked_object_id, 0);
}

TEST(PodTracker, AClickInTheInsetUsesTheOtherCamera) {
    Pod pod;
    send(pod, 37, {4});
    run(pod, 0.2);
    send(pod, 58, words16({1280 * 5 / 16, -720 * 5 / 16}));
    EXPECT_FALSE(pod.snapshot().track_source_visible);
    send(pod, 58, words16({-200, 100}));
    EXPECT_TRUE(pod.snapshot().track_source_visible);
}

TEST(PodLens, ZoomRunsUntilTheStopFrame) {
    Pod pod;
    const double start = pod.snapshot().vl_fov_deg;
    send(pod, 69, {1, 7});
    run(pod, 1);
    const Snapshot zoomed = pod.snapshot();
    EXPECT_LT(zoomed.vl_fov_deg, start / 2);
    EXPECT_GT(zoomed.vl_focal_mm, 20);
    send(pod, 69);
    run(pod, 1);
    EXPECT_DOUBLE_EQ(pod.snapshot().vl_fov_deg, zoomed.vl_fov_deg);
    send(pod, 69, {2, 7});
    run(pod, 20);
    EXPECT_DOUBLE_EQ(pod.snapshot().vl_zoom, 1);
}

TEST(PodLens, PeriodicZoomEndsWithTheIdleFrame) {
    Pod pod;
    for (int i = 0; i < 10; ++i) {
        frame(pod, 80, {15});
        pod.step(kTick);
    }
    const double zoomed = pod.snapshot().ir_zoom;
    EXPECT_GT(zoomed, 1.1);
    frame(pod, 0);
    run(pod, 1);
    EXPECT_DOUBLE_EQ(pod.snapshot().ir_zoom, zoomed);
}

TEST(PodLens, InfraredKeysWithASpeedZoom) {
    Pod pod;
    send(pod, 80, {1, 7});
    run(pod, 0.5);
    EXPECT_GT(pod.snapshot().ir_zoom, 1.2);
    send(pod, 80);
    send(pod, 80, {1});
    run(pod, 0.5);
    EXPECT_LT(pod.snapshot().ir_focus, 0.95);
    send(pod, 80, {3});
    run(pod, 2);
    EXPECT_DOUBLE_EQ(pod.snapshot().ir_focus, 1);
}

TEST(PodCommands, PeriodicCommandsActOnChangeOnly) {
    Pod pod;
    for (int i = 0; i < 10; ++i) {
        frame(pod, 51);
    }
    EXPECT_TRUE(pod.snapshot().recording);
    frame(pod, 0);
    for (int i = 0; i < 10; ++i) {
        frame(pod, 51);
    }
    EXPECT_FALSE(pod.snapshot().recording);
    frame(pod, 65, {2, 1});
    frame(pod, 65, {2, 2});
    frame(pod, 65, {2, 1});
    EXPECT_EQ(pod.snapshot().vl_brightness, 1);
}

TEST(PodCommands, CommandsThatComeAloneActEachTime) {
    Pod pod;
    send(pod, 51);
    EXPECT_TRUE(pod.snapshot().recording);
    send(pod, 51);
    EXPECT_FALSE(pod.snapshot().recording);
}

TEST(PodLaser, RangeIsTheDistanceAlongTheLineOfSight) {
    Pod pod;
    run(pod, 1);
    EXPECT_DOUBLE_EQ(pod.snapshot().laser_range_m, 0);
    send(pod, 61);
    const Snapshot s = pod.snapshot();
    EXPECT_NEAR(s.laser_range_m, s.height_m / std::sin(-s.attitude_pitch_deg * 3.14159265358979 / 180), 1);
    EXPECT_NEAR(s.target_latitude_deg, 30.45, 0.01);
    EXPECT_NEAR(s.target_longitude_deg, 114.42, 0.01);
    send(pod, 63);
    EXPECT_DOUBLE_EQ(pod.snapshot().laser_range_m, 0);
    send(pod, 62, {2});
    run(pod, 0.2);
    EXPECT_GT(pod.snapshot().laser_range_m, 100);
}

TEST(PodFlight, CirclesAtItsSpeed) {
    Pod pod;
    const Snapshot a = pod.snapshot();
    run(pod, 10);
    const Snapshot b = pod.snapshot();
    const double moved = std::hypot(b.east_m - a.east_m, b.north_m - a.north_m);
    EXPECT_NEAR(moved, b.ground_speed_mps * 10, 12);
    EXPECT_GT(turned(a.heading_deg, b.heading_deg), 10);
    run(pod, 150);
    EXPECT_NEAR(pod.snapshot().latitude_deg, 30.45, 0.01);
    EXPECT_NEAR(pod.snapshot().longitude_deg, 114.42, 0.01);
}

TEST(PodFlight, FollowsThePositionOfTheStation) {
    Pod pod;
    NavInput nav;
    nav.latitude_deg = 31.2;
    nav.longitude_deg = 115.1;
    nav.altitude_m = 525;
    nav.heading_deg = 77;
    nav.roll_deg = -3;
    pod.setNav(nav);
    run(pod, 0.2);
    const Snapshot s = pod.snapshot();
    EXPECT_TRUE(s.nav_external);
    EXPECT_NEAR(s.latitude_deg, 31.2, 1e-6);
    EXPECT_NEAR(s.longitude_deg, 115.1, 1e-6);
    EXPECT_NEAR(s.altitude_m, 525, 0.01);
    EXPECT_NEAR(s.heading_deg, 77, 1e-9);
    EXPECT_NEAR(s.roll_deg, -3, 1e-9);
    run(pod, 4);
    EXPECT_FALSE(pod.snapshot().nav_external);
    pod.setNav(NavInput());
    run(pod, 0.2);
    EXPECT_FALSE(pod.snapshot().nav_external);
}

TEST(PodClock, TimeSyncSetsItAndItGoesOn) {
    Pod pod;
    run(pod, 1);
    send(pod, 32, {0xEA, 0x07, 12, 31, 23, 59, 58, 50, 0});
    run(pod, 2);
    const CalendarTime t = toCalendar(pod.snapshot().utc_ms);
    EXPECT_EQ(t.year, 2027);
    EXPECT_EQ(t.month, 1);
    EXPECT_EQ(t.day, 1);
    EXPECT_EQ(t.hour, 0);
    EXPECT_EQ(t.second, 0);
    EXPECT_NEAR(t.millisecond, 500, 1);
}

TEST(PodClock, CalendarOfKnownInstants) {
    const CalendarTime leap = toCalendar(951782400000);  // 2000-02-29
    EXPECT_EQ(leap.month, 2);
    EXPECT_EQ(leap.day, 29);
    EXPECT_EQ(toCalendar(0).year, 1970);
    for (const std::int64_t ms : {std::int64_t{0}, std::int64_t{951782400000}, std::int64_t{1780300800123},
                                  std::int64_t{4102444799999}}) {
        EXPECT_EQ(fromCalendar(toCalendar(ms)), ms);
    }
}

TEST(PodStorage, FillsWhileRecording) {
    Pod pod;
    run(pod, 0.1);
    const int before = pod.snapshot().tf_free_percent;
    send(pod, 51);
    run(pod, 60);
    EXPECT_LT(pod.snapshot().tf_free_percent, before);
    EXPECT_NEAR(pod.snapshot().record_s, 60, 0.1);
    run(pod, 2000);
    EXPECT_EQ(pod.snapshot().tf_free_percent, 0);
    EXPECT_FALSE(pod.snapshot().recording);
}

TEST(Pod, TheSameCallsGiveTheSameStates) {
    auto play = [] {
        Pod pod;
        run(pod, 1);
        send(pod, 58, words16({100, 50}));
        run(pod, 5);
        send(pod, 62, {1});
        run(pod, 5);
        return pod.snapshot();
    };
    const Snapshot a = play(), b = play();
    EXPECT_EQ(a.track_x_px, b.track_x_px);
    EXPECT_EQ(a.laser_range_m, b.laser_range_m);
    EXPECT_EQ(a.driver_temperature_c, b.driver_temperature_c);
    EXPECT_EQ(a.frame_yaw_deg, b.frame_yaw_deg);
}

TEST(Pod, ThreadsMayCallItTogether) {
    Pod pod;
    int logged = 0;
    pod.setLog([&logged](const std::string&, const std::string&) { ++logged; });
    std::thread commands([&pod] {
        for (int i = 0; i < 300; ++i) {
            send(pod, 58, words16({i - 150, 0}));
        }
    });
    std::thread reader([&pod] {
        for (int i = 0; i < 2000; ++i) {
            EXPECT_GT(pod.snapshot().height_m, 0);
        }
    });
    for (int i = 0; i < 300; ++i) {
        pod.snapshot();
    }
    commands.join();
    reader.join();
    EXPECT_EQ(logged, 300);
}

TEST(Pod, SurvivesAnyPayload) {
    Pod pod;
    std::uint32_t random = 7;
    for (int i = 0; i < 20000; ++i) {
        random = random * 1664525U + 1013904223U;
        std::uint8_t payload[16];
        for (std::uint8_t& b : payload) {
            b = static_cast<std::uint8_t>((random = random * 1664525U + 1013904223U) >> 24);
        }
        const auto code = static_cast<std::uint16_t>(random >> 16 & 0xFF);
        pod.apply(code, payload, (random >> 8) % 17, (random & 1) ? -1 : static_cast<int>(random >> 4 & 0xFF),
                  static_cast<std::int16_t>(random >> 3), static_cast<std::int16_t>(random >> 5));
        pod.step(kTick);
    }
    pod.apply(58, nullptr, 0, -1, 0, 0);
    const Snapshot s = pod.snapshot();
    EXPECT_TRUE(std::isfinite(s.frame_yaw_deg) && std::fabs(s.frame_yaw_deg) <= kAzimuthStop);
    EXPECT_TRUE(std::isfinite(s.attitude_pitch_deg) && std::isfinite(s.vl_fov_deg) &&
                std::isfinite(s.track_x_px));
    EXPECT_GT(s.vl_fov_deg, 0);
}

}  // namespace
}  // namespace podsim
