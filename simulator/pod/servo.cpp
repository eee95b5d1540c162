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

void Servo::Axis::drive(double wanted, double dt_s, double low, double high) {
    const double change = kMaxAccel * dt_s;
    speed += std::clamp(std::clamp(wanted, -kMaxSpeed, kMaxSpeed) - speed, -change, change);
    angle += speed * dt_s;
    if (angle <= low || angle >= high) {
        angle = std::clamp(angle, low, high);
        speed = 0;
    }
}

void Servo::Axis::stop() {
    speed = 0;
}

// What the aircraft's own attitude adds to the elevation of a frame angle.
double Servo::offset(const FlightState& f) const {
    return f.pitch_deg * std::cos(az_.angle * kDeg) - f.roll_deg * std::sin(az_.angle * kDeg);
}

double Servo::framePitch(const FlightState& f) const {
    return el_.angle - offset(f);
}

double Servo::frameRoll(const FlightState& f) const {
    return -(f.roll_deg * std::cos(az_.angle * kDeg) + f.pitch_deg * std::sin(az_.angle * kDeg));
}

double Servo::earthYaw(const FlightState& f) const {
    return std::remainder(f.heading_deg + az_.angle, 360);
}

void Servo::become(ServoState state) {
    state_ = state;
    rate_az_ = rate_el_ = 0;
    feed_az_ = feed_el_ = 0;
    if (state != ServoState::AttitudeGuide) guidance_feedback_ = 0;
}

void Servo::rate(double az_dps, double el_dps) {
    if (state_ != ServoState::Manual) become(ServoState::Manual);
    rate_az_ = az_dps;
    rate_el_ = el_dps;
}

void Servo::gyroRate(double az_dps, double el_dps, double hold_s) {
    become(ServoState::GyroManualDrift);
    rate_az_ = az_dps;
    rate_el_ = el_dps;
    timer_s_ = hold_s;
}

void Servo::calibrate(double duration_s) {
    become(ServoState::GyroAutoDrift);
    timer_s_ = duration_s;
}

void Servo::off() {
    become(ServoState::Off);
    az_.stop();
    el_.stop();
}

void Servo::goTo(double az_deg, double el_deg, ServoState state) {
    become(state);
    target_az_ = std::clamp(std::remainder(az_deg, 360), -kAzimuthStop, kAzimuthStop);
    target_el_ = std::clamp(el_deg, kElevationLow, kElevationHigh);
    earth_ = false;
}

void Servo::goToAttitude(double yaw_deg, double el_deg, ServoState state) {
    become(state);
    target_az_ = yaw_deg;
    target_el_ = std::clamp(el_deg, kElevationLow, kElevationHigh);
    earth_ = true;
    if (state == ServoState::AttitudeGuide) guidance_feedback_ = 18;
}

void Servo::headingLock(const FlightState& f) {
    const double yaw = earthYaw(f), el = el_.angle;
    goToAttitude(yaw, el, ServoState::HeadingLock);
}

void Servo::headingFollow() {
    become(ServoState::HeadingFollow);
}

void Servo::scan(const ScanAxis& az, const ScanAxis& el) {
    become(ServoState::Scan);
    scan_az_ = {az, az.speed_dps >= 0};
    scan_el_ = {el, el.speed_dps >= 0};
}

void Servo::follow(double yaw_deg, double el_deg, double yaw_rate_dps, double el_rate_dps) {
    if (state_ != ServoState::Tracking) become(ServoState::Tracking);
    target_az_ = yaw_deg;
    target_el_ = el_deg;
    feed_az_ = yaw_rate_dps;
    feed_el_ = el_rate_dps;
    earth_ = true;
}

void Servo::hold() {
    become(ServoState::Manual);
}

// Speed towards a target: proportional when near, and never more than can be braked in time.
double Servo::approach(double error_deg, double feed_dps) const {
    const double gain = state_ == ServoState::Tracking ? 1.6 : 4.0;
    const double brake = std::sqrt(2 * 0.7 * kMaxAccel * std::fabs(error_deg));
    return feed_dps + std::clamp(gain * error_deg, -brake, brake);
}

double Servo::scanSpeed(ScanPhase& phase, double angle) const {
    const double low = phase.set.centre_deg - phase.set.range_deg / 2;
    const double high = phase.set.centre_deg + phase.set.range_deg / 2;
    if (phase.set.locked || phase.set.range_deg <= 0) return approach(phase.set.centre_deg - angle, 0);
    if (angle > high)
        phase.forward = false;
    else if (angle < low)
        phase.forward = true;
    const double speed = std::max(0.5, std::fabs(phase.set.speed_dps));
    const double outside = angle > high ? angle - high : angle < low ? low - angle : 0;
    const double quick = std::max(speed, std::fabs(approach(outside, 0)));
    return phase.forward ? quick : -quick;
}

void Servo::step(double dt_s, const FlightState& flight) {
    double az_wanted = rate_az_, el_wanted = rate_el_;
    const double shift = offset(flight);
    switch (state_) {
        case ServoState::GyroManualDrift:
        case ServoState::GyroAutoDrift:
            timer_s_ -= dt_s;
            if (timer_s_ <= 0) hold();
            break;
        case ServoState::Scan:
            az_wanted = scanSpeed(scan_az_, az_.angle);
            el_wanted = scanSpeed(scan_el_, el_.angle - shift);
            break;
        case ServoState::Stowed:
        case ServoState::DigitalGuide:
        case ServoState::HeadingLock:
        case ServoState::Tracking:
        case ServoState::LookDown:
        case ServoState::Centring:
        case ServoState::AttitudeGuide: {
            double az_error = target_az_ - az_.angle;
            double az_feed = feed_az_;
            if (earth_) {
                const double relative = std::remainder(target_az_ - flight.heading_deg, 360);
                az_error = std::clamp(relative, -kAzimuthStop, kAzimuthStop) - az_.angle;
                az_feed -= flight.heading_rate_dps;
            }
            const bool frame_el = !earth_ && state_ != ServoState::LookDown;
            const double el_error = target_el_ + (frame_el ? shift : 0) - el_.angle;
            az_wanted = approach(az_error, az_feed);
            el_wanted = approach(el_error, feed_el_);
            if (guidance_feedback_ == 18 && std::fabs(az_error) < kArrived && std::fabs(el_error) < kArrived)
                guidance_feedback_ = 19;
            break;
        }
        case ServoState::Off:
            // Without its motors the pod swings with the aircraft and sags.
            el_.angle = std::max(el_.angle - 1.5 * dt_s, -60.0 + shift);
            return;
        default:
            break;
    }
    az_.drive(az_wanted, dt_s, -kAzimuthStop, kAzimuthStop);
    el_.drive(el_wanted, dt_s, kElevationLow + shift, kElevationHigh + shift);
}

}  // namespace podsim
