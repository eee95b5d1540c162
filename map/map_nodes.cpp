#include "map/map_nodes.h"

#include "globe/altitude_symbol.h"
#include "globe/feature.h"
#include "globe/feature_geometry.h"
#include "globe/geo_interpolation.h"
#include "globe/geo_point.h"
#include "globe/globe_config.h"
#include "globe/icon_symbol.h"
#include "globe/line_symbol.h"
#include "globe/model_symbol.h"
#include "globe/polygon_symbol.h"
#include "globe/style.h"
#include "globe/text_symbol.h"

namespace {

const char* const kPlaceIcon = "./earth/placemark32.png";
const char* const kTargetIcon = "./earth/target.png";
const char* const kAircraftModel = "./earth/drone.osgb.10.scale";
constexpr float kFootprintAlpha = 0.2F;
constexpr float kDiscAlpha = 0.5F;
constexpr double kDrapeOffset_m = 0.1;

const globe::SpatialReference* geographic(const globe::MapNode& map) {
    return map.getMapSRS()->getGeographicSRS();
}

globe::AltitudeSymbol* drape(globe::Style& style) {
    auto* altitude = style.getOrCreate<globe::AltitudeSymbol>();
    altitude->clamping() = globe::AltitudeSymbol::CLAMP_TO_TERRAIN;
    altitude->technique() = globe::AltitudeSymbol::TECHNIQUE_DRAPE;
    return altitude;
}

osg::ref_ptr<globe::FeatureNode> makeFeatureNode(globe::MapNode& map, globe::Geometry* shape,
                                                 const globe::Style& style) {
    osg::ref_ptr<globe::Feature> feature = new globe::Feature(shape, map.getMapSRS());
    feature->geoInterp() = globe::GEOINTERP_RHUMB_LINE;
    return new globe::FeatureNode(feature.get(), style, globe::GeometryCompilerOptions(globe::Config()));
}

}  // namespace

osg::ref_ptr<globe::PlaceNode> makePlaceNode(globe::MapNode& map, double lon, double lat,
                                             const std::string& name) {
    globe::Style style;
    auto* icon = style.getOrCreate<globe::IconSymbol>();
    icon->url() = name == "Target" ? kTargetIcon : kPlaceIcon;
    icon->declutter() = true;
    style.getOrCreate<globe::TextSymbol>()->halo() = globe::Stroke(globe::Color("#5f5f5f"));
    osg::ref_ptr<globe::PlaceNode> node =
        new globe::PlaceNode(globe::GeoPoint(geographic(map), lon, lat), name, style);
    node->setMapNode(&map);
    return node;
}

osg::ref_ptr<globe::PlaceNode> makeFlagNode(globe::MapNode& map, double lon, double lat) {
    globe::Style style;
    auto* icon = style.getOrCreate<globe::IconSymbol>();
    icon->url() = kPlaceIcon;
    icon->declutter() = true;
    osg::ref_ptr<globe::PlaceNode> node =
        new globe::PlaceNode(globe::GeoPoint(geographic(map), lon, lat), std::string(), style);
    node->setMapNode(&map);
    return node;
}

osg::ref_ptr<globe::CircleNode> makeFlagDisc(globe::MapNode& map, double lon, double lat, double radius_m) {
    globe::Style style;
    style.getOrCreate<globe::PolygonSymbol>()->fill() = globe::Fill(globe::Color::Teal, kDiscAlpha);
    drape(style);
    osg::ref_ptr<globe::CircleNode> node = new globe::CircleNode;
    node->set(globe::GeoPoint(geographic(map), lon, lat), radius_m, style, -180.0, 180.0, true);
    return node;
}

osg::ref_ptr<globe::ModelNode> makeAircraftNode(globe::MapNode& map) {
    globe::Style style;
    style.getOrCreate<globe::ModelSymbol>()->url() = kAircraftModel;
    return new globe::ModelNode(&map, style);
}

osg::ref_ptr<globe::FeatureNode> makeLineFeature(globe::MapNode& map, const std::vector<osg::Vec3d>& points,
                                                 const globe::Color& color, float width_m) {
    globe::Style style;
    globe::Stroke& stroke = style.getOrCreate<globe::LineSymbol>()->stroke();
    stroke.color() = color;
    stroke.width() = static_cast<double>(width_m);
    stroke.widthUnits() = globe::Units::METERS;
    return makeFeatureNode(map, new globe::LineString(points), style);
}

osg::ref_ptr<globe::FeatureNode> makePolygonFeature(globe::MapNode& map,
                                                    const std::vector<osg::Vec3d>& points) {
    globe::Style style;
    style.getOrCreate<globe::PolygonSymbol>()->fill() = globe::Fill(globe::Color::Yellow, kFootprintAlpha);
    drape(style)->verticalOffset() = kDrapeOffset_m;
    return makeFeatureNode(map, new globe::Polygon(points), style);
}
