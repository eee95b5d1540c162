// A mark with a picture and a label.
#pragma once

#include <osg/Group>
#include <osgText/Text>
#include <string>

#include "globe/geo_anchor.h"
#include "globe/geo_point.h"
#include "globe/place_layout.h"
#include "globe/style.h"

namespace globe {

// Keeps its size on the screen (in pixels, but on displays with finer ones), in front of all terrain, and is
// hidden where the earth itself stands before its place. The picture (IconSymbol) stands on the place, the
// label (TextSymbol; UTF-8) to its right. If one of the symbols says so, it gives way to others that it would
// cover: first without its label, then wholly. Changing it asks for no frame.
class PlaceNode : public osg::Group {
public:
    explicit PlaceNode(const GeoPoint& position, const std::string& text = std::string(),
                       const Style& style = Style());

    // Relative heights count from the terrain of the scene that is drawn. An invalid position shows nothing.
    void setPosition(const GeoPoint& position) { m_anchor.setPosition(position); }
    const GeoPoint& getPosition() const { return m_anchor.getPosition(); }
    void setMapNode(MapNode* map_node) { m_anchor.setMapNode(map_node); }
    void setText(const std::string& text);
    const std::string& getText() const { return m_text; }
    void setStyle(const Style& style);
    const Style& getStyle() const { return m_style; }
    // Of marks that would cover each other the higher one stays; 0 at first.
    void setPriority(double priority) { m_layout->priority = priority; }
    double getPriority() const { return m_layout->priority; }

    // What the last frame had room for; nothing where it was not in view.
    MarkShown shown() const { return m_layout->shown; }

    void traverse(osg::NodeVisitor& visitor) override;

protected:
    ~PlaceNode() override = default;

private:
    void build();
    void addIcon();
    void addLabel();
    void setLabelResolution();

    GeoAnchor m_anchor;
    std::string m_text;
    Style m_style;
    osg::ref_ptr<PlaceLayout> m_layout;
    osg::ref_ptr<osgText::Text> m_label;  // null without one
    double m_pixel_ratio = 1.0;           // of the last frame
};

}  // namespace globe
