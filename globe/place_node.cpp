#include "globe/place_node.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <osg/Depth>
#include <osg/Geometry>
#include <osgUtil/CullVisitor>

#include "globe/asset_cache.h"
#include "globe/horizon.h"
#include "globe/icon_symbol.h"
#include "globe/label_font.h"
#include "globe/mark_state.h"
#include "globe/text_symbol.h"

namespace globe {

namespace {

constexpr float kLabelGap_px = 4.0f;
std::atomic<unsigned long> g_serial{0};

// Above everything else, in its bin.
osg::StateSet* placeState() {
    static osg::StateSet* const state = [] {
        osg::ref_ptr<osg::StateSet> made = plainState();
        made->setAttributeAndModes(new osg::Depth(osg::Depth::ALWAYS, 0.0, 1.0, false));
        made->setRenderBinDetails(kLabelBin, declutterBinName(), osg::StateSet::OVERRIDE_RENDERBIN_DETAILS);
        made->setNestRenderBins(false);
        return keptForGood(made);
    }();
    return state;
}

osg::ref_ptr<osg::Geometry> makeQuad(const screen_box& box, osg::StateSet* state) {
    osg::ref_ptr<osg::Vec3Array> corners = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec2Array> picture = new osg::Vec2Array;
    for (int corner = 0; corner < 4; ++corner) {
        const bool right = (corner & 1) != 0;
        const bool top = (corner & 2) != 0;
        corners->push_back(osg::Vec3f(right ? box.right : box.left, top ? box.top : box.bottom, 0.0f));
        picture->push_back(osg::Vec2f(right ? 1.0f : 0.0f, top ? 1.0f : 0.0f));
    }
    osg::ref_ptr<osg::Vec4Array> white = new osg::Vec4Array(1);
    (*white)[0].set(1.0f, 1.0f, 1.0f, 1.0f);
    osg::ref_ptr<osg::Geometry> quad = new osg::Geometry;
    quad->setUseDisplayList(false);
    quad->setUseVertexBufferObjects(false);
    quad->setVertexArray(corners);
    quad->setTexCoordArray(0, picture);
    quad->setColorArray(white, osg::Array::BIND_OVERALL);
    quad->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_STRIP, 0, 4));
    quad->setStateSet(state);
    quad->setCullingActive(false);
    return quad;
}

screen_box around(const screen_box& a, const screen_box& b) {
    return {std::min(a.left, b.left), std::min(a.bottom, b.bottom), std::max(a.right, b.right),
            std::max(a.top, b.top)};
}

// On a whole pixel of the viewport, of which a unit has `ratio`; false behind the eye.
bool toScreen(osgUtil::CullVisitor& cull, const osg::Vec3d& world, double ratio, osg::Vec3d& out) {
    const osg::Viewport& viewport = *cull.getViewport();
    const osg::Vec4d clip =
        osg::Vec4d(world, 1.0) * *cull.getModelViewMatrix() * osg::Matrixd(*cull.getProjectionMatrix());
    if (!(clip.w() > 0.0)) {
        return false;
    }
    out.set(std::round((clip.x() / clip.w() * 0.5 + 0.5) * viewport.width()),
            std::round((clip.y() / clip.w() * 0.5 + 0.5) * viewport.height()), 0.0);
    out /= ratio;
    return out.valid();
}

bool isOnScreen(const screen_box& box, const osg::Vec3d& at, const osg::Vec2d& size) {
    return at.x() + double(box.right) > 0.0 && at.x() + double(box.left) < size.x() &&
           at.y() + double(box.top) > 0.0 && at.y() + double(box.bottom) < size.y();
}

}  // namespace

PlaceNode::PlaceNode(const GeoPoint& position, const std::string& text, const Style& style)
    : m_text(text), m_style(style), m_layout(new PlaceLayout) {
    m_anchor.setPosition(position);
    m_layout->serial = ++g_serial;
    setCullingActive(false);
    setStateSet(placeState());
    build();
}

void PlaceNode::setText(const std::string& text) {
    m_text = text;
    build();
}

void PlaceNode::setStyle(const Style& style) {
    m_style = style;
    build();
}

void PlaceNode::build() {
    removeChildren(0, getNumChildren());
    const auto* icon = m_style.get<IconSymbol>();
    const auto* text = m_style.get<TextSymbol>();
    m_layout->declutter = (icon != nullptr && icon->declutter()) || (text != nullptr && text->declutter());
    m_layout->icon = nullptr;
    m_layout->has_icon = false;
    m_layout->icon_box = {};
    m_label = nullptr;
    addIcon();
    m_layout->all_box = m_layout->icon_box;
    m_layout->has_label = !m_text.empty();
    if (m_layout->has_label) {
        addLabel();
    }
}

void PlaceNode::addIcon() {
    const auto* symbol = m_style.get<IconSymbol>();
    const icon_picture picture =
        symbol != nullptr && !symbol->url().empty() ? cachedIcon(symbol->url()) : icon_picture();
    if (!picture.valid()) {
        return;
    }
    const auto width = static_cast<float>(std::lround(picture.width * symbol->scale()));
    const auto height = static_cast<float>(std::lround(picture.height * symbol->scale()));
    const float left = -std::floor(width * 0.5f);
    const float bottom =
        symbol->alignment() == IconSymbol::ALIGN_CENTER_CENTER ? -std::floor(height * 0.5f) : 0.0f;
    m_layout->icon_box = {left, bottom, left + width, bottom + height};
    m_layout->has_icon = true;
    m_layout->icon = makeQuad(m_layout->icon_box, picture.state);
    m_layout->icon->setUserData(m_layout);
    addChild(m_layout->icon);
}

void PlaceNode::addLabel() {
    const osg::ref_ptr<TextSymbol> fallback = new TextSymbol;
    const auto* given = m_style.get<TextSymbol>();
    const TextSymbol& symbol = given != nullptr ? *given : *fallback;
    const auto size = static_cast<float>(std::max(symbol.size(), 1.0));
    osg::ref_ptr<osgText::Text> label = new osgText::Text;
    if (const osg::ref_ptr<osgText::Font> font = labelFont(symbol.font())) {
        label->setFont(font);
    }
    m_label = label;
    label->setCharacterSize(size);
    setLabelResolution();
    label->setColor(symbol.fill().color());
    if (symbol.halo()) {
        label->setBackdropType(osgText::Text::OUTLINE);
        label->setBackdropColor(symbol.halo()->color());
    }
    label->setAlignment(osgText::Text::LEFT_BASE_LINE);
    const screen_box& icon = m_layout->icon_box;
    // Half the height of a capital below the middle of the picture.
    label->setPosition(osg::Vec3f(m_layout->has_icon ? icon.right + kLabelGap_px : 0.0f,
                                  std::round((icon.bottom + icon.top) * 0.5f - size * 0.36f), 0.0f));
    label->setText(m_text, osgText::String::ENCODING_UTF8);
    label->setUserData(m_layout);
    label->setCullingActive(false);
    const osg::BoundingBox box = label->getBoundingBox();
    if (box.valid()) {
        const screen_box all = {box.xMin(), box.yMin(), box.xMax(), box.yMax()};
        m_layout->all_box = m_layout->has_icon ? around(icon, all) : all;
    }
    addChild(label);
}

// Letters are drawn pixel by pixel.
void PlaceNode::setLabelResolution() {
    if (m_label.valid()) {
        const auto points = static_cast<unsigned>(double(m_label->getCharacterHeight()) * m_pixel_ratio);
        m_label->setFontResolution(points, points);
    }
}

void PlaceNode::traverse(osg::NodeVisitor& visitor) {
    osgUtil::CullVisitor* cull = visitor.asCullVisitor();
    if (cull == nullptr) {
        osg::Group::traverse(visitor);
        return;
    }
    m_anchor.findMapNode(visitor.getNodePath());
    osg::Vec3d world;
    osg::Vec3d at;
    const osg::Viewport* viewport = cull->getViewport();
    const osg::Vec3d eye = eyeOf(*cull);
    const double ratio = pixelRatioOf(*cull);
    if (ratio != m_pixel_ratio) {
        m_pixel_ratio = ratio;
        setLabelResolution();
    }
    const osg::Vec2d size =
        viewport != nullptr ? osg::Vec2d(viewport->width(), viewport->height()) / ratio : osg::Vec2d();
    if (viewport == nullptr || !m_anchor.toWorld(world) || !toScreen(*cull, world, ratio, at) ||
        !isOnScreen(m_layout->all_box, at, size) ||
        isBehindHorizon({eye.x(), eye.y(), eye.z()}, {world.x(), world.y(), world.z()})) {
        m_layout->shown = MarkShown::kNothing;
        return;
    }
    m_layout->distance_m = (world - eye).length();
    const PlanesUntouched untouched(*cull);
    const osg::ref_ptr<osg::RefMatrix> window =
        new osg::RefMatrix(osg::Matrixd::ortho(0.0, size.x(), 0.0, size.y(), -1.0, 1.0));
    const osg::ref_ptr<osg::RefMatrix> place = new osg::RefMatrix(osg::Matrixd::translate(at));
    cull->pushProjectionMatrix(window);
    cull->pushModelViewMatrix(place, osg::Transform::ABSOLUTE_RF);
    osg::Group::traverse(visitor);
    cull->popModelViewMatrix();
    cull->popProjectionMatrix();
}

}  // namespace globe
