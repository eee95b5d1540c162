// Where the aircraft flies when nobody tells it where it is: closed functions of time.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace podsim {

struct FlightState;

enum class FlightPlan {
    kCircle,     // around the village, clockwise
    kRacetrack,  // two legs east and west of 600 m, joined by half circles
};

// Place, attitude and speeds of a plan at a time; latitude, longitude and `external` are left as they are.
void flyPlan(FlightPlan plan, double time_s, FlightState& state);

// A flight recorded elsewhere, flown over and over.
class RecordedRoute {
public:
    struct Point {
        double time_s = 0;
        double longitude_deg = 0, latitude_deg = 0, altitude_m = 0;  // above sea level
        double heading_deg = 0, pitch_deg = 0, roll_deg = 0;
    };

    // Text, a point a line, fields separated by commas; empty lines and what follows a # are left out.
    // Without a line of column names the fields are longitude, latitude, altitude and perhaps heading, flown
    // at 12 m/s and back to the first point. A line of column names may name time, longitude, latitude,
    // altitude, heading, pitch and roll in any order; where there is no heading, it is the course. False with
    // "line N: reason"; the route is then empty.
    bool parse(const std::string& text, std::string& error);

    bool empty() const { return m_points.empty(); }
    const std::vector<Point>& points() const { return m_points; }
    // From the first point until the route begins anew, seconds.
    double duration() const { return m_duration_s; }
    // Where it is at a time; altitude, attitude and position stand between those of two points.
    Point at(double time_s) const;

private:
    struct Columns {
        int of_field[8];
        std::size_t count = 0;
        bool time = false, heading = false;
    };

    bool readLine(const std::string& line, Columns& columns, std::string& error);
    bool readNames(const std::vector<std::string>& fields, Columns& columns, std::string& error);
    bool readPoint(const std::vector<std::string>& fields, const Columns& columns, std::string& error);
    void setTimes();
    void setHeadings(bool closed);

    std::vector<Point> m_points;
    double m_duration_s = 0;
};

}  // namespace podsim
