// Colours, styles and features.
#include <gtest/gtest.h>

#include "globe/altitude_symbol.h"
#include "globe/color.h"
#include "globe/feature.h"
#include "globe/geometry_compiler_options.h"
#include "globe/icon_symbol.h"
#include "globe/line_symbol.h"
#include "globe/polygon_symbol.h"
#include "globe/text_symbol.h"

namespace globe {
namespace {

TEST(Colors, NamedOnesAreThoseOfHtml) {
    EXPECT_EQ(Color::Red.toHTML(), "#ff0000ff");
    EXPECT_EQ(Color::Green.toHTML(), "#008000ff");
    EXPECT_EQ(Color::Lime.toHTML(), "#00ff00ff");
    EXPECT_EQ(Color::Yellow.toHTML(), "#ffff00ff");
    EXPECT_EQ(Color::Teal.toHTML(), "#008080ff");
    EXPECT_EQ(Color::White.toHTML(), "#ffffffff");
}

TEST(Colors, AreReadFromHtmlAndTakeAnotherAlpha) {
    EXPECT_EQ(Color("#5f5f5f").toHTML(), "#5f5f5fff");
    EXPECT_EQ(Color("#5F5f5F").toHTML(), "#5f5f5fff");
    EXPECT_EQ(Color("12345678").toHTML(), "#12345678");
    for (const char* bad : {"", "#", "#12345", "#1234567", "red", "#12345g", "##123456"}) {
        EXPECT_EQ(Color(bad).toHTML(), "#000000ff") << bad;
    }
    EXPECT_EQ(Color(Color::Yellow, 0.2f).toHTML(), "#ffff0033");
    EXPECT_EQ(Color(2.0f, -1.0f, 0.5f).toHTML(), "#ff0080ff");
}

TEST(Styles, HoldOneSymbolOfAKindAndShareItWithTheirCopies) {
    Style style;
    EXPECT_TRUE(style.empty());
    EXPECT_EQ(style.get<LineSymbol>(), nullptr);
    LineSymbol* line = style.getOrCreate<LineSymbol>();
    line->stroke() = Stroke(Color::Red, 10.0, Units::METERS);
    EXPECT_EQ(style.getOrCreate<LineSymbol>(), line);
    EXPECT_FALSE(style.has<PolygonSymbol>());
    style.getOrCreate<PolygonSymbol>();
    EXPECT_TRUE(style.has<PolygonSymbol>() && style.has<LineSymbol>());
    const Style copy = style;
    EXPECT_EQ(copy.get<LineSymbol>(), line);
    EXPECT_EQ(copy.get<LineSymbol>()->stroke().width(), 10.0);
    EXPECT_EQ(copy.get<LineSymbol>()->stroke().widthUnits(), Units::METERS);
}

TEST(Styles, NumbersAreAsFixed) {
    EXPECT_EQ(AltitudeSymbol::CLAMP_TO_TERRAIN, 1);
    EXPECT_EQ(AltitudeSymbol::TECHNIQUE_DRAPE, 3);
    EXPECT_EQ(GEOINTERP_RHUMB_LINE, 1);
}

TEST(Styles, HaloIsNoneUntilItIsSet) {
    TextSymbol text;
    EXPECT_FALSE(text.halo().has_value());
    text.halo() = Stroke(Color("#5f5f5f"));
    EXPECT_EQ(text.halo()->color().toHTML(), "#5f5f5fff");
    EXPECT_FALSE(IconSymbol().declutter());
}

TEST(Features, KeepTheirShapeAndInterpolation) {
    const osg::ref_ptr<Feature> feature =
        new Feature(new LineString({{1, 2, 3}}), SpatialReference::get("wgs84"));
    feature->getGeometry()->push_back(4, 5);
    feature->geoInterp() = GEOINTERP_RHUMB_LINE;
    EXPECT_EQ(feature->getGeometry()->size(), 2u);
    EXPECT_EQ((*feature->getGeometry())[1], osg::Vec3d(4, 5, 0));
    EXPECT_FALSE(feature->getGeometry()->isClosed());
    EXPECT_EQ(feature->geoInterp(), GEOINTERP_RHUMB_LINE);
    EXPECT_TRUE(osg::ref_ptr<Polygon>(new Polygon)->isClosed());
}

TEST(Features, OptionsComeFromAConfig) {
    EXPECT_EQ(GeometryCompilerOptions(Config()).maxStep(), 5000.0);
    Config config;
    config.set("max_step", 100.0);
    EXPECT_EQ(GeometryCompilerOptions(config).maxStep(), 100.0);
}

}  // namespace
}  // namespace globe
