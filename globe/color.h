// Colours of marks.
#pragma once

#include <osg/Vec4f>
#include <string>

namespace globe {

// Red, green, blue and alpha, each 0 .. 1.
class Color : public osg::Vec4f {
public:
    Color() : osg::Vec4f(1.0f, 1.0f, 1.0f, 1.0f) {}
    Color(float r, float g, float b, float a = 1.0f) : osg::Vec4f(r, g, b, a) {}
    // The same colour with another alpha.
    Color(const Color& other, float alpha) : osg::Vec4f(other.r(), other.g(), other.b(), alpha) {}
    // "#rrggbb" or "#rrggbbaa", the hash may be missing; anything else is opaque black.
    explicit Color(const std::string& html);

    // "#rrggbbaa" in small letters.
    std::string toHTML() const;

    // The sixteen named colours of HTML 4.
    static const Color Black, Silver, Gray, White, Maroon, Red, Purple, Fuchsia;
    static const Color Green, Lime, Olive, Yellow, Navy, Blue, Teal, Aqua;
};

}  // namespace globe
