// State that nodes of marks share, and what their cull traversals need.
#pragma once

#include <osg/Matrixd>
#include <osg/NodeVisitor>
#include <osg/StateSet>
#include <osg/Vec3d>
#include <osg/ref_ptr>

namespace osgUtil {
class CullVisitor;
}

namespace globe {

// Where labels are drawn: above all that has depth, below controls.
constexpr int kLabelBin = 20;

// Plain colours whatever is set above: no lighting, textures, fog or shaders of others; blended.
osg::ref_ptr<osg::StateSet> plainState();

// Keeps an object that everything shares until the process ends: what is drawn last may outlive all else.
template <typename T>
T* keptForGood(const osg::ref_ptr<T>& object) {
    object->ref();
    return object.get();
}

// The eye in world coordinates, of the camera under whose matrices the visitor stands.
osg::Vec3d eyeOf(osgUtil::CullVisitor& cull);

// Pixels a unit of length of the program, where the visitor's camera draws.
double pixelRatioOf(osgUtil::CullVisitor& cull);

// The size of a pixel at a distance of one metre, in metres; with `fixed` set it is the same at any distance
// (a parallel projection).
double pixelAtOneMetre(osgUtil::CullVisitor& cull, bool& fixed);

// While it lives, what the visitor meets does not move the near and far planes.
class PlanesUntouched {
public:
    explicit PlanesUntouched(osgUtil::CullVisitor& cull);
    ~PlanesUntouched();
    PlanesUntouched(const PlanesUntouched&) = delete;
    PlanesUntouched& operator=(const PlanesUntouched&) = delete;

private:
    osgUtil::CullVisitor& m_cull;
    int m_mode;
};

// While it lives, things smaller than a few pixels are drawn too.
class SmallThingsShown {
public:
    explicit SmallThingsShown(osgUtil::CullVisitor& cull);
    ~SmallThingsShown();
    SmallThingsShown(const SmallThingsShown&) = delete;
    SmallThingsShown& operator=(const SmallThingsShown&) = delete;

private:
    osgUtil::CullVisitor& m_cull;
    unsigned m_mask;
    unsigned m_projection_mask;
};

}  // namespace globe
