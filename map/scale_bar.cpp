#include "map/scale_bar.h"

#include <cmath>

#include "globe/geo_math.h"
#include "globe/geo_point.h"
#include "globe/pixel_ratio.h"

using globe::Frame;
using globe::LabelControl;

ScaleBar::ScaleBar(globe::MapNode* map_node, osgViewer::View* view)
    : m_map_node(map_node), m_map(map_node != nullptr ? map_node->getMap() : nullptr), m_view(view) {
    m_label = new LabelControl("- km", 12.0F, osg::Vec4f(1, 1, 1, 1));
    m_label->setForeColor(0, 0, 0, 1);
    m_label->setText("2000 km");
    m_bar = new Frame;
    m_bar->setVertFill(true);
    m_bar->setForeColor(0, 0, 0, 0.8F);
    m_bar->setBackColor(1, 1, 1, 0.5F);
    m_bar->setBorderColor(0, 0, 0, 1);
    m_bar->setBorderWidth(1.0F);
    m_bar->setWidth(48.9383544921875F);
}

ScaleBar::~ScaleBar() = default;

void ScaleBar::set_visible(bool visible) {
    m_label->setVisible(visible);
    if (m_bar.valid()) {
        m_bar->setVisible(visible);
    }
}

double ScaleBar::blank() {
    m_label->setText(std::string());
    m_bar->setWidth(0.0F);
    return -1.0;
}

// Metres over the ground between the two points of the line.
bool ScaleBar::measure(const sorvane::MeasuringLine& line, double pixel_ratio, double* distance_m) const {
    const globe::Terrain* terrain = m_map_node->getTerrain();
    if (terrain == nullptr) {
        return false;
    }
    osg::Vec3d world[2];
    const auto ground = [&](double x, osg::Vec3d& at) {
        return terrain->getWorldCoordsUnderMouse(m_view.get(), static_cast<float>(x * pixel_ratio),
                                                 static_cast<float>(line.y * pixel_ratio), at);
    };
    if (!ground(line.x0, world[0]) || !ground(line.x1, world[1])) {
        return false;
    }
    const globe::SpatialReference* srs = m_map_node->getMapSRS();
    if (srs == nullptr) {
        return false;
    }
    if (m_map.valid() && !m_map->isGeocentric() && srs->isProjected()) {
        *distance_m = globe::GeoMath::distance(world[0], world[1], srs);
        return true;
    }
    globe::GeoPoint points[2];
    for (int i = 0; i < 2; ++i) {
        if (!points[i].fromWorld(srs, world[i]) || !points[i].makeGeographic()) {
            return false;
        }
    }
    *distance_m = globe::GeoMath::distance(globe::toRadians(points[0].y()), globe::toRadians(points[0].x()),
                                           globe::toRadians(points[1].y()), globe::toRadians(points[1].x()),
                                           srs->getEllipsoid().getRadiusEquator());
    return true;
}

double ScaleBar::update() {
    if (!m_label.valid() || !m_map_node.valid() || !m_view.valid() || !m_label->visible()) {
        return -1.0;
    }
    const osg::GraphicsContext* context = m_view->getCamera()->getGraphicsContext();
    const double ratio = globe::pixelRatioOf(context);
    if (context != nullptr && context->getTraits() != nullptr) {
        m_width = static_cast<std::int32_t>(std::lround(context->getTraits()->width / ratio));
        m_height = static_cast<std::int32_t>(std::lround(context->getTraits()->height / ratio));
    }
    const sorvane::MeasuringLine line = sorvane::measuringLine(m_width, m_height);
    double distance_m = 0.0;
    if (!measure(line, ratio, &distance_m) || !(distance_m > 0.0)) {
        return blank();
    }
    m_metres_per_pixel = distance_m / line.length;
    const sorvane::ScaleChoice choice = sorvane::chooseScale(m_units, distance_m, line.length);
    m_label->setText(choice.text);
    m_bar->setWidth(static_cast<float>(choice.bar_px));
    return choice.units_per_px;
}

ScaleBarHandler::ScaleBarHandler(ScaleBar* bar) : m_bar(bar) {}

ScaleBarHandler::~ScaleBarHandler() = default;

bool ScaleBarHandler::handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    const auto type = ea.getEventType();
    if (dynamic_cast<osgViewer::View*>(&aa) != nullptr &&
        (type == osgGA::GUIEventAdapter::SCROLL || type == osgGA::GUIEventAdapter::KEYDOWN)) {
        m_bar->update();
        aa.requestRedraw();
    }
    return false;
}
