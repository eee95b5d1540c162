#include "simulator/pod/mgrs.h"

#include <algorithm>
#include <cmath>

#include "simulator/pod/text.h"

namespace podsim {
namespace {

constexpr double kRadians = 3.14159265358979323846 / 180;
constexpr double kSquare_m = 100000;

// The zone of six degrees; Norway and Svalbard have zones of other widths.
int zoneOf(double lat, double lon) {
    if (lat >= 56 && lat < 64 && lon >= 3 && lon < 12) {
        return 32;
    }
    if (lat >= 72 && lon >= 0 && lon < 42) {
        return lon < 9 ? 31 : lon < 21 ? 33 : lon < 33 ? 35 : 37;
    }
    return static_cast<int>((lon + 180) / 6) % 60 + 1;
}

struct Plane {
    double easting_m, northing_m;
};

// Transverse Mercator by its series in the third flattening; below a millimetre inside a zone.
Plane project(double lat, double lon, int zone) {
    constexpr double kRadius_m = 6378137, kFlattening = 1 / 298.257223563, kScale = 0.9996;
    constexpr double n = kFlattening / (2 - kFlattening), n2 = n * n, n3 = n2 * n;
    constexpr double kAlpha[] = {n / 2 - 2 * n2 / 3 + 5 * n3 / 16, 13 * n2 / 48 - 3 * n3 / 5, 61 * n3 / 240};
    const double rectifying = kScale * kRadius_m / (1 + n) * (1 + n2 / 4 + n2 * n2 / 64);
    const double eccentricity = 2 * std::sqrt(n) / (1 + n);
    const double sine = std::sin(lat * kRadians);
    const double across = (lon - (zone * 6 - 183)) * kRadians;
    const double t = std::sinh(std::atanh(sine) - eccentricity * std::atanh(eccentricity * sine));
    const double xi = std::atan2(t, std::cos(across));
    const double eta = std::atanh(std::sin(across) / std::sqrt(1 + t * t));
    Plane p = {eta, xi};
    for (int j = 1; j <= 3; ++j) {
        p.easting_m += kAlpha[j - 1] * std::cos(2 * j * xi) * std::sinh(2 * j * eta);
        p.northing_m += kAlpha[j - 1] * std::sin(2 * j * xi) * std::cosh(2 * j * eta);
    }
    return {500000 + rectifying * p.easting_m, rectifying * p.northing_m + (lat < 0 ? 1e7 : 0)};
}

}  // namespace

std::string mgrs(double latitude_deg, double longitude_deg) {
    if (!(latitude_deg >= -80 && latitude_deg <= 84) || !std::isfinite(longitude_deg)) {
        return {};
    }
    constexpr char kBands[] = "CDEFGHJKLMNPQRSTUVWXX";
    constexpr const char* kColumns[] = {"ABCDEFGH", "JKLMNPQR", "STUVWXYZ"};
    constexpr const char* kRows[] = {"FGHJKLMNPQRSTUVABCDE", "ABCDEFGHJKLMNPQRSTUV"};
    const double turns = std::floor((longitude_deg + 180) / 360);
    const double lon = longitude_deg - 360 * turns;
    const int zone = zoneOf(latitude_deg, lon);
    const Plane p = project(latitude_deg, lon, zone);
    const int column = std::clamp(static_cast<int>(p.easting_m / kSquare_m), 1, 8);
    const int row = static_cast<int>(p.northing_m / kSquare_m) % 20;
    const char band = kBands[static_cast<std::size_t>(latitude_deg / 8 + 10)];
    return formatText("%02d%c%c%c %05d %05d", zone, band, kColumns[(zone - 1) % 3][column - 1],
                      kRows[zone % 2][row], static_cast<int>(std::fmod(p.easting_m, kSquare_m)),
                      static_cast<int>(std::fmod(p.northing_m, kSquare_m)));
}

}  // namespace podsim
