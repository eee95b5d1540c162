#include "globe/line_chunk.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <osgUtil/CullVisitor>

#include "globe/line_simplify.h"
#include "globe/mark_state.h"

namespace globe {

namespace {

// Below what can be seen from the nearest that the camera comes.
constexpr double kFinestTolerance_m = 0.02;
constexpr double kToleranceStep = 4.0;
constexpr double kCoarsestTolerance_m = 50000.0;
constexpr double kSeen_px = 0.33;
// Buffers of the graphics card pay off only above some size; what lives for a moment has none.
constexpr std::size_t kBufferedPoints = 64;

// The shader widens the ribbon beyond its points.
osg::BoundingBox widened(const osg::Vec3Array& points, double half_width_m) {
    osg::BoundingBox box;
    for (const osg::Vec3f& point : points) {
        box.expandBy(point);
    }
    const auto margin = static_cast<float>(half_width_m * 2.0 + 1.0);
    const osg::Vec3f around(margin, margin, margin);
    return osg::BoundingBox(box._min - around, box._max + around);
}

osg::ref_ptr<osg::Geometry> makeRibbon(const LineChunk::Span& span, const std::vector<std::size_t>& kept,
                                       const osg::Vec3d& origin, const Color& color, double half_width_m) {
    osg::ref_ptr<osg::Vec3Array> at = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec4Array> before = new osg::Vec4Array;
    osg::ref_ptr<osg::Vec3Array> after = new osg::Vec3Array;
    at->reserve(kept.size() * 2);
    before->reserve(kept.size() * 2);
    after->reserve(kept.size() * 2);
    for (std::size_t i = 0; i < kept.size(); ++i) {
        const osg::Vec3d& point = span.points[kept[i]];
        const osg::Vec3f from(point - (i == 0 ? span.before : span.points[kept[i - 1]]));
        const osg::Vec3f to((i + 1 == kept.size() ? span.after : span.points[kept[i + 1]]) - point);
        for (const float side : {-1.0f, 1.0f}) {
            at->push_back(osg::Vec3f(point - origin));
            before->push_back(osg::Vec4f(from, side));
            after->push_back(to);
        }
    }
    osg::ref_ptr<osg::Vec4Array> colors = new osg::Vec4Array(1);
    (*colors)[0] = color;
    osg::ref_ptr<osg::Geometry> ribbon = new osg::Geometry;
    ribbon->setUseDisplayList(false);
    ribbon->setUseVertexBufferObjects(kept.size() > kBufferedPoints);
    ribbon->setVertexArray(at);
    ribbon->setTexCoordArray(kRibbonBefore, before, osg::Array::BIND_PER_VERTEX);
    ribbon->setTexCoordArray(kRibbonAfter, after, osg::Array::BIND_PER_VERTEX);
    ribbon->setColorArray(colors, osg::Array::BIND_OVERALL);
    ribbon->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_STRIP, 0, static_cast<GLsizei>(at->size())));
    ribbon->setInitialBound(widened(*at, half_width_m));
    return ribbon;
}

}  // namespace

LineChunk::LineChunk(const Span& span, const Color& color, double half_width_m, bool finished)
    : m_origin(span.points.front()), m_half_width_m(half_width_m) {
    setMatrix(osg::Matrixd::translate(m_origin));
    if (finished) {
        addCoarserLevels(span, color);
    } else {
        std::vector<std::size_t> all(span.points.size());
        std::iota(all.begin(), all.end(), std::size_t(0));
        addLevel(span, all, 0.0, color);
        m_levels.front().ribbon->setUseVertexBufferObjects(false);
    }
}

void LineChunk::addLevel(const Span& span, const std::vector<std::size_t>& kept, double tolerance_m,
                         const Color& color) {
    m_levels.push_back({tolerance_m, kept.size(), makeRibbon(span, kept, m_origin, color, m_half_width_m)});
    addChild(m_levels.back().ribbon);
}

void LineChunk::addCoarserLevels(const Span& span, const Color& color) {
    std::vector<Xyz> points;
    points.reserve(span.points.size());
    for (const osg::Vec3d& point : span.points) {
        const osg::Vec3d at = point - m_origin;
        points.push_back({at.x(), at.y(), at.z()});
    }
    const std::vector<double> weights = pointWeights(points);
    for (double tolerance = kFinestTolerance_m; tolerance < kCoarsestTolerance_m;
         tolerance *= kToleranceStep) {
        std::vector<std::size_t> kept;
        for (std::size_t i = 0; i < weights.size(); ++i) {
            if (weights[i] > tolerance) {
                kept.push_back(i);
            }
        }
        // One that saves little is not worth its memory.
        if (m_levels.empty() || kept.size() * 4 <= m_levels.back().points * 3) {
            addLevel(span, kept, tolerance, color);
        }
    }
}

const LineChunk::Level& LineChunk::levelFor(double pixel_m) const {
    std::size_t best = 0;
    while (best + 1 < m_levels.size() && m_levels[best + 1].tolerance_m <= pixel_m * kSeen_px) {
        ++best;
    }
    return m_levels[best];
}

void LineChunk::traverse(osg::NodeVisitor& visitor) {
    osgUtil::CullVisitor* cull = visitor.asCullVisitor();
    if (cull == nullptr) {
        osg::MatrixTransform::traverse(visitor);
        return;
    }
    bool fixed = false;
    const double pixel_at_one = pixelAtOneMetre(*cull, fixed);
    const osg::BoundingSphere& bound = m_levels.front().ribbon->getBound();
    const double distance = (osg::Vec3d(cull->getEyeLocal()) - osg::Vec3d(bound.center())).length();
    const double nearest = std::max(distance - double(bound.radius()), 1.0);
    levelFor(fixed ? pixel_at_one : pixel_at_one * nearest).ribbon->accept(visitor);
}

}  // namespace globe
