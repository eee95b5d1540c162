// Bytes written as hexadecimal text, for golden frames.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

inline std::vector<std::uint8_t> bytesOf(const std::string& hex) {
    std::istringstream words(hex);
    std::vector<std::uint8_t> bytes;
    for (std::string word; words >> word;) {
        bytes.push_back(static_cast<std::uint8_t>(std::strtoul(word.c_str(), nullptr, 16)));
    }
    return bytes;
}
