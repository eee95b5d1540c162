#include "map/geo_command.h"

#include <charconv>

#include "base/bytes.h"
#include "base/numbers.h"

namespace sorvane {

namespace {

constexpr double kDegreeUnits = 1e7;
constexpr double kMetreUnits = 10.0;

// The largest double in fixed notation has 309 digits before the point.
std::string fixed(double value, int decimals) {
    char text[352];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals).ptr;
    return {text, end};
}

std::string sixDecimals(double value) {
    constexpr std::size_t kLeastWidth = 6;
    const std::string text = fixed(value, 6);
    return text.size() < kLeastWidth ? std::string(kLeastWidth - text.size(), ' ') + text : text;
}

}  // namespace

GeoPayload payloadOf(const GeoPosition& p) {
    GeoPayload payload{};
    storeI32(payload.data(), truncateToI32(p.longitude_deg * kDegreeUnits));
    storeI32(payload.data() + 4, truncateToI32(p.latitude_deg * kDegreeUnits));
    storeI32(payload.data() + 8, truncateToI32(p.altitude_m * kMetreUnits));
    return payload;
}

GeoPayload dialogPayload(float latitude_deg, float altitude_m) {
    GeoPayload payload{};
    storeI32(payload.data(), truncateToI32(static_cast<double>(altitude_m) * kMetreUnits));
    storeI32(payload.data() + 4, truncateToI32(static_cast<double>(latitude_deg) * kDegreeUnits));
    return payload;
}

std::string cursorText(const GeoPosition& p) {
    return "Lon:" + sixDecimals(p.longitude_deg) + "        Lat:" + sixDecimals(p.latitude_deg) +
           "        Alt:" + sixDecimals(p.altitude_m);
}

std::string fieldText(double value, int decimals) {
    return value == 0.0 ? std::string() : fixed(value, decimals);
}

}  // namespace sorvane
