// A line on the globe with a width.
#pragma once

#include <cstddef>
#include <osg/Group>
#include <osg/Vec3d>
#include <vector>

#include "globe/line_chunk.h"
#include "globe/stroke.h"

namespace globe {

// Faces the camera. A width in metres is that of the line's own place, but never falls below one and a half
// pixels. It grows at its end: earlier points stand in pieces that never change, so that an appended point
// costs the same however long the line is.
class RibbonLine : public osg::Group {
public:
    explicit RibbonLine(const Stroke& stroke);

    // Points in earth-centred metres; those that are not finite are left out. What is appended shows after
    // update().
    void append(const osg::Vec3d& world);
    void update();

    void traverse(osg::NodeVisitor& visitor) override;

protected:
    ~RibbonLine() override = default;

private:
    void finishChunk(const osg::Vec3d& after);

    Color m_color;
    double m_half_width_m = 0.0;
    LineChunk::Span m_open;
    osg::ref_ptr<LineChunk> m_open_node;
};

}  // namespace globe
