#include "globe/color.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace globe {

namespace {

// False for anything that is not all hexadecimal digits.
bool readHex(const std::string& digits, std::uint32_t& out) {
    out = 0;
    for (const char c : digits) {
        const bool digit = c >= '0' && c <= '9';
        const char low = static_cast<char>(c | 0x20);
        if (!digit && (low < 'a' || low > 'f')) {
            return false;
        }
        out = out * 16 + static_cast<std::uint32_t>(digit ? c - '0' : low - 'a' + 10);
    }
    return true;
}

Color fromBytes(int r, int g, int b) {
    return Color(static_cast<float>(r) / 255.0f, static_cast<float>(g) / 255.0f,
                 static_cast<float>(b) / 255.0f);
}

unsigned toByte(float value) {
    return static_cast<unsigned>(std::lround(std::min(std::max(value, 0.0f), 1.0f) * 255.0f));
}

}  // namespace

const Color Color::Black = fromBytes(0, 0, 0);
const Color Color::Silver = fromBytes(192, 192, 192);
const Color Color::Gray = fromBytes(128, 128, 128);
const Color Color::White = fromBytes(255, 255, 255);
const Color Color::Maroon = fromBytes(128, 0, 0);
const Color Color::Red = fromBytes(255, 0, 0);
const Color Color::Purple = fromBytes(128, 0, 128);
const Color Color::Fuchsia = fromBytes(255, 0, 255);
const Color Color::Green = fromBytes(0, 128, 0);
const Color Color::Lime = fromBytes(0, 255, 0);
const Color Color::Olive = fromBytes(128, 128, 0);
const Color Color::Yellow = fromBytes(255, 255, 0);
const Color Color::Navy = fromBytes(0, 0, 128);
const Color Color::Blue = fromBytes(0, 0, 255);
const Color Color::Teal = fromBytes(0, 128, 128);
const Color Color::Aqua = fromBytes(0, 255, 255);

Color::Color(const std::string& html) : osg::Vec4f(0.0f, 0.0f, 0.0f, 1.0f) {
    std::string digits = html.substr(html.empty() || html[0] != '#' ? 0 : 1);
    if (digits.size() == 6) {
        digits += "ff";
    }
    std::uint32_t rgba = 0;
    if (digits.size() != 8 || !readHex(digits, rgba)) {
        return;
    }
    for (int i = 0; i < 4; ++i) {
        (*this)[static_cast<unsigned>(i)] = static_cast<float>((rgba >> (24 - 8 * i)) & 0xffU) / 255.0f;
    }
}

std::string Color::toHTML() const {
    char text[16];
    std::snprintf(text, sizeof text, "#%02x%02x%02x%02x", toByte(r()), toByte(g()), toByte(b()), toByte(a()));
    return text;
}

}  // namespace globe
