// The nodes that a map draws its marks with; none is attached to a scene yet.
#pragma once

#include <osg/Vec3d>
#include <osg/ref_ptr>
#include <string>
#include <vector>

#include "globe/circle_node.h"
#include "globe/color.h"
#include "globe/feature_node.h"
#include "globe/map_node.h"
#include "globe/model_node.h"
#include "globe/place_node.h"

// Positions are longitude, latitude in degrees and altitude in metres. GUI thread.

// An icon with a label that gives way to others; "Target" has an icon of its own.
osg::ref_ptr<globe::PlaceNode> makePlaceNode(globe::MapNode& map, double lon, double lat,
                                             const std::string& name);
// An icon without a label.
osg::ref_ptr<globe::PlaceNode> makeFlagNode(globe::MapNode& map, double lon, double lat);
osg::ref_ptr<globe::CircleNode> makeFlagDisc(globe::MapNode& map, double lon, double lat, double radius_m);
osg::ref_ptr<globe::ModelNode> makeAircraftNode(globe::MapNode& map);
// At the points' own altitudes, along rhumb lines.
osg::ref_ptr<globe::FeatureNode> makeLineFeature(globe::MapNode& map, const std::vector<osg::Vec3d>& points,
                                                 const globe::Color& color, float width_m);
// Draped over the terrain.
osg::ref_ptr<globe::FeatureNode> makePolygonFeature(globe::MapNode& map,
                                                    const std::vector<osg::Vec3d>& points);
