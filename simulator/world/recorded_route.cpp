#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <sstream>

#include "simulator/world/flight_plan.h"
#include "simulator/world/world.h"

namespace podsim {
namespace {

constexpr double kSpeed_mps = 12;  // of a route without times
constexpr double kMetresPerDegree = 111319.49;

// Columns by name; the order is that of Point, time first.
struct Column {
    const char* name;
    double RecordedRoute::Point::*field;
    double low, high;
};
constexpr Column kColumns[] = {
    {"time", &RecordedRoute::Point::time_s, 0, 1e7},
    {"longitude", &RecordedRoute::Point::longitude_deg, -180, 180},
    {"latitude", &RecordedRoute::Point::latitude_deg, -85, 85},
    {"altitude", &RecordedRoute::Point::altitude_m, -500, 9000},
    {"heading", &RecordedRoute::Point::heading_deg, -360, 360},
    {"pitch", &RecordedRoute::Point::pitch_deg, -90, 90},
    {"roll", &RecordedRoute::Point::roll_deg, -180, 180},
};
constexpr int kTime = 0, kLongitude = 1, kLatitude = 2, kAltitude = 3, kHeading = 4;

std::vector<std::string> fieldsOf(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream in(line.substr(0, line.find('#')));
    for (std::string field; std::getline(in, field, ',');) {
        const std::size_t first = field.find_first_not_of(" \t\r");
        const std::size_t last = field.find_last_not_of(" \t\r");
        fields.push_back(first == std::string::npos ? "" : field.substr(first, last - first + 1));
    }
    if (fields.size() == 1 && fields[0].empty()) {
        fields.clear();
    }
    return fields;
}

bool isNumber(const std::string& text) {
    char* end = nullptr;
    std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0';
}

double between(double a, double b, double share) { return a + (b - a) * share; }

double turnBetween(double a_deg, double b_deg, double share) {
    const double turned = a_deg + std::remainder(b_deg - a_deg, 360) * share;
    return turned - 360 * std::floor(turned / 360);
}

// Metres east and north from one point to another, on the plane that touches the earth between them.
void wayFrom(const RecordedRoute::Point& a, const RecordedRoute::Point& b, double& east_m, double& north_m) {
    const double shrink = std::cos((a.latitude_deg + b.latitude_deg) / 2 * kDeg);
    east_m = std::remainder(b.longitude_deg - a.longitude_deg, 360) * kMetresPerDegree * shrink;
    north_m = (b.latitude_deg - a.latitude_deg) * kMetresPerDegree;
}

double distance(const RecordedRoute::Point& a, const RecordedRoute::Point& b) {
    double east = 0, north = 0;
    wayFrom(a, b, east, north);
    return std::hypot(std::hypot(east, north), b.altitude_m - a.altitude_m);
}

}  // namespace

bool RecordedRoute::readNames(const std::vector<std::string>& fields, Columns& columns, std::string& error) {
    bool seen[std::size(kColumns)] = {};
    for (const std::string& name : fields) {
        const auto* found = std::find_if(std::begin(kColumns), std::end(kColumns),
                                         [&](const Column& c) { return name == c.name; });
        const auto index = static_cast<int>(found - kColumns);
        if (found == std::end(kColumns) || seen[index]) {
            error = found == std::end(kColumns) ? "no column is called '" + name + "'"
                                                : "the column '" + name + "' comes twice";
            return false;
        }
        seen[index] = true;
        columns.of_field[columns.count++] = index;
    }
    for (const int needed : {kLongitude, kLatitude, kAltitude}) {
        if (!seen[needed]) {
            error = std::string("the column '") + kColumns[needed].name + "' is missing";
            return false;
        }
    }
    columns.time = seen[kTime];
    columns.heading = seen[kHeading];
    return true;
}

bool RecordedRoute::readPoint(const std::vector<std::string>& fields, const Columns& columns,
                              std::string& error) {
    if (fields.size() != columns.count) {
        error = std::to_string(fields.size()) + " fields where " + std::to_string(columns.count) + " belong";
        return false;
    }
    Point point;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const Column& column = kColumns[columns.of_field[i]];
        const double value = std::strtod(fields[i].c_str(), nullptr);
        if (!isNumber(fields[i]) || !(value >= column.low && value <= column.high)) {
            error = std::string(column.name) + " '" + fields[i] + "' is no number between " +
                    std::to_string(std::lround(column.low)) + " and " +
                    std::to_string(std::lround(column.high));
            return false;
        }
        point.*column.field = value;
    }
    if (columns.time && !m_points.empty() && point.time_s <= m_points.back().time_s) {
        error = "time does not go on";
        return false;
    }
    m_points.push_back(point);
    return true;
}

bool RecordedRoute::readLine(const std::string& line, Columns& columns, std::string& error) {
    const std::vector<std::string> fields = fieldsOf(line);
    if (fields.empty()) {
        return true;
    }
    if (columns.count > 0) {
        return readPoint(fields, columns, error);
    }
    if (!isNumber(fields[0])) {
        return readNames(fields, columns, error);
    }
    if (fields.size() != 3 && fields.size() != 4) {
        error = "longitude, latitude, altitude and perhaps heading belong there";
        return false;
    }
    columns.count = fields.size();
    columns.heading = fields.size() == 4;
    const int order[] = {kLongitude, kLatitude, kAltitude, kHeading};
    std::copy(std::begin(order), std::end(order), columns.of_field);
    return readPoint(fields, columns, error);
}

bool RecordedRoute::parse(const std::string& text, std::string& error) {
    m_points.clear();
    m_duration_s = 0;
    Columns columns{};
    std::istringstream in(text);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (!readLine(line, columns, error)) {
            error = "line " + std::to_string(number) + ": " + error;
            m_points.clear();
            return false;
        }
    }
    if (m_points.size() < 2) {
        error = "a route needs two points";
        m_points.clear();
        return false;
    }
    if (columns.time) {
        const double start = m_points[0].time_s;
        for (Point& point : m_points) {
            point.time_s -= start;
        }
        m_duration_s = m_points.back().time_s;
    } else {
        setTimes();
    }
    if (!columns.heading) {
        setHeadings(!columns.time);
    }
    return true;
}

// At one speed, and from the last point back to the first.
void RecordedRoute::setTimes() {
    constexpr double kShortest_s = 1e-3;  // points on one spot still follow one another
    m_points.push_back(m_points.front());
    for (std::size_t i = 1; i < m_points.size(); ++i) {
        const double way_s = distance(m_points[i - 1], m_points[i]) / kSpeed_mps;
        m_points[i].time_s = m_points[i - 1].time_s + std::max(way_s, kShortest_s);
    }
    m_duration_s = m_points.back().time_s;
}

// The course over each point, from the one before to the one behind it.
void RecordedRoute::setHeadings(bool closed) {
    const std::size_t last = m_points.size() - 1;
    for (std::size_t i = 0; i <= last; ++i) {
        const Point& before = m_points[i > 0 ? i - 1 : closed ? last - 1 : 0];
        const Point& behind = m_points[i < last ? i + 1 : closed ? 1 : last];
        double east = 0, north = 0;
        wayFrom(before, behind, east, north);
        if (east == 0 && north == 0) {
            wayFrom(before, m_points[i], east, north);  // out and back
        }
        const double course = std::atan2(east, north) / kDeg;
        m_points[i].heading_deg = course < 0 ? course + 360 : course;
    }
}

RecordedRoute::Point RecordedRoute::at(double time_s) const {
    if (m_points.empty()) {
        return {};
    }
    const double t = std::fmod(std::max(0.0, time_s), m_duration_s);
    const auto next = std::upper_bound(m_points.begin() + 1, m_points.end() - 1, t,
                                       [](double value, const Point& p) { return value < p.time_s; });
    const Point &a = *(next - 1), &b = *next;
    const double share = std::clamp((t - a.time_s) / (b.time_s - a.time_s), 0.0, 1.0);
    Point point;
    point.time_s = t;
    const double east = std::remainder(b.longitude_deg - a.longitude_deg, 360);
    point.longitude_deg = std::remainder(a.longitude_deg + east * share, 360);
    point.latitude_deg = between(a.latitude_deg, b.latitude_deg, share);
    point.altitude_m = between(a.altitude_m, b.altitude_m, share);
    point.heading_deg = turnBetween(a.heading_deg, b.heading_deg, share);
    point.pitch_deg = between(a.pitch_deg, b.pitch_deg, share);
    point.roll_deg = turnBetween(a.roll_deg, b.roll_deg, share);
    point.roll_deg = std::remainder(point.roll_deg, 360);
    return point;
}

}  // namespace podsim
