// The two driven axes of the pod. Azimuth is the frame's, relative to the aircraft, within its end stops;
// elevation is held against the horizon, its stops are those of the frame.
#pragma once

#include "simulator/pod/snapshot.h"
#include "simulator/world/flight.h"

namespace podsim {

constexpr double kAzimuthStop = 170;  // degrees to either side
constexpr double kElevationLow = -95, kElevationHigh = 30;

struct ScanAxis {
    double centre_deg = 0, range_deg = 60;  // whole range, half to either side
    double speed_dps = 6;                   // negative: begins to the left or downward
    bool locked = false;                    // stays at the centre
};

class Servo {
public:
    ServoState state() const { return m_state; }
    double azimuth() const { return m_az.angle; }
    double elevation() const { return m_el.angle; }
    double azimuthRate() const { return m_az.speed; }
    double elevationRate() const { return m_el.speed; }
    double framePitch(const FlightState& flight) const;
    double frameRoll(const FlightState& flight) const;
    double earthYaw(const FlightState& flight) const;  // -180..180
    int guidanceFeedback() const { return m_guidanceFeedback; }
    bool movingByRate() const { return m_state == ServoState::kManual && (m_rateAz != 0 || m_rateEl != 0); }
    // Moving by rates, or coming to rest after them.
    bool inHand() const { return m_inHand; }
    // The rates commanded, 0 once another movement has taken their place.
    double commandedAzimuth() const { return m_rateAz; }
    double commandedElevation() const { return m_rateEl; }
    // What each axis was asked for in the last step, end stop or not.
    double wantedAzimuth() const { return m_az.wanted; }
    double wantedElevation() const { return m_el.wanted; }

    // Degrees per second; 0, 0 stops.
    void rate(double az_dps, double el_dps);
    // A slow motion of the gyro mode that ends by itself after hold_s seconds.
    void gyroRate(double az_dps, double el_dps, double hold_s);
    void calibrate(double duration_s);
    void off();
    // To frame angles, then stay.
    void goTo(double az_deg, double el_deg, ServoState state);
    // To an earth azimuth and an elevation; keeps pointing there.
    void goToAttitude(double yaw_deg, double el_deg, ServoState state);
    void headingLock(const FlightState& flight);
    void headingFollow();
    void scan(const ScanAxis& az, const ScanAxis& el);
    // Keeps the line of sight on a direction that moves; called each step while tracking.
    void follow(double yaw_deg, double el_deg, double yaw_rate_dps, double el_rate_dps);
    // Ends tracking or a guide: manual, standing.
    void hold();

    void step(double dt_s, const FlightState& flight);

private:
    struct Axis {
        double angle = 0, speed = 0, wanted = 0;
        // Brings the speed to wanted within the acceleration limit and moves.
        void drive(double wanted_dps, double dt_s, double low, double high);
        void stop();
    };
    struct ScanPhase {
        ScanAxis set;
        bool forward = true;
    };
    double offset(const FlightState& flight) const;
    double approach(double error_deg, double feed_dps) const;
    double scanSpeed(ScanPhase& phase, double angle) const;
    void become(ServoState state);

    Axis m_az{90, 0, 0}, m_el{-33.7, 0, 0};
    ServoState m_state = ServoState::kStandby;
    double m_rateAz = 0, m_rateEl = 0;
    bool m_inHand = false;
    double m_timerS = 0;
    double m_targetAz = 0, m_targetEl = 0;  // frame angles, or earth angles when m_earth
    double m_feedAz = 0, m_feedEl = 0;
    bool m_earth = false;
    int m_guidanceFeedback = 0;
    ScanPhase m_scanAz, m_scanEl;
};

}  // namespace podsim
