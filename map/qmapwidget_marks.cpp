// What a map draws on the globe: places, the pod's target, the aircraft with its track and footprint.
#include <osg/Material>

#include "map/geo_rules.h"
#include "map/map_nodes.h"
#include "map/qmapwidget.h"

namespace {

constexpr double kFov_deg = 30.0;
constexpr double kNear_m = 200.0;
constexpr double kFar_m = 400.0;
constexpr float kTrackWidth_m = 10.0F;
constexpr float kHeadingWidth_m = 5.0F;

sorvane::GeoPosition positionOf(const osg::Vec3d& p) { return {p.x(), p.y(), p.z()}; }
osg::Vec3d vectorOf(const sorvane::GeoPosition& p) { return {p.longitude_deg, p.latitude_deg, p.altitude_m}; }

}  // namespace

globe::PlaceNode* QMapWidget::add_place(double lon, double lat, const std::string& name) {
    const osg::ref_ptr<globe::PlaceNode> place = makePlaceNode(*m_map_node, lon, lat, name);
    m_marker_group->addChild(place);
    ask_for_frame();
    return place.get();
}

void QMapWidget::set_target_location(double lon, double lat, std::uint32_t /*alt*/) {
    if (lon == m_target_lon && lat == m_target_lat) {
        return;
    }
    m_target_lon = lon;
    m_target_lat = lat;
    refresh_target_mark();
}

void QMapWidget::refresh_target_mark() {
    for (globe::PlaceNode* mark : m_target_marks) {
        m_marker_group->removeChild(mark);
    }
    m_target_marks.clear();
    m_target_marks.push_back(add_place(m_target_lon, m_target_lat, "Target"));
}

void QMapWidget::update_aircraft(double lon, double lat, double alt, float heading) {
    update_plane_model(lon, lat, alt, heading);
    update_footprint({lon, lat, alt}, static_cast<double>(heading), kFov_deg, kNear_m, kFar_m);
}

void QMapWidget::update_plane_model(double lon, double lat, double alt, float heading) {
    const sorvane::GeoPosition now = {lon, lat, alt};
    if (sorvane::hasNan(now)) {
        return;
    }
    const bool first = sorvane::hasNan(positionOf(m_last_pos));
    // The model keeps its rotation then, even if the heading has changed: meant.
    if (!first && sorvane::samePosition(now, positionOf(m_last_pos))) {
        return;
    }
    append_to_track({lon, lat, alt}, first);
    m_last_pos.set(lon, lat, alt);
    if (m_plane == nullptr) {
        build_plane();
    }
    m_plane->setPosition(globe::GeoPoint(m_map_node->getMapSRS(), lon, lat, alt));
    const double yaw_rad = globe::toRadians(static_cast<double>(360.0F - heading));
    m_plane->setLocalRotation(osg::Quat(yaw_rad, osg::Vec3d(0, 0, 1)));
    if (m_plane_center->getValue()) {
        center_on(lon, lat, alt);
    }
    ask_for_frame();
}

void QMapWidget::append_to_track(const osg::Vec3d& position, bool first) {
    m_track.push_back(position);
    if (first) {
        return;
    }
    // The line grows by its new end: built whole, a fix would cost more with every fix before it.
    if (m_track_node != nullptr) {
        m_track_node->appendPoint(position);
        return;
    }
    const osg::ref_ptr<globe::FeatureNode> line = make_line_node(m_track, globe::Color::Red, kTrackWidth_m);
    m_track_node = line.get();
    m_root->addChild(line);
}

// The material covers every mark of the group, not the aircraft alone.
void QMapWidget::build_plane() {
    const osg::ref_ptr<globe::ModelNode> plane = makeAircraftNode(*m_map_node);
    m_plane = plane.get();
    m_marker_group->addChild(plane);
    osg::ref_ptr<osg::Material> material = new osg::Material;
    material->setDiffuse(osg::Material::FRONT_AND_BACK, osg::Vec4(1, 0, 0, 1));
    m_marker_group->getOrCreateStateSet()->setAttribute(material);
}

// Heading, pitch and range stay; there is no flight.
void QMapWidget::center_on(double lon, double lat, double alt) {
    globe::Viewpoint viewpoint = m_manipulator->getViewpoint();
    viewpoint.setFocalPoint(globe::GeoPoint(viewpoint.focalPoint()->getSRS(), lon, lat, alt));
    m_manipulator->setViewpoint(viewpoint, 0.0);
}

void QMapWidget::update_footprint(const osg::Vec3d& center, double heading, double fov, double near_m,
                                  double far_m) {
    const sorvane::Footprint ahead = sorvane::footprintOf(positionOf(center), heading, fov, near_m, far_m);
    m_root->removeChild(m_footprint_node);
    m_footprint_node = make_polygon_node({vectorOf(ahead.corners[0]), vectorOf(ahead.corners[1]),
                                          vectorOf(ahead.corners[2]), vectorOf(ahead.corners[3])});
    m_root->removeChild(m_heading_node);
    const osg::ref_ptr<globe::FeatureNode> line =
        make_line_node({center, vectorOf(ahead.middle)}, globe::Color::Green, kHeadingWidth_m);
    m_heading_node = line.get();
    m_root->addChild(line);
    ask_for_frame();
}

osg::Vec3d QMapWidget::destination_point(double lon, double lat, double alt, double bearing_deg,
                                         double distance_m) {
    return vectorOf(sorvane::destinationPoint({lon, lat, alt}, bearing_deg, distance_m));
}

double QMapWidget::great_circle_km(double lat1, double lon1, double lat2, double lon2) {
    return sorvane::greatCircleKm(lat1, lon1, lat2, lon2);
}

osg::ref_ptr<globe::FeatureNode> QMapWidget::make_line_node(const std::vector<osg::Vec3d>& points,
                                                            const globe::Color& color, float width_m) {
    return makeLineFeature(*m_map_node, points, color, width_m);
}

globe::FeatureNode* QMapWidget::make_polygon_node(const std::vector<osg::Vec3d>& points) {
    const osg::ref_ptr<globe::FeatureNode> node = makePolygonFeature(*m_map_node, points);
    m_root->addChild(node);
    return node.get();
}

void QMapWidget::show_flag_circle(double lon, double lat, int radius_m) {
    osg::Group* earth = m_earth_node->asGroup();
    if (m_flag_group.valid()) {
        earth->removeChild(m_flag_group.get());
    }
    m_flag_group = new osg::Group;
    earth->addChild(m_flag_group);
    m_flag_group->addChild(makeFlagDisc(*m_map_node, lon, lat, radius_m));
    m_flag_group->addChild(makeFlagNode(*m_map_node, lon, lat));
    ask_for_frame();
}
