// Commands to servo, tracker and detection.
#include <algorithm>
#include <cmath>

#include "simulator/pod/pod_state.h"
#include "simulator/pod/text.h"

namespace podsim {
namespace {

constexpr double kDpsPerUnit = 0.5;  // at the reference field of view
constexpr double kReferenceFov = 31.3;
constexpr double kTimeout = 0.5;  // of a gyro rate that is not repeated, seconds

std::string anglePair(double az, double el) { return formatText("az=%.2f el=%.2f", az, el); }

// The word of one axis of a scan: speed in tenths, bit 14 set when negative, bit 15 holds the axis.
ScanAxis scanAxis(ScanAxis set, int word, double fallback_dps) {
    set.locked = (word & 0x8000) != 0;
    int tenths = word & 0x7FFF;
    if (tenths & 0x4000) {
        tenths -= 0x8000;
    }
    set.speed_dps = tenths != 0 ? tenths / 10.0 : fallback_dps;
    return set;
}

}  // namespace

void Pod::State::releaseTrack() {
    geo_keep = false;
    place_held = false;
    if (tracker.state() != TrackState::kIdle) {
        tracker.stop();
    }
}

void Pod::State::setRate(int az, int el) {
    const bool zero = az == 0 && el == 0;
    // A zero rate ends a movement by rate and disturbs nothing else.
    if (zero) {
        held_az_dps = held_el_dps = 0;
    }
    if (zero && !servo.movingByRate()) {
        return;
    }
    if (!zero && !servo.movingByRate()) {
        note("servo-rate", formatText("az=%d el=%d", az, el));
    }
    if (zero) {
        note("servo-stop", anglePair(servo.azimuth(), servo.framePitch(flight.state())));
    }
    releaseTrack();
    const double fov = s.display_mode == DisplayMode::kInfrared ? s.ir_fov_deg : s.vl_fov_deg;
    const double scale = kDpsPerUnit * std::clamp(fov / kReferenceFov, 0.03, 1.5);
    servo.rate(az * scale, el * scale);
    if (config.latched) {
        held_az_dps = servo.commandedAzimuth();
        held_el_dps = servo.commandedElevation();
    }
}

// What took the servo over has come to its end, and no stop of the rate has come meanwhile.
void Pod::State::resumeHeldRate() {
    const bool held = held_az_dps != 0 || held_el_dps != 0;
    if (held && servo.state() == ServoState::kManual && !servo.movingByRate()) {
        servo.rate(held_az_dps, held_el_dps);
    }
}

void Pod::State::servoRate(const Parameters& p) { setRate(p.word(0), p.word(2)); }

void Pod::State::servoCentre(const Parameters&) {
    releaseTrack();
    servo.goTo(0, 0, ServoState::kCentring);
    note("servo-centre", "");
}

void Pod::State::digitalGuide(const Parameters& p) {
    releaseTrack();
    servo.goTo(p.word(0) / 100.0, p.word(2) / 100.0, ServoState::kDigitalGuide);
    note("digital-guide", anglePair(p.word(0) / 100.0, p.word(2) / 100.0));
}

void Pod::State::lookDown(const Parameters&) {
    releaseTrack();
    servo.goTo(0, -90, ServoState::kLookDown);
    note("look-down", "");
}

void Pod::State::stow(const Parameters&) {
    releaseTrack();
    servo.goTo(0, kElevationHigh, ServoState::kStowed);
    note("stow", "");
}

void Pod::State::servoOff(const Parameters&) {
    releaseTrack();
    servo.off();
    note("servo-off", "");
}

void Pod::State::gyroRate(const Parameters& p) {
    if (p.byte(0) == 0) {
        return;
    }
    releaseTrack();
    if (p.byte(0) == 1) {
        servo.calibrate(3);
        note("gyro-calibration", "auto");
        return;
    }
    const int az = static_cast<std::int8_t>(p.byte(1)), el = static_cast<std::int8_t>(p.byte(2));
    servo.gyroRate(az * kDpsPerUnit, el * kDpsPerUnit, kTimeout);
    note("gyro-rate", formatText("az=%d el=%d", az, el));
}

void Pod::State::scanAzimuth(const Parameters& p) {
    scan_az.centre_deg = std::clamp<double>(p.word(0), -kAzimuthStop, kAzimuthStop);
    scan_az.range_deg = std::clamp<double>(std::abs(p.word(2)), 0, 2 * kAzimuthStop);
    note("scan-azimuth", formatText("centre=%.0f range=%.0f", scan_az.centre_deg, scan_az.range_deg));
}

void Pod::State::scanElevation(const Parameters& p) {
    scan_el.centre_deg = std::clamp<double>(p.word(0), kElevationLow, kElevationHigh);
    scan_el.range_deg = std::clamp<double>(std::abs(p.word(2)), 0, kElevationHigh - kElevationLow);
    note("scan-elevation", formatText("centre=%.0f range=%.0f", scan_el.centre_deg, scan_el.range_deg));
}

void Pod::State::scanRun(const Parameters& p) {
    releaseTrack();
    const bool bare = p.word(0) == 0 && p.word(2) == 0;
    scan_az = scanAxis(scan_az, p.word(0) & 0xFFFF, 6);
    scan_el = scanAxis(scan_el, bare ? 0x8000 : p.word(2) & 0xFFFF, 3);
    servo.scan(scan_az, scan_el);
    note("scan-run", formatText("az=%.1f%s el=%.1f%s", scan_az.speed_dps, scan_az.locked ? " locked" : "",
                                scan_el.speed_dps, scan_el.locked ? " locked" : ""));
}

void Pod::State::headingLock(const Parameters&) {
    releaseTrack();
    servo.headingLock(flight.state());
    note("heading-lock", formatText("yaw=%.1f", servo.earthYaw(flight.state())));
}

void Pod::State::headingFollow(const Parameters&) {
    releaseTrack();
    servo.headingFollow();
    note("heading-follow", formatText("az=%.1f", servo.azimuth()));
}

void Pod::State::attitudeGuide(const Parameters& p) {
    releaseTrack();
    servo.goToAttitude(p.word(0) / 100.0, p.word(2) / 100.0, ServoState::kAttitudeGuide);
    note("attitude-guide", anglePair(p.word(0) / 100.0, p.word(2) / 100.0));
}

void Pod::State::pointAt(const Parameters& p, bool keep) {
    releaseTrack();
    const double longitude = p.dword(0) / 1e7, latitude = p.dword(4) / 1e7, altitude = p.dword(8) / 10.0;
    geo_point.z = altitude - kGroundAltitude;
    flight.toLocal(latitude, longitude, geo_point.x, geo_point.y);
    const FlightState& f = flight.state();
    const Vec3 d = geo_point - Vec3{f.east_m, f.north_m, f.height_m};
    const double yaw = std::atan2(d.x, d.y) / kDeg, el = std::atan2(d.z, std::hypot(d.x, d.y)) / kDeg;
    geo_keep = keep;
    if (!keep) {
        servo.goToAttitude(yaw, el, ServoState::kDigitalGuide);
    }
    note(keep ? "geo-track" : "geo-guide",
         formatText("lat=%.6f lon=%.6f alt=%.1f", latitude, longitude, altitude));
}

// The frames of it have ended. What has taken the servo meanwhile stays as it is.
void Pod::State::leaveHeldPlace() {
    place_held = false;
    if (!geo_keep && servo.state() != ServoState::kDigitalGuide) {
        return;
    }
    geo_keep = false;
    servo.hold();
    note("geo-end", anglePair(servo.azimuth(), servo.framePitch(flight.state())));
}

void Pod::State::geoGuide(const Parameters& p) { pointAt(p, false); }

void Pod::State::geoTrack(const Parameters& p) { pointAt(p, true); }

void Pod::State::trackPoint(const Parameters& p) {
    const int x = p.word(0), y = p.word(2);
    geo_keep = place_held = false;
    if (!s.tracker_on) {
        note("track-point", "tracker=off");
        return;
    }
    const double reach = std::max(44.0 * s.frame_width / 1280, s.template_width_px * 0.75);
    if (!tracker.lockAt(s, x, y, reach)) {
        servo.hold();
        note("track-point", formatText("x=%d y=%d sky", x, y));
        return;
    }
    note("track-point", formatText("x=%d y=%d id=%d", x, y, tracker.objectId()));
    stepTracker(0);
}

void Pod::State::trackStop(const Parameters&) {
    releaseTrack();
    servo.hold();
    note("track-stop", "");
}

void Pod::State::trackTemplate(const Parameters& p) {
    constexpr int kSizes[] = {16, 32, 64, 128};
    if (p.byte(0) >= 1 && p.byte(0) <= 4) {
        s.template_width_px = s.template_height_px = kSizes[p.byte(0) - 1];
    } else {
        s.template_width_px = std::max(1, p.byte(2));
        s.template_height_px = std::max(1, p.byte(3));
    }
    note("track-template", formatText("%dx%d", s.template_width_px, s.template_height_px));
}

void Pod::State::trackStep(const Parameters& p) {
    const int direction = p.byte(0) == 0 ? -1 : 1;
    s.template_step += direction;
    const bool moved = tracker.stepAside(s, direction, s.template_width_px / 2.0);
    note("track-step", formatText("%s%s id=%d", direction < 0 ? "left" : "right", moved ? "" : " no-target",
                                  tracker.objectId()));
}

void Pod::State::trackById(const Parameters& p) {
    if (p.byte(0) == 0) {
        trackStop(p);
        return;
    }
    const bool found = s.tracker_on && tracker.lockId(s, p.byte(1));
    geo_keep = geo_keep && !found;
    place_held = place_held && !found;
    note("track-by-id", formatText("id=%d%s", p.byte(1), found ? "" : " not-in-picture"));
    if (found) {
        stepTracker(0);
    }
}

void Pod::State::autoTrack(const Parameters& p) {
    s.auto_track = p.byte(0) != 0;
    auto_wait_s = 0;
    note("auto-track", s.auto_track ? "on" : "off");
}

void Pod::State::aiBox(const Parameters& p) {
    s.ai_box = p.byte(0) != 0;
    note("detection-boxes", s.ai_box ? "on" : "off");
}

void Pod::State::aiMode(const Parameters& p) {
    // 255 stands for "none chosen" and leaves the value.
    if (p.byte(0) <= 1) {
        s.ai_source = p.byte(0);
    }
    if (p.byte(1) <= 2) {
        s.ai_method = p.byte(1);
    }
    note("detection-mode",
         formatText("source=%s method=%d", s.ai_source == 0 ? "infrared" : "visible", s.ai_method));
}

void Pod::State::aiRoi(const Parameters& p) {
    s.ai_roi_x_px = p.word(0);
    s.ai_roi_y_px = p.word(2);
    note("detection-region", formatText("x=%d y=%d", s.ai_roi_x_px, s.ai_roi_y_px));
}

void Pod::State::locateMode(const Parameters& p) {
    s.locate_mode = p.byte(0);
    note("locate-mode", s.locate_mode == 0 ? "guide" : "track");
}

}  // namespace podsim
