#include "simulator/pod/servo.h"

#include <algorithm>
#include <cmath>

#include "simulator/world/world.h"

namespace podsim {
namespace {

constexpr double kMaxSpeed = 60;   // degrees per second
constexpr double kMaxAccel = 160;  // degrees per second squared
constexpr double kArrived = 0.05;  // degrees

}  // namespace

void Servo::Axis::drive(double wanted_dps, double dt_s, double low, double high) {
    wanted = wanted_dps;
    const double change = kMaxAccel * dt_s;
    speed += std::clamp(std::clamp(wanted, -kMaxSpeed, kMaxSpeed) - speed, -change, change);
    angle += speed * dt_s;
    if (angle <= low || angle >= high) {
        angle = std::clamp(angle, low, high);
        speed = 0;
    }
}

void Servo::Axis::stop() { speed = 0; }

// What the aircraft's own attitude adds to the elevation of a frame angle.
double Servo::offset(const FlightState& f) const {
    return f.pitch_deg * std::cos(m_az.angle * kDeg) - f.roll_deg * std::sin(m_az.angle * kDeg);
}

double Servo::framePitch(const FlightState& f) const { return m_el.angle - offset(f); }

double Servo::frameRoll(const FlightState& f) const {
    return -(f.roll_deg * std::cos(m_az.angle * kDeg) + f.pitch_deg * std::sin(m_az.angle * kDeg));
}

double Servo::earthYaw(const FlightState& f) const { return std::remainder(f.heading_deg + m_az.angle, 360); }

void Servo::become(ServoState state) {
    m_state = state;
    m_rateAz = m_rateEl = 0;
    m_feedAz = m_feedEl = 0;
    // What follows a movement of another kind is none of the hand's until the next rate.
    m_inHand = m_inHand && (state == ServoState::kManual || state == ServoState::kGyroManualDrift);
    if (state != ServoState::kAttitudeGuide) {
        m_guidanceFeedback = 0;
    }
}

void Servo::rate(double az_dps, double el_dps) {
    if (m_state != ServoState::kManual) {
        become(ServoState::kManual);
    }
    m_rateAz = az_dps;
    m_rateEl = el_dps;
    m_inHand = true;
}

void Servo::gyroRate(double az_dps, double el_dps, double hold_s) {
    become(ServoState::kGyroManualDrift);
    m_rateAz = az_dps;
    m_rateEl = el_dps;
    m_inHand = true;
    m_timerS = hold_s;
}

void Servo::calibrate(double duration_s) {
    become(ServoState::kGyroAutoDrift);
    m_timerS = duration_s;
}

void Servo::off() {
    become(ServoState::kOff);
    m_az.stop();
    m_el.stop();
}

void Servo::goTo(double az_deg, double el_deg, ServoState state) {
    become(state);
    m_targetAz = std::clamp(std::remainder(az_deg, 360), -kAzimuthStop, kAzimuthStop);
    m_targetEl = std::clamp(el_deg, kElevationLow, kElevationHigh);
    m_earth = false;
}

void Servo::goToAttitude(double yaw_deg, double el_deg, ServoState state) {
    become(state);
    m_targetAz = yaw_deg;
    m_targetEl = std::clamp(el_deg, kElevationLow, kElevationHigh);
    m_earth = true;
    if (state == ServoState::kAttitudeGuide) {
        m_guidanceFeedback = 18;
    }
}

void Servo::headingLock(const FlightState& f) {
    const double yaw = earthYaw(f), el = m_el.angle;
    goToAttitude(yaw, el, ServoState::kHeadingLock);
}

void Servo::headingFollow() { become(ServoState::kHeadingFollow); }

void Servo::scan(const ScanAxis& az, const ScanAxis& el) {
    become(ServoState::kScan);
    m_scanAz = {az, az.speed_dps >= 0};
    m_scanEl = {el, el.speed_dps >= 0};
}

void Servo::follow(double yaw_deg, double el_deg, double yaw_rate_dps, double el_rate_dps) {
    if (m_state != ServoState::kTracking) {
        become(ServoState::kTracking);
    }
    m_targetAz = yaw_deg;
    m_targetEl = el_deg;
    m_feedAz = yaw_rate_dps;
    m_feedEl = el_rate_dps;
    m_earth = true;
}

void Servo::hold() { become(ServoState::kManual); }

// Speed towards a target: proportional when near, and never more than can be braked in time.
double Servo::approach(double error_deg, double feed_dps) const {
    const double gain = m_state == ServoState::kTracking ? 1.6 : 4.0;
    const double brake = std::sqrt(2 * 0.7 * kMaxAccel * std::fabs(error_deg));
    return feed_dps + std::clamp(gain * error_deg, -brake, brake);
}

double Servo::scanSpeed(ScanPhase& phase, double angle) const {
    const double low = phase.set.centre_deg - phase.set.range_deg / 2;
    const double high = phase.set.centre_deg + phase.set.range_deg / 2;
    if (phase.set.locked || phase.set.range_deg <= 0) {
        return approach(phase.set.centre_deg - angle, 0);
    }
    if (angle > high) {
        phase.forward = false;
    } else if (angle < low) {
        phase.forward = true;
    }
    const double speed = std::max(0.5, std::fabs(phase.set.speed_dps));
    const double outside = angle > high ? angle - high : angle < low ? low - angle : 0;
    const double quick = std::max(speed, std::fabs(approach(outside, 0)));
    return phase.forward ? quick : -quick;
}

void Servo::step(double dt_s, const FlightState& flight) {
    double az_wanted = m_rateAz, el_wanted = m_rateEl;
    const double shift = offset(flight);
    switch (m_state) {
        case ServoState::kGyroManualDrift:
        case ServoState::kGyroAutoDrift:
            m_timerS -= dt_s;
            if (m_timerS <= 0) {
                hold();
            }
            break;
        case ServoState::kScan:
            az_wanted = scanSpeed(m_scanAz, m_az.angle);
            el_wanted = scanSpeed(m_scanEl, m_el.angle - shift);
            break;
        case ServoState::kStowed:
        case ServoState::kDigitalGuide:
        case ServoState::kHeadingLock:
        case ServoState::kTracking:
        case ServoState::kLookDown:
        case ServoState::kCentring:
        case ServoState::kAttitudeGuide: {
            double az_error = m_targetAz - m_az.angle;
            double az_feed = m_feedAz;
            if (m_earth) {
                const double relative = std::remainder(m_targetAz - flight.heading_deg, 360);
                az_error = std::clamp(relative, -kAzimuthStop, kAzimuthStop) - m_az.angle;
                az_feed -= flight.heading_rate_dps;
            }
            const bool frame_el = !m_earth && m_state != ServoState::kLookDown;
            const double el_error = m_targetEl + (frame_el ? shift : 0) - m_el.angle;
            az_wanted = approach(az_error, az_feed);
            el_wanted = approach(el_error, m_feedEl);
            if (m_guidanceFeedback == 18 && std::fabs(az_error) < kArrived &&
                std::fabs(el_error) < kArrived) {
                m_guidanceFeedback = 19;
            }
            break;
        }
        case ServoState::kOff:
            // Without its motors the pod swings with the aircraft and sags.
            m_el.angle = std::max(m_el.angle - 1.5 * dt_s, -60.0 + shift);
            return;
        default:
            break;
    }
    m_az.drive(az_wanted, dt_s, -kAzimuthStop, kAzimuthStop);
    m_el.drive(el_wanted, dt_s, kElevationLow + shift, kElevationHigh + shift);
}

}  // namespace podsim
