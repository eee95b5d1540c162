// What a map's scene is made of, how it came to be read, and which of its frames are drawn.
#include <QAbstractEventDispatcher>
#include <QWheelEvent>
#include <atomic>
#include <ctime>
#include <future>
#include <mutex>
#include <osg/Material>
#include <osgDB/Registry>
#include <set>
#include <thread>

#include "globe/altitude_symbol.h"
#include "globe/control_canvas.h"
#include "globe/control_containers.h"
#include "globe/date_time.h"
#include "globe/icon_symbol.h"
#include "globe/image_control.h"
#include "globe/line_symbol.h"
#include "globe/polygon_symbol.h"
#include "globe/text_symbol.h"
#include "map/earth_preload.h"
#include "map_scene.h"

namespace {

using globe::Control;
using globe::LabelControl;

constexpr Place kHere = {112.44, 33.75};
const osg::Vec4f kWhite(1, 1, 1, 1);
const osg::Vec4f kBlack(0, 0, 0, 1);

class MapParts : public MapScene {
protected:
    void SetUp() override {
        MapScene::SetUp();
        build();
    }
    // The controls of a box, or of the canvas.
    static std::vector<Control*> within(osg::Group* holder) {
        std::vector<Control*> found;
        for (unsigned int i = 0; i < holder->getNumChildren(); ++i) {
            if (auto* control = dynamic_cast<Control*>(holder->getChild(i))) {
                found.push_back(control);
            }
        }
        return found;
    }
    std::vector<Control*> onCanvas() const {
        return within(globe::ControlCanvas::get(in().m_viewer())->getChild(0)->asGroup());
    }
    // The box on the canvas that holds the control.
    globe::HBox* boxOf(const Control* control) const {
        for (Control* box : onCanvas()) {
            for (const Control* child : within(box)) {
                if (child == control) {
                    return dynamic_cast<globe::HBox*>(box);
                }
            }
        }
        return nullptr;
    }
    globe::SkyNode* sky() const { return dynamic_cast<globe::SkyNode*>(in().m_root()->getChild(0)); }
};

TEST_F(MapParts, TheViewIsSetUpForOneThreadAndASkyLight) {
    const osg::Camera& camera = *in().m_camera();
    EXPECT_EQ(camera.getClearColor(), osg::Vec4(0.2F, 0.2F, 0.6F, 1.0F));
    const auto* traits = camera.getGraphicsContext()->getTraits();
    EXPECT_FALSE(traits->windowDecoration);
    EXPECT_TRUE(traits->doubleBuffer);
    EXPECT_EQ(traits->samples, 8U);
    EXPECT_EQ(in().m_viewer()->getThreadingModel(), osgViewer::ViewerBase::SingleThreaded);
    EXPECT_EQ(in().m_viewer()->getLightingMode(), osg::View::SKY_LIGHT);
    EXPECT_TRUE(in().m_manipulator()->getSettings()->getArcViewpointTransitions());
    const auto timers = QAbstractEventDispatcher::instance()->registeredTimers(map.get());
    ASSERT_EQ(timers.size(), 1);
    EXPECT_EQ(timers[0].timerId, in().m_timer_id());
    EXPECT_EQ(timers[0].interval, 10);
}

TEST_F(MapParts, TheSkyStandsAboveTheMapAndItsSunStandsStill) {
    ASSERT_NE(sky(), nullptr);
    EXPECT_EQ(sky()->getName(), "SkyNode");
    EXPECT_TRUE(sky()->containsNode(in().m_map_node()));
    ASSERT_NE(sky()->getSunLight(), nullptr);
    EXPECT_EQ(sky()->getSunLight()->getLightNum(), 0);
    EXPECT_FLOAT_EQ(sky()->getSunLight()->getAmbient().r(), 0.1F);
    // Where it stood when the map was made: a minute turns it by a quarter of a degree.
    const osg::ref_ptr<globe::SkyNode> now = globe::SkyNode::create();
    now->setDateTime(globe::DateTime(std::time(nullptr)));
    EXPECT_GT(sky()->sunDirection() * now->sunDirection(), std::cos(3.14159265 / 180));
    const osg::Vec3d before = sky()->sunDirection();
    lookAt(kHere, 1e6);
    EXPECT_EQ(sky()->sunDirection(), before);
}

TEST_F(MapParts, TheReadOutStandsAtTheLowerLeft) {
    const LabelControl& label = *in().m_coord_label();
    EXPECT_EQ(label.text(), "");
    EXPECT_EQ(label.fontSize(), 13.0F);
    EXPECT_EQ(label.foreColor(), kWhite);
    EXPECT_EQ(label.backColor(), osg::Vec4f(0, 0, 0, 0.2F));
    EXPECT_EQ(label.horizAlign(), Control::ALIGN_LEFT);
    EXPECT_EQ(label.vertAlign(), Control::ALIGN_BOTTOM);
    EXPECT_EQ(label.margin().bottom, 10.0F);
}

TEST_F(MapParts, TheTargetsImageTheBoxAndItsNameStandAtTheUpperLeft) {
    globe::HBox* const box = boxOf(in().m_plane_center());
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->horizAlign(), Control::ALIGN_NONE);
    EXPECT_EQ(box->vertAlign(), Control::ALIGN_NONE);
    const std::vector<Control*> row = within(box);
    ASSERT_EQ(row.size(), 3U);
    EXPECT_NE(dynamic_cast<globe::ImageControl*>(row[0]), nullptr);
    EXPECT_EQ(row[0]->getName(), "locate_target");
    EXPECT_EQ(row[1], in().m_plane_center());
    EXPECT_FALSE(in().m_plane_center()->getValue());
    const auto* name = dynamic_cast<LabelControl*>(row[2]);
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(name->text(), "plane center");
    EXPECT_EQ(name->fontSize(), 18.0F);
    EXPECT_EQ(name->foreColor(), kWhite);
    // Their middles are level.
    lookAt(kHere, 1e6);
    const auto middle = [](const Control* c) { return c->renderRect().y + c->renderRect().height / 2; };
    EXPECT_NEAR(middle(row[1]), middle(row[2]), 1.0F);
    EXPECT_EQ(box->renderRect().x, 0.0F);
    EXPECT_EQ(box->renderRect().y, 0.0F);
}

TEST_F(MapParts, TheScaleStandsAtTheTopWithItsTextAhead) {
    ScaleBar& scale = *in().m_scale_bar();
    globe::HBox* const box = boxOf(scale.label());
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(within(box), (std::vector<Control*>{scale.label(), scale.bar()}));
    EXPECT_EQ(box->horizAlign(), Control::ALIGN_CENTER);
    EXPECT_EQ(box->vertAlign(), Control::ALIGN_TOP);
    for (const float side :
         {box->padding().top, box->padding().right, box->padding().bottom, box->padding().left}) {
        EXPECT_EQ(side, 2.0F);
    }
    EXPECT_EQ(box->childSpacing(), 2.0F);
    EXPECT_TRUE(box->vertFill());
    EXPECT_EQ(box->foreColor(), osg::Vec4f(0, 0, 0, 0.8F));
    EXPECT_EQ(box->backColor(), osg::Vec4f(1, 1, 1, 0.5F));
    EXPECT_EQ(scale.label()->text(), "2000 km");
    EXPECT_EQ(scale.label()->fontSize(), 12.0F);
    EXPECT_EQ(scale.label()->foreColor(), kBlack);
    EXPECT_TRUE(scale.bar()->vertFill());
    EXPECT_EQ(scale.bar()->foreColor(), osg::Vec4f(0, 0, 0, 0.8F));
    EXPECT_EQ(scale.bar()->backColor(), osg::Vec4f(1, 1, 1, 0.5F));
    EXPECT_EQ(scale.bar()->borderColor(), kBlack);
    EXPECT_EQ(scale.bar()->width(), 48.9383544921875F);
}

void expectLine(const globe::FeatureNode* node, const globe::Color& color, double width_m) {
    const auto* line = node->getStyle().get<globe::LineSymbol>();
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->stroke().color(), color);
    EXPECT_EQ(line->stroke().width(), width_m);
    EXPECT_EQ(line->stroke().widthUnits(), globe::Units::METERS);
    // At the points' own altitudes.
    EXPECT_FALSE(node->getStyle().has<globe::AltitudeSymbol>());
}

TEST_F(MapParts, LinesAndAreasHaveTheirColoursAndWidths) {
    map->update_aircraft(112, 33, 800, 90.0F);
    map->update_aircraft(112.001, 33, 800, 90.0F);
    expectLine(in().m_track_node(), globe::Color::Red, 10.0);
    expectLine(in().m_heading_node(), globe::Color::Green, 5.0);
    EXPECT_EQ(in().m_track_node()->getFeature()->geoInterp(), globe::GEOINTERP_RHUMB_LINE);
    EXPECT_EQ(in().m_heading_node()->getFeature()->geoInterp(), globe::GEOINTERP_RHUMB_LINE);
    const auto& line = in().m_heading_node()->getFeature()->getGeometry()->asVector();
    ASSERT_EQ(line.size(), 2U);
    EXPECT_EQ(line[0], osg::Vec3d(112.001, 33, 800));
    EXPECT_NEAR(QMapWidget::great_circle_km(33, 112.001, line[1].y(), line[1].x()), 0.3, 1e-6);
    const globe::Style& style = in().m_footprint_node()->getStyle();
    ASSERT_TRUE(style.has<globe::PolygonSymbol>() && style.has<globe::AltitudeSymbol>());
    EXPECT_EQ(style.get<globe::PolygonSymbol>()->fill().color(), globe::Color(globe::Color::Yellow, 0.2F));
    EXPECT_EQ(style.get<globe::AltitudeSymbol>()->clamping(), 1);
    EXPECT_EQ(style.get<globe::AltitudeSymbol>()->technique(), 3);
    EXPECT_EQ(style.get<globe::AltitudeSymbol>()->verticalOffset(), 0.1);
    // One material for all marks of the group.
    const auto* attribute = in().m_marker_group()->getStateSet()->getAttribute(osg::StateAttribute::MATERIAL);
    ASSERT_NE(attribute, nullptr);
    const auto& material = dynamic_cast<const osg::Material&>(*attribute);
    EXPECT_EQ(material.getDiffuse(osg::Material::FRONT), osg::Vec4(1, 0, 0, 1));
    EXPECT_EQ(material.getDiffuse(osg::Material::BACK), osg::Vec4(1, 0, 0, 1));
}

TEST_F(MapParts, MarksHaveTheirIconsAndGiveWay) {
    map->set_target_location(10, 20, 0);
    const globe::PlaceNode* const target = in().m_target_marks().at(0);
    const auto* const city = dynamic_cast<globe::PlaceNode*>(in().m_marker_group()->getChild(0));
    ASSERT_NE(city, nullptr);
    EXPECT_EQ(target->getStyle().get<globe::IconSymbol>()->url(), "./earth/target.png");
    EXPECT_EQ(city->getStyle().get<globe::IconSymbol>()->url(), "./earth/placemark32.png");
    for (const globe::PlaceNode* mark : {target, const_cast<const globe::PlaceNode*>(city)}) {
        EXPECT_TRUE(mark->getStyle().get<globe::IconSymbol>()->declutter());
        ASSERT_TRUE(mark->getStyle().has<globe::TextSymbol>());
        EXPECT_EQ(mark->getStyle().get<globe::TextSymbol>()->halo()->color(), globe::Color("#5f5f5f"));
    }
    EXPECT_EQ(city->getPosition().x(), 139.75);
    EXPECT_EQ(city->getPosition().y(), 35.68);
    // A name in another spelling is no target.
    EXPECT_EQ(map->add_place(1, 2, "target")->getStyle().get<globe::IconSymbol>()->url(),
              "./earth/placemark32.png");
}

TEST_F(MapParts, TheCircleAndItsMarkStandOnOnePlace) {
    map->show_flag_circle(-30.5, 40.25, 250);
    ASSERT_EQ(in().m_flag_group()->getNumChildren(), 2U);
    const auto* disc = dynamic_cast<globe::CircleNode*>(in().m_flag_group()->getChild(0));
    const auto* mark = dynamic_cast<globe::PlaceNode*>(in().m_flag_group()->getChild(1));
    ASSERT_TRUE(disc != nullptr && mark != nullptr);
    EXPECT_EQ(disc->getRadius(), 250.0);
    EXPECT_EQ(mark->getText(), "");
    EXPECT_EQ(mark->getStyle().get<globe::IconSymbol>()->url(), "./earth/placemark32.png");
    EXPECT_TRUE(mark->getStyle().get<globe::IconSymbol>()->declutter());
    for (const globe::GeoPoint& at : {disc->getPosition(), mark->getPosition()}) {
        EXPECT_EQ(at.x(), -30.5);
        EXPECT_EQ(at.y(), 40.25);
    }
    const osg::ref_ptr<osg::Group> first = in().m_flag_group();
    map->show_flag_circle(1, 2, 3);
    EXPECT_EQ(first->getNumParents(), 0U);
}

TEST_F(MapParts, PlaneCenterKeepsTheAttitudeAndWaitsForAMove) {
    in().m_manipulator()->setViewpoint(globe::Viewpoint("", kHere.lon, kHere.lat, 0, 33.0, -48.0, 50000), 0);
    map->update_aircraft(100, 20, 700, 0.0F);
    in().m_plane_center()->setValue(true);
    // Standing still it moves nothing, although the box has been checked since.
    map->update_aircraft(100, 20, 700, 45.0F);
    EXPECT_NEAR(in().m_manipulator()->getViewpoint().focalPoint()->x(), kHere.lon, 1e-9);
    map->update_aircraft(100, 20, 701, 45.0F);
    const globe::Viewpoint now = in().m_manipulator()->getViewpoint();
    EXPECT_FALSE(in().m_manipulator()->isSettingViewpoint());
    EXPECT_NEAR(now.focalPoint()->x(), 100, 1e-9);
    EXPECT_NEAR(now.focalPoint()->z(), 701, 1e-3);
    EXPECT_NEAR(*now.heading(), 33.0, 1e-9);
    EXPECT_NEAR(*now.pitch(), -48.0, 1e-9);
    EXPECT_NEAR(*now.range(), 50000, 1e-3);
}

TEST_F(MapParts, AHeightOfNothingGivesAnInfiniteRatio) {
    lookAt(kHere, 1e6);
    map->setGeometry(0, 0, 640, 0);
    // Half a width of a far plane that is infinitely wide.
    EXPECT_EQ(in().m_camera()->getProjectionMatrix()(0, 0), 0.0);
    EXPECT_EQ(in().surface()->height(), 0);
    map->setGeometry(0, 0, 640, 480);
    EXPECT_NEAR(in().m_camera()->getProjectionMatrix()(0, 0),
                in().m_camera()->getProjectionMatrix()(1, 1) * 480 / 640, 1e-12);
}

TEST_F(MapParts, AHiddenMapDrawsNothingWhileTheOtherGoesOn) {
    QWidget below;
    below.setGeometry(100, 620, 300, 200);
    QMapWidget second(&below, owner);
    second.setGeometry(0, 0, 300, 200);
    below.show();
    const MapAccess other{second};
    ASSERT_TRUE(waitFor([&] { return other.frames() > 2; }, kDeadline_ms));
    second.hide();
    const unsigned int stopped = other.frames();
    const unsigned int before = in().frames();
    ASSERT_TRUE(waitFor(
        [&] {
            in().m_viewer()->requestRedraw();
            other.m_viewer()->requestRedraw();
            return in().frames() > before + 5;
        },
        kDeadline_ms));
    EXPECT_EQ(other.frames(), stopped);
    second.show();
    EXPECT_TRUE(waitFor([&] { return other.frames() > stopped; }, kDeadline_ms));
}

TEST_F(MapParts, ADragThatPansLeavesTheScaleAndTheWheelBringsItBack) {
    lookAt(kHere, 1000);
    in().m_scale_bar()->update();
    EXPECT_EQ(in().m_scale_bar()->label()->text(), "100 m");
    // Now another distance would be read, and a pan does not read it.
    lookAt(kHere, 10000);
    moveTo({320, 240});
    press({320, 240});
    moveTo({380, 200}, Qt::LeftButton);
    release({380, 200});
    ASSERT_TRUE(waitCalls(3));
    settle();
    EXPECT_NE(in().m_manipulator()->getViewpoint().focalPoint()->x(), kHere.lon);
    EXPECT_EQ(in().m_scale_bar()->label()->text(), "100 m");
    // Gone over the sky, and back with the next notch.
    in().m_scale_bar()->label()->setText("");
    in().m_scale_bar()->bar()->setWidth(0);
    QWheelEvent notch(QPointF(320, 240), map->mapToGlobal(QPoint(320, 240)), {}, {0, 120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(in().surface(), &notch);
    EXPECT_TRUE(waitFor([&] { return in().m_scale_bar()->label()->text() == "1 km"; }, kDeadline_ms));
    EXPECT_GT(in().m_scale_bar()->bar()->width(), 0.0F);
}

// The way to the right plays no part, however long it is.
TEST_F(MapParts, ZoomLooksAtTheWayUpwardsAlone) {
    lookAt(kHere, 401);
    in().m_manipulator()->zoom(1e9, 399.0 / 401 - 1, nullptr);
    EXPECT_NEAR(in().m_manipulator()->getDistance(), 401, 1e-6);
    in().m_manipulator()->zoom(-1e9, 0.5, nullptr);
    EXPECT_NEAR(in().m_manipulator()->getDistance(), 601.5, 1e-6);
    in().m_manipulator()->set_max_distance(700);
    in().m_manipulator()->zoom(0, 0.2, nullptr);
    EXPECT_NEAR(in().m_manipulator()->getDistance(), 601.5, 1e-6);
}

// What the scene graph's loader was asked for.
class ReadsOfEarth : public osgDB::Registry::ReadFileCallback {
public:
    osgDB::ReaderWriter::ReadResult readNode(const std::string& name,
                                             const osgDB::Options* options) override {
        if (name != "./earth/XEarth.earth") {
            return osgDB::Registry::ReadFileCallback::readNode(name, options);
        }
        if (++begun == 2 && m_gate.valid()) {
            m_gate.wait();
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_threads.insert(std::this_thread::get_id());
        }
        auto result = osgDB::Registry::ReadFileCallback::readNode(name, options);
        ++ended;
        return result;
    }
    // The second read waits for it.
    void holdSecond(std::shared_future<void> gate) { m_gate = std::move(gate); }
    std::set<std::thread::id> threads() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_threads;
    }
    std::atomic<int> begun{0};
    std::atomic<int> ended{0};

private:
    std::shared_future<void> m_gate;
    mutable std::mutex m_mutex;
    std::set<std::thread::id> m_threads;
};

class Preload : public MapScene {
protected:
    void SetUp() override {
        MapScene::SetUp();
        osgDB::Registry::instance()->setReadFileCallback(reads);
    }
    void TearDown() override {
        MapScene::TearDown();
        osgDB::Registry::instance()->setReadFileCallback(nullptr);
    }
    const osg::ref_ptr<ReadsOfEarth> reads = new ReadsOfEarth;
};

TEST_F(Preload, ReadsTheEarthFileTwiceOnAThreadOfItsOwn) {
    QMapWidget::preload_earth();
    const osg::ref_ptr<osg::Node> first = takeEarth(std::chrono::seconds(40));
    const osg::ref_ptr<osg::Node> second = takeEarth(std::chrono::seconds(40));
    ASSERT_TRUE(first.valid() && second.valid());
    EXPECT_NE(first, second);
    EXPECT_EQ(reads->ended, 2);
    ASSERT_EQ(reads->threads().size(), 1U);
    EXPECT_EQ(reads->threads().count(std::this_thread::get_id()), 0U);
    // There is no third.
    EXPECT_FALSE(takeEarth(std::chrono::seconds(40)).valid());
    EXPECT_EQ(reads->begun, 2);
}

TEST_F(Preload, WhoTakesTheFirstWaitsForTheSecondToo) {
    std::promise<void> gate;
    reads->holdSecond(gate.get_future().share());
    QMapWidget::preload_earth();
    ASSERT_TRUE(waitFor([&] { return reads->begun == 2; }, kDeadline_ms));
    EXPECT_EQ(reads->ended, 1);
    auto taken = std::async(std::launch::async, [] { return takeEarth(std::chrono::seconds(40)); });
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    gate.set_value();
    EXPECT_TRUE(taken.get().valid());
    EXPECT_EQ(reads->ended, 2);
}

}  // namespace
