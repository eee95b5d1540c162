// Ground with hills whose heights are known everywhere.
#pragma once

#include <cmath>
#include <functional>
#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <utility>

#include "globe/ellipsoid.h"
#include "globe/map_node.h"

namespace globe {

struct BumpyGround {
    double lon = 112.44;
    double lat = 33.75;
    double half_deg = 0.02;
    int cells = 300;

    double height(double at_lon, double at_lat) const {
        const double x = (at_lon - lon) * 92500.0;
        const double y = (at_lat - lat) * 111000.0;
        return 400.0 + 120.0 * std::sin(x / 180.0) * std::cos(y / 230.0) + 60.0 * std::sin((x + y) / 90.0);
    }

    // One flat grey, drawn where terrain is drawn.
    osg::ref_ptr<osg::Node> mesh() const {
        const Ellipsoid earth;
        const osg::Vec3d origin = earth.geodeticToGeocentric(lon, lat, 0.0);
        osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
        osg::ref_ptr<osg::DrawElementsUInt> corners = new osg::DrawElementsUInt(GL_TRIANGLES);
        for (int row = 0; row <= cells; ++row) {
            for (int column = 0; column <= cells; ++column) {
                const double x = lon + half_deg * (2.0 * column / cells - 1.0);
                const double y = lat + half_deg * (2.0 * row / cells - 1.0);
                vertices->push_back(osg::Vec3f(earth.geodeticToGeocentric(x, y, height(x, y)) - origin));
                if (row < cells && column < cells) {
                    const auto at = static_cast<unsigned>(row * (cells + 1) + column);
                    const unsigned above = at + static_cast<unsigned>(cells) + 1;
                    for (const unsigned corner : {at, at + 1, above, above, at + 1, above + 1}) {
                        corners->push_back(corner);
                    }
                }
            }
        }
        osg::ref_ptr<osg::Vec4Array> color = new osg::Vec4Array(1);
        (*color)[0].set(100 / 255.0f, 100 / 255.0f, 100 / 255.0f, 1.0f);
        osg::ref_ptr<osg::Geometry> ground = new osg::Geometry;
        ground->setUseVertexBufferObjects(true);
        ground->setVertexArray(vertices);
        ground->setColorArray(color, osg::Array::BIND_OVERALL);
        ground->addPrimitiveSet(corners);
        ground->getOrCreateStateSet()->setRenderBinDetails(kTerrainBin, "RenderBin");
        osg::ref_ptr<osg::MatrixTransform> placed = new osg::MatrixTransform(osg::Matrixd::translate(origin));
        placed->addChild(ground);
        return placed;
    }

    // The first point of the ground along a line of sight, by the heights alone; false where it meets none.
    bool hit(const osg::Vec3d& eye, const osg::Vec3d& way, osg::Vec3d& place) const {
        const Ellipsoid earth;
        double along = 0.0;
        for (int i = 0; i < 4000 && along < 60000.0; ++i) {
            place = earth.geocentricToGeodetic(eye + way * along);
            const double above = place.z() - height(place.x(), place.y());
            if (above < 0.01) {
                return std::fabs(place.x() - lon) < half_deg && std::fabs(place.y() - lat) < half_deg;
            }
            // The steepest slope is below 1.4.
            along += std::max(0.005, above * 0.5);
        }
        return false;
    }
};

}  // namespace globe
