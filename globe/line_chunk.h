// A piece of a line on the globe.
#pragma once

#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osg/Vec3d>
#include <vector>

#include "globe/color.h"

namespace globe {

// Up to some hundred points as a ribbon whose width the shader of RibbonLine sets. The points stand in single
// precision about an origin of the piece's own; the origin is in the matrix, in double precision. A finished
// piece has versions with fewer points, and draws the one with the fewest whose deviation is below a third of
// a pixel.
class LineChunk : public osg::MatrixTransform {
public:
    // Consecutive points in earth-centred metres, one at least, and the neighbours of the ends for the joints
    // (the end itself where there is none).
    struct Span {
        std::vector<osg::Vec3d> points;
        osg::Vec3d before;
        osg::Vec3d after;
    };

    // With `finished` false all points are drawn, and the piece is cheap to make.
    LineChunk(const Span& span, const Color& color, double half_width_m, bool finished);

    void traverse(osg::NodeVisitor& visitor) override;

    // Points in all versions, for tests and benchmarks.
    std::size_t pointsIn(std::size_t level) const {
        return level < m_levels.size() ? m_levels[level].points : 0;
    }
    std::size_t levels() const { return m_levels.size(); }

protected:
    ~LineChunk() override = default;

private:
    struct Level {
        double tolerance_m = 0.0;
        std::size_t points = 0;
        osg::ref_ptr<osg::Geometry> ribbon;
    };
    void addLevel(const Span& span, const std::vector<std::size_t>& kept, double tolerance_m,
                  const Color& color);
    void addCoarserLevels(const Span& span, const Color& color);
    const Level& levelFor(double pixel_m) const;

    osg::Vec3d m_origin;
    double m_half_width_m;
    std::vector<Level> m_levels;  // the finest first
};

// Where the ribbon's vertices carry the way to the neighbours: texture coordinates 0 (xyz to the one before,
// w the side, -1 or 1) and 1 (xyz to the one behind).
constexpr unsigned kRibbonBefore = 0;
constexpr unsigned kRibbonAfter = 1;

}  // namespace globe
