#include "globe/image_control.h"

#include <cmath>
#include <osg/Geode>
#include <osg/Geometry>

#include "globe/geodesy.h"

namespace globe {

ImageControl::ImageControl(osg::Image* image) { setImage(image); }

void ImageControl::setImage(osg::Image* image) {
    m_image = image;
    m_texture = nullptr;
    if (m_image.valid()) {
        m_texture = new osg::Texture2D(m_image);
        m_texture->setResizeNonPowerOfTwoHint(false);
        m_texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR);
        m_texture->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
        m_texture->setWrap(osg::Texture::WRAP_S, osg::Texture::CLAMP_TO_EDGE);
        m_texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_EDGE);
    }
    dirty();
}

void ImageControl::setRotation(double degrees) {
    if (m_rotation_deg != degrees && std::isfinite(degrees)) {
        m_rotation_deg = degrees;
        dirty();
    }
}

void ImageControl::setFixSizeForRotation(bool fix) {
    m_fix_size = fix;
    dirty();
}

osg::Vec2f ImageControl::pictureSize() const {
    if (!m_image.valid()) {
        return {};
    }
    return {width() >= 0.0f ? width() : static_cast<float>(m_image->s()),
            height() >= 0.0f ? height() : static_cast<float>(m_image->t())};
}

osg::Vec2f ImageControl::contentSize() {
    const osg::Vec2f size = pictureSize();
    if (m_fix_size) {
        const float diagonal = size.length();
        return {diagonal, diagonal};
    }
    const auto turn = static_cast<float>(toRadians(m_rotation_deg));
    const float c = std::abs(std::cos(turn));
    const float s = std::abs(std::sin(turn));
    return {size.x() * c + size.y() * s, size.x() * s + size.y() * c};
}

void ImageControl::drawContent(osg::Geode& geode, const ControlRect& content, float canvas_height) {
    if (!m_texture.valid()) {
        return;
    }
    const osg::Vec2f half = pictureSize() * 0.5f;
    osg::Vec2f middle(content.x + 0.5f * content.width, canvas_height - content.y - 0.5f * content.height);
    if (m_rotation_deg == 0.0) {
        // Each pixel of the image on one of the screen.
        middle.set(snapped(middle.x() - half.x()) + half.x(), snapped(middle.y() - half.y()) + half.y());
    }
    const auto turn = static_cast<float>(toRadians(-m_rotation_deg));
    const auto corner = [&](float x, float y) {
        return osg::Vec3(middle.x() + x * std::cos(turn) - y * std::sin(turn),
                         middle.y() + x * std::sin(turn) + y * std::cos(turn), 0.0f);
    };
    osg::ref_ptr<osg::Geometry> quad = makeQuad(0.0f, 0.0f, 1.0f, 1.0f, foreColor());
    osg::ref_ptr<osg::Vec3Array> corners = new osg::Vec3Array;
    corners->push_back(corner(-half.x(), -half.y()));
    corners->push_back(corner(half.x(), -half.y()));
    corners->push_back(corner(-half.x(), half.y()));
    corners->push_back(corner(half.x(), half.y()));
    quad->setVertexArray(corners);
    const bool top_first = m_image->getOrigin() == osg::Image::TOP_LEFT;
    const float low = top_first ? 1.0f : 0.0f;
    osg::ref_ptr<osg::Vec2Array> coordinates = new osg::Vec2Array;
    coordinates->push_back({0.0f, low});
    coordinates->push_back({1.0f, low});
    coordinates->push_back({0.0f, 1.0f - low});
    coordinates->push_back({1.0f, 1.0f - low});
    quad->setTexCoordArray(0, coordinates);
    quad->getOrCreateStateSet()->setTextureAttributeAndModes(0, m_texture);
    geode.addDrawable(quad);
}

}  // namespace globe
