// The flight of the aircraft that carries the pod: a plan with the small motions of a real flight, a recorded
// route, or the position and attitude that the station tells.
#pragma once

#include "simulator/world/flight_plan.h"

namespace podsim {

// Position, attitude and time of the carrier as told by the station.
struct NavInput {
    double pitch_deg = 0, roll_deg = 0, heading_deg = 0;
    double latitude_deg = 0, longitude_deg = 0;  // both 0: no position, the own flight goes on
    double altitude_m = 0;                       // above sea level
    double north_speed_mps = 0, east_speed_mps = 0, ground_speed_mps = 0;
    int satellites = 0;
    int year = 0, month = 0, day = 0;  // full year; month 0: no time
    int hour = 0, minute = 0, second = 0, hundredths = 0;
};

struct FlightState {
    double east_m = 0, north_m = 0, height_m = 0;  // in the landscape
    double latitude_deg = 0, longitude_deg = 0;
    double heading_deg = 0, heading_rate_dps = 0, pitch_deg = 0, roll_deg = 0;  // heading 0..360
    double ground_speed_mps = 0, vertical_speed_mps = 0;
    bool external = false;
};

class Flight {
public:
    // The landscape's origin on earth. A route that is not empty takes the plan's place.
    Flight(double latitude_deg, double longitude_deg, FlightPlan plan = FlightPlan::kCircle,
           RecordedRoute route = {});

    void setNav(const NavInput& nav);
    void step(double dt_s);
    const FlightState& state() const { return m_state; }

    // Position in the landscape of a place on earth, and back; metres east and north of the origin.
    void toLocal(double latitude_deg, double longitude_deg, double& east_m, double& north_m) const;
    void toEarth(double east_m, double north_m, double& latitude_deg, double& longitude_deg) const;

private:
    void flyByItself();
    void flyRoute();
    void follow(double dt_s);

    double m_latitudeDeg, m_longitudeDeg;  // of the origin
    FlightPlan m_plan;
    RecordedRoute m_route;
    double m_timeS = 0;
    double m_navAgeS = 1e9;
    NavInput m_nav;
    FlightState m_state;
};

}  // namespace podsim
