#include "globe/drape_node.h"

#include <osg/ColorMask>
#include <osg/Depth>
#include <osg/GLExtensions>
#include <osg/Geometry>
#include <osg/StencilTwoSided>
#include <osgUtil/CullVisitor>
#include <osgUtil/RenderStage>

#include "globe/map_node.h"
#include "globe/mark_state.h"

// Of OpenGL 3.2; the scene graph's own header has no name for it.
#ifndef GL_DEPTH_CLAMP
#define GL_DEPTH_CLAMP 0x864F
#endif

namespace globe {

namespace {

using Sides = osg::StencilTwoSided;

GLint stencilBits() {
    using GetIntegers = void(GL_APIENTRY*)(GLenum, GLint*);
    static GetIntegers get_integers = nullptr;
    GLint bits = 0;
    if (get_integers != nullptr || osg::setGLExtensionFuncPtr(get_integers, "glGetIntegerv")) {
        get_integers(GL_STENCIL_BITS, &bits);
    }
    return bits;
}

// A window without a stencil buffer passes every test of one, and would be painted all over.
class OnlyWithStencil : public osg::Drawable::DrawCallback {
public:
    void drawImplementation(osg::RenderInfo& info, const osg::Drawable* drawable) const override {
        if (stencilBits() >= 8) {
            drawable->drawImplementation(info);
        }
    }
};

osg::ref_ptr<osg::StateSet> passState(Sides* stencil, osg::Depth* depth) {
    osg::ref_ptr<osg::StateSet> state = plainState();
    state->setAttribute(stencil);
    state->setMode(GL_STENCIL_TEST, osg::StateAttribute::ON);
    state->setAttributeAndModes(depth);
    // Walls behind the far plane and before the near one count too.
    state->setMode(GL_DEPTH_CLAMP, osg::StateAttribute::ON);
    // All shapes in one bin in the order in which they are met: each counts, then paints.
    state->setRenderBinDetails(kDrapeBin, "TraversalOrderBin");
    state->setNestRenderBins(false);
    return state;
}

// Counts what lies behind the ground: a back side up, a front side down.
osg::StateSet* countingState() {
    static osg::StateSet* const state = [] {
        osg::ref_ptr<Sides> stencil = new Sides;
        stencil->setFunction(Sides::FRONT, Sides::ALWAYS, 0, 0xff);
        stencil->setFunction(Sides::BACK, Sides::ALWAYS, 0, 0xff);
        stencil->setOperation(Sides::FRONT, Sides::KEEP, Sides::DECR_WRAP, Sides::KEEP);
        stencil->setOperation(Sides::BACK, Sides::KEEP, Sides::INCR_WRAP, Sides::KEEP);
        // LEQUAL: in the sky ground and walls are both clamped to the far plane.
        auto made = passState(stencil, new osg::Depth(osg::Depth::LEQUAL, 0.0, 1.0, false));
        made->setAttribute(new osg::ColorMask(false, false, false, false));
        return keptForGood(made);
    }();
    return state;
}

osg::StateSet* paintingState() {
    static osg::StateSet* const state = [] {
        osg::ref_ptr<Sides> stencil = new Sides;
        for (const Sides::Face face : {Sides::FRONT, Sides::BACK}) {
            stencil->setFunction(face, Sides::NOTEQUAL, 0, 0xff);
            stencil->setOperation(face, Sides::KEEP, Sides::ZERO, Sides::ZERO);
        }
        return keptForGood(passState(stencil, new osg::Depth(osg::Depth::ALWAYS, 0.0, 1.0, false)));
    }();
    return state;
}

osg::ref_ptr<osg::Geometry> makePass(osg::Vec3Array* vertices, osg::Vec4Array* color,
                                     osg::DrawElementsUInt* corners, osg::StateSet* state) {
    osg::ref_ptr<osg::Geometry> pass = new osg::Geometry;
    // Shapes are small and often live for one frame only.
    pass->setUseDisplayList(false);
    pass->setUseVertexBufferObjects(false);
    pass->setVertexArray(vertices);
    pass->setColorArray(color, osg::Array::BIND_OVERALL);
    pass->addPrimitiveSet(corners);
    pass->setStateSet(state);
    pass->setDrawCallback(new OnlyWithStencil);
    return pass;
}

}  // namespace

DrapeNode::DrapeNode(const drape_volume& volume, const Color& color) {
    if (volume.empty()) {
        return;
    }
    osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    vertices->reserve(volume.vertices.size());
    for (const Xyz& vertex : volume.vertices) {
        vertices->push_back(osg::Vec3f(osg::Vec3d(vertex.x, vertex.y, vertex.z)));
    }
    osg::ref_ptr<osg::DrawElementsUInt> corners =
        new osg::DrawElementsUInt(GL_TRIANGLES, volume.corners.begin(), volume.corners.end());
    osg::ref_ptr<osg::Vec4Array> colors = new osg::Vec4Array(1);
    (*colors)[0] = color;
    setMatrix(osg::Matrixd::translate(volume.origin.x, volume.origin.y, volume.origin.z));
    addChild(makePass(vertices, colors, corners, countingState()));
    addChild(makePass(vertices, colors, corners, paintingState()));
}

void DrapeNode::traverse(osg::NodeVisitor& visitor) {
    osgUtil::CullVisitor* cull = visitor.asCullVisitor();
    if (cull == nullptr || getNumChildren() == 0) {
        osg::MatrixTransform::traverse(visitor);
        return;
    }
    // Cameras do not clear the stencil buffer by themselves.
    osgUtil::RenderStage* stage = cull->getCurrentRenderBin()->getStage();
    stage->setClearMask(stage->getClearMask() | GL_STENCIL_BUFFER_BIT);
    const PlanesUntouched untouched(*cull);
    osg::MatrixTransform::traverse(visitor);
}

}  // namespace globe
