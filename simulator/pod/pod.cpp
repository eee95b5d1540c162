#include "simulator/pod/pod.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "simulator/pod/pod_state.h"
#include "simulator/pod/text.h"
#include "simulator/pod/views.h"

namespace podsim {
namespace {

constexpr double kNoticeS = 3;
constexpr double kVisibleSensorMm = 5.6, kInfraredSensorMm = 7.68;  // widths
constexpr double kVisibleWideMm = 4.8, kVisibleLongMm = 144;
constexpr double kInfraredWideMm = 14, kInfraredLongMm = 70;
constexpr double kVisibleStartMm = 10;
constexpr std::uint16_t kVisibleLensCode = 0x45, kInfraredLensCode = 0x50;
constexpr std::uint16_t kRateCode = 0x70, kGyroRateCode = 0x76;
constexpr std::uint16_t kGeoGuideCode = 27, kGeoTrackCode = 28;
constexpr std::uint16_t kNavBlock = 1026;
constexpr double kTeleFactor = 4;  // focal length of the tele camera against the wide one

double fovOf(double sensor_mm, double focal_mm) { return 2 * std::atan(sensor_mm / 2 / focal_mm) / kDeg; }

const char* servoWord(ServoState state) {
    constexpr const char* kWords[] = {"standby",
                                      "off",
                                      "manual",
                                      "stowed",
                                      "digital-guide",
                                      "heading-lock",
                                      "scan",
                                      "tracking",
                                      "look-down",
                                      "gyro-auto-drift",
                                      "gyro-temperature-drift",
                                      "heading-follow",
                                      "centring",
                                      "gyro-manual-drift",
                                      "attitude-guide"};
    return kWords[static_cast<std::size_t>(state)];
}

const char* trackWord(TrackState state) {
    constexpr const char* kWords[] = {"idle", "stable", "coasting", "lost", "capturing"};
    return kWords[static_cast<std::size_t>(state)];
}

}  // namespace

void Lens::step(double dt_s) {
    zoom = std::clamp(zoom * std::exp(zoom_direction * speed * dt_s), widest, longest);
    focus_offset = std::clamp(focus_offset + focus_direction * 0.4 * dt_s, -1.0, 1.0);
    if (auto_focus) {
        const double change = std::min(std::fabs(focus_offset), 1.2 * dt_s);
        focus_offset -= focus_offset > 0 ? change : -change;
        auto_focus = focus_offset != 0;
    }
    focus = 1 - std::fabs(focus_offset);
}

Pod::State::State(const PodConfig& c)
    : config(c), flight(c.latitude_deg, c.longitude_deg, c.plan, c.route), random(c.seed * 2654435761U | 1U) {
    visible.longest = kVisibleLongMm / kVisibleWideMm;
    visible.zoom = kVisibleStartMm / kVisibleWideMm;
    infrared.longest = kInfraredLongMm / kInfraredWideMm;
    scan_el.centre_deg = -30;
    scan_el.range_deg = 20;
    scan_el.locked = true;
    s.frame_width = c.frame_width;
    s.frame_height = c.frame_height;
    s.aircraft_number = 27;
    s.tf_capacity_gb = 64;
    s.battery_percent = 94;
    s.driver_temperature_c = 36;
    s.temperature_alarm_c = 80;
    refresh();
}

double Pod::State::noise() {
    random ^= random << 13;
    random ^= random >> 17;
    random ^= random << 5;
    return (random >> 8) / 8388608.0 - 1.0;
}

void Pod::State::note(const std::string& name, const std::string& detail) {
    notes.emplace_back(name, detail);
    s.notice = name + (detail.empty() ? "" : " " + detail);
    std::replace(s.notice.begin(), s.notice.end(), '-', ' ');
    notice_s = kNoticeS;
}

std::vector<std::pair<std::string, std::string>> Pod::State::takeNotes() { return std::exchange(notes, {}); }

bool Pod::State::movesByHand(std::uint16_t code, const Parameters& p) const {
    const int action = p.byte(0);
    switch (code) {
        case kRateCode:
            return p.word(0) != 0 || p.word(2) != 0;
        case kVisibleLensCode:
            return action >= 1 && action <= 4;
        case kInfraredLensCode:
            return action == 1 || action == 2 || action == 15 || action == 16;
        case kGyroRateCode:
            return action > 1 && (p.byte(1) != 0 || p.byte(2) != 0);
        case kGeoGuideCode:
        case kGeoTrackCode:
            return config.places_held;
        default:
            return false;
    }
}

void Pod::State::count(std::uint16_t code, const Parameters& p, bool rate) {
    if (code != kNavBlock) {
        ++s.frames;
        s.commands += code != 0 || rate ? 1 : 0;
        s.movements += rate || movesByHand(code, p) ? 1 : 0;
    }
}

void Pod::State::applyHeld(const Command* command, bool rate_code, int rate_az, int rate_el) {
    const bool rate = rate_code && (rate_az != 0 || rate_el != 0);
    if (rate) {
        s.command_feedback = static_cast<std::uint8_t>(kRateCode);
    }
    if (place_held && (!command || command->kind != Kind::kPlace)) {
        leaveHeldPlace();
    }
    if (config.latched) {
        if (rate_code) {
            setRate(rate_az, rate_el);
        }
        return;
    }
    if (!command || command->kind != Kind::kLensHold) {
        visible.halt();
        infrared.halt();
    }
    if (rate || rate_active) {
        // Among the periodic frames the rate stands beside the command; its absence is a stop as well.
        setRate(rate ? rate_az : 0, rate ? rate_el : 0);
        rate_active = rate;
    }
}

void Pod::State::apply(std::uint16_t code, const Parameters& p, bool periodic, int rate_code, int rate_az,
                       int rate_el) {
    std::uint8_t parameters[sizeof last_parameters] = {};
    std::memcpy(parameters, p.data, std::min(p.size, sizeof parameters));
    bool same =
        periodic && code == last_code && std::memcmp(parameters, last_parameters, sizeof parameters) == 0;
    const bool rate = periodic && rate_code == kRateCode;
    const Command* command = find(code);
    count(code, p, rate && (rate_az != 0 || rate_el != 0));
    if (periodic) {
        s.standing_code = code != 0 || !rate || (rate_az == 0 && rate_el == 0) ? code : kRateCode;
        last_code = code;
        std::memcpy(last_parameters, parameters, sizeof parameters);
        applyHeld(command, rate, rate_az, rate_el);
        // A frame told before acts again where commands that came alone have changed what the lens does.
        const Lens& lens = code == kInfraredLensCode ? infrared : visible;
        const bool held = config.latched && command && command->kind == Kind::kLensHold;
        same = same && !(held && movesByHand(code, p) != lens.moving());
        refreshHand();
    }
    if (code == 0 || same) {
        return;
    }
    if (code != kNavBlock) {
        other_command_s = 0;
    }
    // The stream of positions must not hide the answer to what the operator did.
    if (code != kNavBlock || other_command_s > 2) {
        s.command_feedback = static_cast<std::uint8_t>(code & 0xFF);
    }
    if (command) {
        (this->*command->handler)(p);
        place_held = place_held || (config.places_held && periodic && command->kind == Kind::kPlace);
    } else {
        note("unknown-command", formatText("code=%d", code));
    }
    refresh();
}

void Pod::State::step(double dt_s) {
    const ServoState servo_before = servo.state();
    const TrackState track_before = tracker.state();
    s.time_s += dt_s;
    other_command_s += dt_s;
    const FlightState before = flight.state();
    flight.step(dt_s);
    const FlightState& f = flight.state();
    if (dt_s > 0) {
        velocity = {(f.east_m - before.east_m) / dt_s, (f.north_m - before.north_m) / dt_s,
                    f.vertical_speed_mps};
    }
    visible.step(dt_s);
    infrared.step(dt_s);
    upgrade.step(dt_s);
    stepTracker(dt_s);
    servo.step(dt_s, f);
    resumeHeldRate();
    auto countDown = [dt_s](double& timer) { timer = std::max(0.0, timer - dt_s); };
    for (double* timer : {&notice_s, &nuc_s, &snapshot_s, &boot_s}) {
        countDown(*timer);
    }
    if (notice_s == 0) {
        s.notice.clear();
    }
    stepStorage(dt_s);
    refresh();
    stepLaser(dt_s);
    stepHealth(dt_s);
    if (servo.state() != servo_before) {
        notes.emplace_back("servo-state", servoWord(servo.state()));
    }
    if (tracker.state() != track_before) {
        notes.emplace_back("track-state",
                           formatText("%s id=%d", trackWord(tracker.state()), tracker.objectId()));
    }
}

void Pod::State::stepTracker(double dt_s) {
    if (s.auto_track && s.tracker_on && tracker.state() == TrackState::kIdle) {
        auto_wait_s -= dt_s;
        if (auto_wait_s <= 0) {
            auto_wait_s = 1;
            if (tracker.lockAt(s, 0, 0, s.frame_width / 2.0) && tracker.objectId() == 0) {
                tracker.stop();  // nothing that moves is near
            }
        }
    }
    const FlightState& f = flight.state();
    const Vec3 place = {f.east_m, f.north_m, f.height_m};
    auto follow = [this](const Sight& t) {
        servo.follow(t.yaw_deg, t.el_deg, t.yaw_rate_dps, t.el_rate_dps);
    };
    if (tracker.state() == TrackState::kIdle) {
        if (geo_keep) {
            follow(sightOf(geo_point - place, velocity * -1));
        } else if (servo.state() == ServoState::kTracking) {
            servo.hold();
        }
        return;
    }
    const Sight before = tracker.sight(place, velocity);
    const double relative = std::remainder(before.yaw_deg - f.heading_deg, 360);
    tracker.step(dt_s, place, s.time_s, std::fabs(relative) < kAzimuthStop && before.el_deg < kElevationHigh);
    if (tracker.state() == TrackState::kIdle) {
        servo.hold();
    } else {
        follow(tracker.sight(place, velocity));
    }
}

void Pod::State::firePulse() {
    laser_flash_s = 0.3;
    constexpr double kReach = 5000;
    s.laser_range_m = s.slant_m > 0 && s.slant_m < kReach ? s.slant_m + 0.4 * noise() : 0;
}

void Pod::State::stepLaser(double dt_s) {
    laser_flash_s = std::max(0.0, laser_flash_s - dt_s);
    if (s.laser_continuous && s.laser_on) {
        laser_wait_s -= dt_s;
        if (laser_wait_s <= 0) {
            laser_wait_s = s.laser_period_s;
            firePulse();
        }
    }
    s.laser_firing = laser_flash_s > 0;
}

void Pod::State::stepStorage(double dt_s) {
    if (s.recording) {
        s.record_s += dt_s;
        storage_used_percent += dt_s / 12;
        if (storage_used_percent >= 100) {
            s.recording = false;
            note("record", "off storage=full");
        }
    }
    storage_used_percent = std::min(storage_used_percent, 100.0);
    s.tf_free_percent = static_cast<int>(std::lround(100 - storage_used_percent));
    s.snapshotting = snapshot_s > 0;
}

void Pod::State::stepHealth(double dt_s) {
    const double t = s.time_s;
    s.driver_temperature_c = 36 + 9 * (1 - std::exp(-t / 240)) + 0.6 * std::sin(t * 0.05) + 0.05 * noise();
    s.centre_temperature_c = 24 + 6 * std::sin(0.11 * t) + (tracker.objectId() != 0 ? 22 : 0) + 0.1 * noise();
    s.max_temperature_c = 71 + 4 * std::sin(0.07 * t + 1) + 0.1 * noise();
    s.over_temperature = s.temperature_alarm_on && s.max_temperature_c >= s.temperature_alarm_c;
    s.battery_percent = std::max(5.0, s.battery_percent - dt_s / 40);
    s.endurance_min = s.battery_percent * 0.9;
    s.flown_min = 12 + t / 60;
}

void Pod::State::refresh() {
    const FlightState& f = flight.state();
    s.latitude_deg = f.latitude_deg;
    s.longitude_deg = f.longitude_deg;
    s.height_m = f.height_m;
    s.altitude_m = f.height_m + kGroundAltitude;
    s.heading_deg = f.heading_deg;
    s.pitch_deg = f.pitch_deg;
    s.roll_deg = f.roll_deg;
    s.ground_speed_mps = f.ground_speed_mps;
    s.vertical_speed_mps = f.vertical_speed_mps;
    s.satellites = 17;
    s.nav_external = f.external;
    s.east_m = f.east_m;
    s.north_m = f.north_m;
    s.utc_ms = config.start_utc_ms + static_cast<std::int64_t>(s.time_s * 1000 + clock_offset_ms);
    s.servo_state = servo.state();
    s.frame_yaw_deg = servo.azimuth();
    s.frame_pitch_deg = servo.framePitch(f);
    s.frame_roll_deg = servo.frameRoll(f);
    s.attitude_yaw_deg = servo.earthYaw(f);
    s.attitude_pitch_deg = servo.elevation();
    s.attitude_roll_deg = 0;
    if (!s.stabilisation) {
        // What the aircraft shakes the line of sight by.
        s.attitude_yaw_deg += 0.06 * std::sin(41 * s.time_s);
        s.attitude_pitch_deg += 0.08 * std::sin(53 * s.time_s + 1);
    }
    s.rate_az_dps = servo.azimuthRate();
    s.rate_el_dps = servo.elevationRate();
    s.attitude_guidance_feedback = servo.guidanceFeedback();
    refreshHand();
    s.vl_zoom = visible.zoom;
    s.ir_zoom = infrared.zoom;
    s.vl_focus = visible.focus;
    s.ir_focus = infrared.focus;
    const bool tele = s.display_mode == DisplayMode::kVisibleTele;
    s.vl_focal_mm = visible.zoom * kVisibleWideMm * (tele ? kTeleFactor : 1);
    s.ir_focal_mm = infrared.zoom * kInfraredWideMm;
    s.vl_fov_deg = fovOf(kVisibleSensorMm, s.vl_focal_mm * (1 << s.vl_ezoom_index));
    s.tele_fov_deg = fovOf(kVisibleSensorMm, visible.zoom * kVisibleWideMm * kTeleFactor);
    s.ir_fov_deg = fovOf(kInfraredSensorMm, s.ir_focal_mm * s.ir_ezoom);
    s.nuc_s = nuc_s;
    s.module_bits = static_cast<std::uint8_t>(boot_s > 0 ? s.module_bits & 0x7F : s.module_bits | 0x80);
    refreshTarget();
    tracker.report(s);
}

// At its end stop an axis stands, and its rate runs on.
void Pod::State::refreshHand() {
    const bool in_hand = servo.inHand() || place_held;
    const auto speed = [in_hand](double actual, double commanded, double held) {
        constexpr double kStanding = 1e-3;
        if (in_hand && std::fabs(actual) > kStanding) {
            return actual;
        }
        return commanded != 0 ? commanded : held;
    };
    const double az = place_held ? servo.wantedAzimuth() : servo.commandedAzimuth();
    const double el = place_held ? servo.wantedElevation() : servo.commandedElevation();
    s.hand_az_dps = speed(servo.azimuthRate(), az, held_az_dps);
    s.hand_el_dps = speed(servo.elevationRate(), el, held_el_dps);
    s.vl_zoom_direction = visible.zoom_direction;
    s.ir_zoom_direction = infrared.zoom_direction;
    s.vl_focus_direction = visible.focus_direction;
    s.ir_focus_direction = infrared.focus_direction;
}

// Where the line of sight meets the ground.
void Pod::State::refreshTarget() {
    const Camera camera = cameraOf(s, {false, 0, 0, s.frame_width, s.frame_height, s.vl_fov_deg});
    Vec3 ground;
    s.slant_m = 0;
    s.target_valid = groundPoint(camera.position, camera.forward, ground);
    if (s.target_valid) {
        s.slant_m = length(ground - camera.position);
        flight.toEarth(ground.x, ground.y, s.centre_latitude_deg, s.centre_longitude_deg);
        s.centre_altitude_m = kGroundAltitude;
        s.target_latitude_deg = s.centre_latitude_deg;
        s.target_longitude_deg = s.centre_longitude_deg;
        s.target_altitude_m = s.centre_altitude_m;
    }
}

Pod::Pod(const PodConfig& config) : m_state(new State(config)) {}

Pod::~Pod() = default;

void Pod::setLog(Log log) {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->log = std::move(log);
}

void Pod::setFrameSize(int width, int height) {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->s.frame_width = width;
    m_state->s.frame_height = height;
    m_state->refresh();
}

void Pod::apply(std::uint16_t code, const std::uint8_t* payload, std::size_t n, int rate_code,
                std::int16_t rate_az, std::int16_t rate_el) {
    std::unique_lock<std::mutex> lock(m_state->mutex);
    static const std::uint8_t nothing[1] = {0};
    const Parameters p = {payload ? payload : nothing, payload ? n : 0};
    m_state->apply(code, p, rate_code >= 0, rate_code, rate_az, rate_el);
    const auto notes = m_state->takeNotes();
    const Log log = m_state->log;
    lock.unlock();
    for (const auto& [name, detail] : notes) {
        if (log) {
            log(name, detail);
        }
    }
}

void Pod::setNav(const NavInput& nav) {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->flight.setNav(nav);
}

void Pod::step(double dt_s) {
    std::unique_lock<std::mutex> lock(m_state->mutex);
    m_state->step(std::clamp(dt_s, 0.0, 1.0));
    const auto notes = m_state->takeNotes();
    const Log log = m_state->log;
    lock.unlock();
    for (const auto& [name, detail] : notes) {
        if (log) {
            log(name, detail);
        }
    }
}

Snapshot Pod::snapshot() const {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->s;
}

std::vector<Upgrade::Answer> Pod::takeUpgradeAnswers() {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->upgrade.takeAnswers();
}

void Pod::addUpgradeFault(const UpgradeFault& fault) {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->upgrade.addFault(fault);
}

std::vector<std::uint8_t> Pod::flashImage(int module) const {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->upgrade.flash(module);
}

std::string Pod::describeUpgrade() const {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->upgrade.describe();
}

}  // namespace podsim
