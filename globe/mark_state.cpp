#include "globe/mark_state.h"

#include <osg/BlendFunc>
#include <osg/Program>
#include <osgUtil/CullVisitor>

#include "globe/pixel_ratio.h"

namespace globe {

osg::ref_ptr<osg::StateSet> plainState() {
    // What is set above with an override stays out too.
    constexpr unsigned kOn = osg::StateAttribute::ON | osg::StateAttribute::PROTECTED;
    constexpr unsigned kOff = osg::StateAttribute::OFF | osg::StateAttribute::PROTECTED;
    osg::ref_ptr<osg::StateSet> state = new osg::StateSet;
    state->setAttributeAndModes(new osg::Program, kOn);
    state->setAttributeAndModes(new osg::BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA), kOn);
    state->setMode(GL_LIGHTING, kOff);
    state->setMode(GL_FOG, kOff);
    state->setMode(GL_CULL_FACE, kOff);
    for (unsigned unit = 0; unit < 2; ++unit) {
        state->setTextureMode(unit, GL_TEXTURE_2D, osg::StateAttribute::OFF);
    }
    return state;
}

osg::Vec3d eyeOf(osgUtil::CullVisitor& cull) {
    return osg::Matrixd::inverse(*cull.getModelViewMatrix()).getTrans();
}

double pixelRatioOf(osgUtil::CullVisitor& cull) {
    const osg::Camera* const camera = cull.getCurrentCamera();
    return pixelRatioOf(camera != nullptr ? camera->getGraphicsContext() : nullptr);
}

double pixelAtOneMetre(osgUtil::CullVisitor& cull, bool& fixed) {
    const osg::Matrixd& projection = *cull.getProjectionMatrix();
    const osg::Viewport* viewport = cull.getViewport();
    const double height = viewport != nullptr ? viewport->height() : 0.0;
    fixed = projection(2, 3) == 0.0;
    return height > 0.0 && projection(1, 1) > 0.0 ? 2.0 / (projection(1, 1) * height) : 0.0;
}

PlanesUntouched::PlanesUntouched(osgUtil::CullVisitor& cull)
    : m_cull(cull), m_mode(static_cast<int>(cull.getComputeNearFarMode())) {
    cull.setComputeNearFarMode(osg::CullSettings::DO_NOT_COMPUTE_NEAR_FAR);
}

PlanesUntouched::~PlanesUntouched() {
    m_cull.setComputeNearFarMode(static_cast<osg::CullSettings::ComputeNearFarMode>(m_mode));
}

SmallThingsShown::SmallThingsShown(osgUtil::CullVisitor& cull)
    : m_cull(cull),
      m_mask(cull.getCurrentCullingSet().getCullingMask()),
      m_projection_mask(cull.getProjectionCullingStack().back().getCullingMask()) {
    constexpr unsigned kSmall = osg::CullingSet::SMALL_FEATURE_CULLING;
    m_cull.getCurrentCullingSet().setCullingMask(m_mask & ~kSmall);
    // Below a transformation the set of the projection counts.
    m_cull.getProjectionCullingStack().back().setCullingMask(m_projection_mask & ~kSmall);
}

SmallThingsShown::~SmallThingsShown() {
    m_cull.getCurrentCullingSet().setCullingMask(m_mask);
    m_cull.getProjectionCullingStack().back().setCullingMask(m_projection_mask);
}

}  // namespace globe
