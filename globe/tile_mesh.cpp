#include "globe/tile_mesh.h"

#include <algorithm>
#include <cmath>
#include <osg/Geometry>
#include <osg/Texture2D>
#include <vector>

#include "globe/ellipsoid.h"

namespace globe {
namespace {

class Builder {
public:
    explicit Builder(const TileData& tile)
        : m_tile(tile), m_extent(tile.key.extent()), m_step(m_extent.width() / (tile.posts - 1)) {
        m_origin = m_ellipsoid.geodeticToGeocentric(0.5 * (m_extent.west + m_extent.east),
                                                    0.5 * (m_extent.south + m_extent.north), 0.0);
    }

    osg::ref_ptr<osg::MatrixTransform> build() {
        addSurface();
        addSkirt();
        osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
        geometry->setUseDisplayList(false);
        geometry->setUseVertexBufferObjects(true);
        geometry->setVertexArray(m_vertices.get());
        geometry->setNormalArray(m_normals.get(), osg::Array::BIND_PER_VERTEX);
        geometry->setTexCoordArray(0, m_texcoords.get());
        geometry->addPrimitiveSet(m_triangles.get());
        osg::ref_ptr<osg::MatrixTransform> transform =
            new osg::MatrixTransform(osg::Matrixd::translate(m_origin));
        transform->addChild(geometry);
        transform->getOrCreateStateSet()->setTextureAttributeAndModes(0, makeTexture().get());
        return transform;
    }

private:
    static double radians(double degrees) { return degrees * kPi / 180.0; }

    osg::Vec3d worldOf(int column, int row, double sink) const {
        const double lat = std::clamp(m_extent.south + m_step * row, -90.0, 90.0);
        return m_ellipsoid.geodeticToGeocentric(m_extent.west + m_step * column, lat,
                                                m_tile.height(column, row) - sink);
    }

    // From the slopes to the east and to the north.
    osg::Vec3f normalOf(int column, int row) const {
        const double lat_deg = std::clamp(m_extent.south + m_step * row, -90.0, 90.0);
        const double lon = radians(m_extent.west + m_step * column);
        const double lat = radians(lat_deg);
        const double north_m = 2.0 * radians(m_step) * kEquatorRadius_m;
        const double east_m = std::max(north_m * std::cos(lat), 0.02 * north_m);
        const double east_slope = (m_tile.height(column + 1, row) - m_tile.height(column - 1, row)) / east_m;
        const double north_slope =
            (m_tile.height(column, row + 1) - m_tile.height(column, row - 1)) / north_m;
        const osg::Vec3d east(-std::sin(lon), std::cos(lon), 0.0);
        const osg::Vec3d up(std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat));
        osg::Vec3d normal = up - east * east_slope - (up ^ east) * north_slope;
        normal.normalize();
        return osg::Vec3f(normal);
    }

    unsigned short addVertex(int column, int row, double sink) {
        const auto texel = [&](int post, int size) {
            const float part = static_cast<float>(post) / static_cast<float>(m_tile.posts - 1);
            return (0.5f + part * static_cast<float>(size - 1)) / static_cast<float>(size);
        };
        m_vertices->push_back(osg::Vec3f(worldOf(column, row, sink) - m_origin));
        m_normals->push_back(normalOf(column, row));
        m_texcoords->push_back(osg::Vec2f(texel(column, m_tile.image->s()), texel(row, m_tile.image->t())));
        return static_cast<unsigned short>(m_vertices->size() - 1);
    }

    void addTriangle(unsigned short a, unsigned short b, unsigned short c) {
        m_triangles->push_back(a);
        m_triangles->push_back(b);
        m_triangles->push_back(c);
    }

    void addSurface() {
        const int posts = m_tile.posts;
        for (int row = 0; row < posts; ++row) {
            for (int column = 0; column < posts; ++column) {
                addVertex(column, row, 0.0);
            }
        }
        for (int row = 0; row + 1 < posts; ++row) {
            for (int column = 0; column + 1 < posts; ++column) {
                const auto at = static_cast<unsigned short>(row * posts + column);
                const auto above = static_cast<unsigned short>(at + posts);
                addTriangle(at, static_cast<unsigned short>(at + 1), static_cast<unsigned short>(above + 1));
                addTriangle(at, static_cast<unsigned short>(above + 1), above);
            }
        }
    }

    void addSkirt() {
        const int last = m_tile.posts - 1;
        const double side_m = radians(m_extent.height()) * kEquatorRadius_m;
        const double depth = std::min(0.03 * side_m + 0.5 * (m_tile.highest_m - m_tile.lowest_m), 50000.0);
        // Once around, seen from above against the clock.
        std::vector<std::pair<int, int>> rim;
        for (int i = 0; i < last; ++i) {
            rim.emplace_back(i, 0);
        }
        for (int i = 0; i < last; ++i) {
            rim.emplace_back(last, i);
        }
        for (int i = last; i > 0; --i) {
            rim.emplace_back(i, last);
        }
        for (int i = last; i > 0; --i) {
            rim.emplace_back(0, i);
        }
        const auto first = static_cast<unsigned short>(m_vertices->size());
        for (const auto& [column, row] : rim) {
            addVertex(column, row, depth);
        }
        const std::size_t count = rim.size();
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t next = (i + 1) % count;
            const auto top = [&](std::size_t at) {
                return static_cast<unsigned short>(rim[at].second * m_tile.posts + rim[at].first);
            };
            const auto low = static_cast<unsigned short>(first + i);
            const auto low_next = static_cast<unsigned short>(first + next);
            addTriangle(low, low_next, top(next));
            addTriangle(low, top(next), top(i));
        }
    }

    osg::ref_ptr<osg::Texture2D> makeTexture() const {
        osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(m_tile.image.get());
        texture->setWrap(osg::Texture::WRAP_S, osg::Texture::CLAMP_TO_EDGE);
        texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_EDGE);
        texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR_MIPMAP_NEAREST);
        texture->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
        texture->setResizeNonPowerOfTwoHint(false);
        texture->setUseHardwareMipMapGeneration(false);
        return texture;
    }

    const TileData& m_tile;
    Ellipsoid m_ellipsoid;
    GeoExtent m_extent;
    double m_step;
    osg::Vec3d m_origin;
    osg::ref_ptr<osg::Vec3Array> m_vertices = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec3Array> m_normals = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec2Array> m_texcoords = new osg::Vec2Array;
    osg::ref_ptr<osg::DrawElementsUShort> m_triangles = new osg::DrawElementsUShort(GL_TRIANGLES);
};

}  // namespace

osg::ref_ptr<osg::MatrixTransform> makeTileMesh(const TileData& tile) { return Builder(tile).build(); }

}  // namespace globe
