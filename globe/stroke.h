// How a line is drawn.
#pragma once

#include "globe/color.h"
#include "globe/units.h"

namespace globe {

class Stroke {
public:
    Stroke() = default;
    explicit Stroke(const Color& color) : m_color(color) {}
    Stroke(const Color& color, double width, Units units) : m_color(color), m_width(width), m_units(units) {}

    Color& color() { return m_color; }
    const Color& color() const { return m_color; }
    double& width() { return m_width; }
    double width() const { return m_width; }
    // Of the width. A width in metres never falls below about one and a half pixels on the screen.
    Units& widthUnits() { return m_units; }
    Units widthUnits() const { return m_units; }

private:
    Color m_color;
    double m_width = 1.0;
    Units m_units = Units::PIXELS;
};

}  // namespace globe
