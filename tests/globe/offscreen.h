// A globe drawn into memory, for tests that look at its pixels.
#pragma once

#include <cstdint>
#include <osg/Image>
#include <osg/ref_ptr>
#include <osgViewer/Viewer>
#include <vector>

#include "globe/geodesy.h"
#include "globe/map_node.h"

namespace globe_test {

struct Pixel {
    int r = 0;
    int g = 0;
    int b = 0;
};

struct Spot {
    double x = 0.0;  // pixels from the left
    double y = 0.0;  // from the top
    bool seen = false;
};

// Where the camera stands: over `lon`, `lat` at `range_m` from the ground point there, tilted so that it
// looks north and down by `pitch_deg` (-90 straight down).
struct Pose {
    double lon = 0.0;
    double lat = 0.0;
    double heading_deg = 0.0;
    double pitch_deg = -90.0;
    double range_m = 1e7;
};

class Offscreen {
public:
    // `window`: a real one, that draws on demand.
    Offscreen(int width, int height, bool window = false);
    // False where there is no graphics context to be had.
    bool works() const { return m_works; }
    osgViewer::Viewer& viewer() { return *m_viewer; }
    void show(osg::Node* scene);
    void look(const Pose& pose);
    void frame();
    // Draws until the map waits for nothing, or so long. True if it got there.
    bool settle(globe::MapNode* map, int limit_ms = 60000);
    // The ground under a pixel, by the map's own answer.
    bool groundUnder(globe::MapNode* map, double x, double y, osg::Vec3d& lon_lat_alt);
    Pixel at(int x, int y) const;
    // Middle of all pixels that `match` accepts.
    template <typename Match>
    Spot middleOf(const Match& match) const {
        double x = 0.0;
        double y = 0.0;
        int count = 0;
        for (int row = 0; row < m_height; ++row) {
            for (int column = 0; column < m_width; ++column) {
                if (match(at(column, row))) {
                    x += column + 0.5;
                    y += row + 0.5;
                    ++count;
                }
            }
        }
        return count > 0 ? Spot{x / count, y / count, true} : Spot{};
    }
    // Where a place must stand, by trigonometry on the pose alone.
    Spot expected(const Pose& pose, double lon, double lat, double alt) const;
    void save(const char* path) const;
    int width() const { return m_width; }
    int height() const { return m_height; }

private:
    int m_width;
    int m_height;
    bool m_works = false;
    osg::ref_ptr<osgViewer::Viewer> m_viewer;
    osg::ref_ptr<osg::Image> m_image;
};

}  // namespace globe_test
