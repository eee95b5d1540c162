// How old something is, in few letters that stand as they are in every language.
#pragma once

#include <cstdint>
#include <string>

namespace sorvane {

// "0.0 s" to "99.9 s", then "1 min" to "99 min", then hours; what is begun does not count. A negative age is
// that of something that has never come: "--".
inline std::string ageText(std::int64_t age_ms) {
    constexpr std::int64_t kSecond = 1000;
    constexpr std::int64_t kMinute = 60 * kSecond;
    constexpr std::int64_t kHour = 60 * kMinute;
    if (age_ms < 0) {
        return "--";
    }
    if (age_ms < 100 * kSecond) {
        return std::to_string(age_ms / kSecond) + '.' + std::to_string(age_ms % kSecond / 100) + " s";
    }
    if (age_ms < 100 * kMinute) {
        return std::to_string(age_ms / kMinute) + " min";
    }
    return std::to_string(age_ms / kHour) + " h";
}

}  // namespace sorvane
