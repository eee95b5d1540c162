// A colour laid over the ground.
#pragma once

#include <osg/MatrixTransform>
#include <osg/Vec3d>
#include <vector>

#include "globe/color.h"
#include "globe/drape_volume.h"

namespace globe {

// Paints the ground inside a drape_volume, whatever the ground looks like and however finely it is drawn at
// the moment, exactly to the pixel: first the stencil buffer counts for each pixel how often the volume goes
// around what is drawn there, then the colour goes where the count is not zero and takes the count away.
// Shapes that overlap each blend once. Needs a stencil buffer of the window (8 bits); without one it draws
// nothing. Drawn in kDrapeBin, when terrain has been drawn and nothing else.
class DrapeNode : public osg::MatrixTransform {
public:
    DrapeNode(const drape_volume& volume, const Color& color);

    void traverse(osg::NodeVisitor& visitor) override;

protected:
    ~DrapeNode() override = default;
};

}  // namespace globe
