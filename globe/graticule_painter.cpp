#include "globe/graticule_painter.h"

#include <algorithm>
#include <cmath>

namespace globe {
namespace {

struct Line {
    double strength;  // 0 .. 1
    double width_texels;
};

Line lineAt(double degrees) {
    if (std::fabs(degrees) < 1e-9) {
        return {0.85, 1.2};
    }
    const double tens = degrees / 10.0;
    return std::fabs(tens - std::round(tens)) < 1e-9 ? Line{0.6, 0.9} : Line{0.35, 0.7};
}

// How much of a line covers each texel along one axis.
std::vector<double> cover(double first, double step, int size, double spacing) {
    std::vector<double> covered(static_cast<std::size_t>(size), 0.0);
    for (int i = 0; i < size; ++i) {
        const double place = first + step * i;
        const double nearest = std::round(place / spacing) * spacing;
        const Line line = lineAt(nearest);
        const double off = std::fabs(place - nearest) / step;
        covered[static_cast<std::size_t>(i)] =
            line.strength * std::clamp(line.width_texels + 0.5 - off, 0.0, 1.0);
    }
    return covered;
}

}  // namespace

double graticuleSpacing(int level) {
    const double wanted = tileSize(level) / 10.0;
    double decade = 10.0;
    while (decade > wanted) {
        decade /= 10.0;
    }
    for (const double step : {1.0, 2.0, 5.0, 10.0}) {
        if (decade * step >= wanted) {
            return std::min(10.0, decade * step);
        }
    }
    return 10.0;
}

void paintGraticule(const TileKey& key, int columns, int rows, std::uint8_t* rgba) {
    const GeoExtent extent = key.extent();
    const double spacing = graticuleSpacing(key.level);
    const std::vector<double> meridians =
        cover(extent.west, extent.width() / (columns - 1), columns, spacing);
    const std::vector<double> parallels = cover(extent.south, extent.height() / (rows - 1), rows, spacing);
    for (const double parallel : parallels) {
        for (const double meridian : meridians) {
            const double part = std::max(meridian, parallel);
            for (int band = 0; band < 3; ++band) {
                const double line = band == 2 ? 255.0 : 225.0;
                rgba[band] = static_cast<std::uint8_t>(std::lround(rgba[band] + (line - rgba[band]) * part));
            }
            rgba += 4;
        }
    }
}

}  // namespace globe
