// Heights of the ground, and where a straight line meets it.
#pragma once

#include "globe/geodesy.h"

namespace globe {

// Implementations are asked on the thread that draws, many times a frame.
class HeightSource {
public:
    virtual ~HeightSource() = default;
    // Metres above the ellipsoid, from the best data loaded at the time; longitude and latitude in degrees.
    virtual double heightAt(double lon, double lat) const = 0;
    // No height lies outside these.
    virtual double lowest_m() const = 0;
    virtual double highest_m() const = 0;
    // Degrees between the samples at a place: a search need not look more finely.
    virtual double spacingAt(double lon, double lat) const = 0;
};

// The ellipsoid itself.
class FlatHeights : public HeightSource {
public:
    double heightAt(double, double) const override { return 0.0; }
    double lowest_m() const override { return 0.0; }
    double highest_m() const override { return 0.0; }
    double spacingAt(double, double) const override { return 1.0; }
};

// The first point between `from` and `to` where the line goes under the ground. A line that starts under the
// ground meets nothing, so that the far side of the earth is never hit. Good to a centimetre, or to 1e-9 of
// the length.
bool intersectGround(const HeightSource& heights, const Xyz& from, const Xyz& to, Xyz* hit);

}  // namespace globe
