#include "globe/feature_node.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "globe/drape_node.h"
#include "globe/drape_volume.h"
#include "globe/line_symbol.h"
#include "globe/polygon_symbol.h"

namespace globe {

namespace {

// Of one piece, so that a fix that jumps to and fro cannot make thousands of points each time. Halfway round
// the earth the line then runs 120 m too low between two of them.
constexpr int kMostSteps = 256;

osg::Vec3d toWorld(const Geodetic& place) {
    const Xyz at = geodeticToGeocentric(place);
    return {at.x, at.y, at.z};
}

}  // namespace

FeatureNode::FeatureNode(Feature* feature, const Style& style, const GeometryCompilerOptions& options)
    : m_feature(feature), m_style(style), m_options(options) {
    // Its parts judge themselves whether they are in view.
    setCullingActive(false);
    dirty();
}

void FeatureNode::setStyle(const Style& style) {
    m_style = style;
    dirty();
}

void FeatureNode::dirty() {
    removeChildren(0, getNumChildren());
    m_line = nullptr;
    m_has_last = false;
    if (m_feature && m_style.empty()) {
        m_style = m_feature->style();
    }
    if (m_feature && m_feature->getGeometry() != nullptr) {
        buildArea();
        buildLine();
    }
}

void FeatureNode::appendPoint(const osg::Vec3d& point) {
    Geometry* geometry = m_feature ? m_feature->getGeometry() : nullptr;
    if (geometry == nullptr) {
        return;
    }
    geometry->push_back(point);
    Geodetic place;
    if (geometry->isClosed()) {
        dirty();
    } else if (m_line && toGeodetic(point, place)) {
        appendToLine(place);
        m_line->update();
    }
}

bool FeatureNode::toGeodetic(const osg::Vec3d& point, Geodetic& out) const {
    const SpatialReference* srs = m_feature->getSRS();
    osg::Vec3d place = point;
    if (!point.valid() || (srs != nullptr && !srs->transform(point, srs->getGeographicSRS(), place))) {
        return false;
    }
    out = {place.x(), place.y(), place.z()};
    return place.valid();
}

void FeatureNode::appendToLine(const Geodetic& place) {
    if (!m_has_last) {
        m_line->append(toWorld(place));
    } else {
        std::vector<Geodetic> way;
        appendWay(m_last, place, std::max(m_options.maxStep(), 1.0), m_feature->geoInterp(), way, kMostSteps);
        for (const Geodetic& step : way) {
            m_line->append(toWorld(step));
        }
    }
    m_last = place;
    m_has_last = true;
}

void FeatureNode::buildLine() {
    const LineSymbol* symbol = m_style.get<LineSymbol>();
    if (symbol == nullptr) {
        return;
    }
    m_line = new RibbonLine(symbol->stroke());
    const Geometry& geometry = *m_feature->getGeometry();
    const std::size_t count = geometry.size() + (geometry.isClosed() && !geometry.empty() ? 1 : 0);
    for (std::size_t i = 0; i < count; ++i) {
        Geodetic place;
        if (toGeodetic(geometry[i % geometry.size()], place)) {
            appendToLine(place);
        }
    }
    m_line->update();
    addChild(m_line);
}

void FeatureNode::buildArea() {
    const PolygonSymbol* symbol = m_style.get<PolygonSymbol>();
    const Geometry& geometry = *m_feature->getGeometry();
    if (symbol == nullptr || !geometry.isClosed()) {
        return;
    }
    std::vector<Geodetic> ring;
    for (const osg::Vec3d& point : geometry.asVector()) {
        Geodetic place;
        if (toGeodetic(point, place)) {
            ring.push_back(place);
        }
    }
    const drape_volume volume = makeDrapeVolume(ring, m_feature->geoInterp());
    if (!volume.empty()) {
        addChild(new DrapeNode(volume, symbol->fill().color()));
    }
}

}  // namespace globe
