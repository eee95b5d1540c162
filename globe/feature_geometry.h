// Shapes of features.
#pragma once

#include <cstddef>
#include <osg/Referenced>
#include <osg/Vec3d>
#include <utility>
#include <vector>

namespace globe {

// Points in the coordinates of their feature's reference: for a geographic one longitude and latitude in
// degrees and altitude in metres. Points that are not finite are left out when the shape is drawn.
class Geometry : public osg::Referenced {
public:
    Geometry() = default;
    explicit Geometry(std::vector<osg::Vec3d> points) : m_points(std::move(points)) {}

    void push_back(const osg::Vec3d& point) { m_points.push_back(point); }
    void push_back(double x, double y, double z = 0.0) { m_points.emplace_back(x, y, z); }
    std::size_t size() const { return m_points.size(); }
    bool empty() const { return m_points.empty(); }
    osg::Vec3d& operator[](std::size_t i) { return m_points[i]; }
    const osg::Vec3d& operator[](std::size_t i) const { return m_points[i]; }
    const std::vector<osg::Vec3d>& asVector() const { return m_points; }

    // Whether the last point is joined to the first.
    virtual bool isClosed() const = 0;

protected:
    ~Geometry() override = default;

private:
    std::vector<osg::Vec3d> m_points;
};

class LineString : public Geometry {
public:
    using Geometry::Geometry;
    bool isClosed() const override { return false; }

protected:
    ~LineString() override = default;
};

// One ring, in either sense, the first point not repeated (it does no harm). It may be concave; where it
// crosses itself, what it goes around is inside. It encloses the side of the globe that its points lie
// around.
class Polygon : public Geometry {
public:
    using Geometry::Geometry;
    bool isClosed() const override { return true; }

protected:
    ~Polygon() override = default;
};

}  // namespace globe
