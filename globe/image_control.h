// A picture over the scene.
#pragma once

#include <osg/Image>
#include <osg/Texture2D>

#include "globe/control.h"

namespace globe {

// As large as its image, or as setSize() says. Without an image it is empty.
class ImageControl : public Control {
public:
    explicit ImageControl(osg::Image* image = nullptr);

    void setImage(osg::Image* image);
    osg::Image* getImage() const { return m_image.get(); }

    // Degrees clockwise, about its middle.
    void setRotation(double degrees);
    double getRotation() const { return m_rotation_deg; }
    // Takes the room that any rotation needs, so that turning moves nothing.
    void setFixSizeForRotation(bool fix);

protected:
    osg::Vec2f contentSize() override;
    void drawContent(osg::Geode& geode, const ControlRect& content, float canvas_height) override;

private:
    osg::Vec2f pictureSize() const;

    osg::ref_ptr<osg::Image> m_image;
    osg::ref_ptr<osg::Texture2D> m_texture;
    double m_rotation_deg = 0.0;
    bool m_fix_size = false;
};

}  // namespace globe
