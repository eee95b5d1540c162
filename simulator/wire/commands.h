// The names of all commands a pod may get, and their payload in words for the log.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "simulator/wire/wire.h"

namespace podsim {

// How the payload of a command is put into words.
enum class PayloadForm {
    kNone,
    kBytes,         // p1=.. p2=.. up to the last byte that there is
    kWords,         // signed 16-bit a, b
    kCentiDegrees,  // signed 16-bit azimuth, pitch in 0.01 degree
    kGeo,           // three signed 32-bit: longitude, latitude, altitude
    kClock,         // year, month, day, hour, minute, second, hundredths
    kNav,           // the aircraft's block
    kText,          // bytes, mostly text
};

struct CommandInfo {
    std::uint16_t code;
    const char* name;
    PayloadForm form;
};

// All known commands, by ascending code.
const CommandInfo* commandTable();
std::size_t commandCount();
// Null for a code that is not known.
const CommandInfo* findCommand(std::uint16_t code);
// "UNKNOWN" for a code that is not known.
const char* wireName(std::uint16_t code);

// "p1=3 p2=7" and the like: key=value pairs separated by one blank, no blank inside a value.
std::string describePayload(std::uint16_t code, const std::uint8_t* payload, std::size_t n);
// Upper-case hexadecimal digits without blanks.
std::string toHex(const std::uint8_t* data, std::size_t n);

}  // namespace podsim
