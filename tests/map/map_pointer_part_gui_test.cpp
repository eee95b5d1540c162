// Which of the pointer's events mean what to a map, and what its dialog's buttons do with theirs.
#include <QPushButton>
#include <QValidator>
#include <QtEndian>
#include <osg/CoordinateSystemNode>
#include <osg/ShapeDrawable>

#include "app/events/my_event.h"
#include "globe/control_containers.h"
#include "map/handler_control.h"
#include "map/handler_pick.h"
#include "map/pick_drag.h"
#include "map_scene.h"

namespace {

constexpr Place kHere = {112.44, 33.75};
constexpr double kRange_m = 1e6;

QStringList g_said;
void note(QtMsgType, const QMessageLogContext&, const QString& text) { g_said << text; }

class MapPointer : public MapScene {
protected:
    void SetUp() override {
        MapScene::SetUp();
        build();
        lookAt(kHere, kRange_m);
    }
    void TearDown() override {
        g_pick_drag = false;
        MapScene::TearDown();
    }
    Place under(const QPoint& pixel) const { return placeUnder(kHere, kRange_m, pixel, map->size()); }
    // What a pixel there spans, in degrees of longitude and of latitude.
    Place reachOf(const QPoint& pixel) const {
        const Place at = under(pixel);
        const Place beside = under(pixel + QPoint(2, 2));
        return {std::fabs(beside.lon - at.lon), std::fabs(beside.lat - at.lat)};
    }
    void expectSent(const QByteArray& payload, const QPoint& pixel) const {
        ASSERT_EQ(payload.size(), 12);
        const auto degrees = [&](int at) {
            return qFromLittleEndian<qint32>(payload.constData() + at) / 1e7;
        };
        EXPECT_NEAR(degrees(0), under(pixel).lon, reachOf(pixel).lon);
        EXPECT_NEAR(degrees(4), under(pixel).lat, reachOf(pixel).lat);
    }
    QPushButton* button(const char* name) const {
        return in().m_locate_dlg()->findChild<QPushButton*>(QLatin1String(name));
    }
    void tell(int type, QObject* sender) {
        QMyEvent told(type, sender, nullptr, 0);
        QCoreApplication::sendEvent(map.get(), &told);
    }
};

TEST_F(MapPointer, APressSendsThePointSeenBeforeItAndLooksNoMore) {
    moveTo({250, 300});
    press({420, 130});
    ASSERT_TRUE(waitCalls(2));
    expectSent(owner.calls[1].data, {250, 300});
    release({420, 130});
    ASSERT_TRUE(waitCalls(3));
    EXPECT_EQ(owner.kinds(), "bse");
}

TEST_F(MapPointer, ADragPansAndIsOneCommand) {
    const QPoint from(280, 210);
    const QPoint to(380, 260);
    moveTo(from);
    press(from);
    ASSERT_TRUE(waitCalls(2));
    for (int step = 1; step <= 5; ++step) {
        moveTo(from + (to - from) * step / 5, Qt::LeftButton);
    }
    release(to);
    ASSERT_TRUE(waitCalls(3));
    EXPECT_EQ(owner.kinds(), "bse");
    expectSent(owner.calls[1].data, from);
    // The ground that was pressed lies under the pointer now.
    const auto focus = in().m_manipulator()->getViewpoint().focalPoint();
    ASSERT_GT(std::fabs(focus->x() - kHere.lon), 10 * reachOf(from).lon);
    const Place now = placeUnder({focus->x(), focus->y()}, kRange_m, to, map->size());
    EXPECT_NEAR(now.lon, under(from).lon, reachOf(from).lon);
    EXPECT_NEAR(now.lat, under(from).lat, reachOf(from).lat);
}

TEST_F(MapPointer, OverTheSkyAPressSendsTheLastPoint) {
    lookAt(kHere, kSevenRadii);
    moveTo({320, 240});
    moveTo({620, 470});
    press({620, 470});
    ASSERT_TRUE(waitCalls(2));
    const QByteArray sent = owner.calls[1].data;
    EXPECT_NEAR(qFromLittleEndian<qint32>(sent.constData()) / 1e7, kHere.lon, 0.5);
    EXPECT_NEAR(qFromLittleEndian<qint32>(sent.constData() + 4) / 1e7, kHere.lat, 0.5);
    release({620, 470});
    ASSERT_TRUE(waitCalls(3));
}

// The second press of a double click is none, but its release is one.
TEST_F(MapPointer, ADoubleClickIsOneCommand) {
    moveTo({320, 240});
    press({320, 240});
    release({320, 240});
    QMouseEvent again(QEvent::MouseButtonDblClick, QPoint(320, 240), map->mapToGlobal(QPoint(320, 240)),
                      Qt::LeftButton, Qt::LeftButton, {});
    QCoreApplication::sendEvent(in().surface(), &again);
    release({320, 240});
    ASSERT_TRUE(waitCalls(4));
    settle();
    EXPECT_EQ(owner.kinds(), "bsee");
    EXPECT_FALSE(in().m_left_pressed());
}

TEST_F(MapPointer, OtherButtonsSendNothing) {
    moveTo({320, 240});
    for (const Qt::MouseButton other : {Qt::MiddleButton, Qt::RightButton}) {
        press({320, 240}, other);
        moveTo({330, 250}, other);
        release({330, 250}, other);
        settle();
    }
    EXPECT_TRUE(owner.calls.empty());
    EXPECT_TRUE(in().m_locate_dlg()->isVisible());
}

TEST_F(MapPointer, APickedDragIsToldFromItsBeginningToItsEnd) {
    g_said.clear();
    const QtMessageHandler before = qInstallMessageHandler(note);
    moveTo({320, 240});
    press({320, 240});
    ASSERT_TRUE(waitCalls(2));
    moveTo({330, 240}, Qt::LeftButton);
    EXPECT_FALSE(g_said.contains("drag ing"));
    // As the picker does when something lies there.
    g_pick_drag = true;
    moveTo({340, 240}, Qt::LeftButton);
    EXPECT_TRUE(g_said.contains("drag ing"));
    EXPECT_FALSE(g_said.contains("drag end"));
    release({340, 240});
    ASSERT_TRUE(waitCalls(3));
    EXPECT_EQ(g_said.count("drag end"), 1);
    // Without a hit there is none.
    press({340, 240});
    release({340, 240});
    ASSERT_TRUE(waitCalls(6));
    qInstallMessageHandler(before);
    EXPECT_EQ(g_said.count("drag end"), 1);
}

// What is told to the picker is found under the pointer, and is dragged in place of the map.
TEST_F(MapPointer, AThingThatIsPickableIsDraggedAndTheMapStays) {
    osg::Vec3d there;
    osg::EllipsoidModel().convertLatLongHeightToXYZ(kHere.lat * 3.14159265358979 / 180,
                                                    kHere.lon * 3.14159265358979 / 180, 0, there.x(),
                                                    there.y(), there.z());
    const osg::ref_ptr<osg::Geode> ball = new osg::Geode;
    ball->addDrawable(new osg::ShapeDrawable(new osg::Sphere(there, 30000)));
    in().m_root()->addChild(ball);
    map->set_pickable(ball, 7);
    const auto focus = [this] { return in().m_manipulator()->getViewpoint().focalPoint()->x(); };
    const double before = focus();
    moveTo({320, 240});
    press({320, 240});
    ASSERT_TRUE(waitFor([] { return g_pick_drag; }, kDeadline_ms));
    moveTo({420, 240}, Qt::LeftButton);
    EXPECT_EQ(focus(), before);
    release({420, 240});
    ASSERT_TRUE(waitFor([] { return !g_pick_drag; }, kDeadline_ms));
    // Beside it the map is what is dragged.
    moveTo({200, 100});
    press({200, 100});
    moveTo({230, 100}, Qt::LeftButton);
    EXPECT_FALSE(g_pick_drag);
    EXPECT_NE(focus(), before);
    release({230, 100});
    ASSERT_TRUE(waitCalls(6));
}

TEST(MapHandlers, HandOnWhatTheyAreTold) {
    g_said.clear();
    const QtMessageHandler before = qInstallMessageHandler(note);
    int events = 0;
    const osg::ref_ptr<handler_pick> pick =
        new handler_pick([&](const osgGA::GUIEventAdapter&) { return ++events == 2; });
    osgViewer::Viewer viewer;
    const osg::ref_ptr<osgGA::GUIEventAdapter> event = new osgGA::GUIEventAdapter;
    EXPECT_FALSE(pick->accept(*event, viewer));
    EXPECT_TRUE(pick->accept(*event, viewer));
    pick->onMiss();
    EXPECT_FALSE(g_pick_drag);
    EXPECT_TRUE(g_said.isEmpty());
    pick->onHit(3);
    qInstallMessageHandler(before);
    EXPECT_TRUE(g_pick_drag);
    EXPECT_EQ(g_said, QStringList{"drag begin"});
    g_pick_drag = false;
    std::string clicked;
    const osg::ref_ptr<handler_control> click =
        new handler_control([&](const std::string& name) { clicked = name; });
    const osg::ref_ptr<globe::Frame> control = new globe::Frame;
    control->setName("locate_target");
    click->onClick(control);
    EXPECT_EQ(clicked, "locate_target");
}

TEST_F(MapPointer, OnLongitudeZeroTheFieldIsEmptyAndCountsAsZero) {
    in().m_cursor_lon() = 0;
    in().m_cursor_lat() = 33.75;
    in().m_cursor_alt() = 0;
    press({620, 470}, Qt::RightButton);
    release({620, 470}, Qt::RightButton);
    ASSERT_TRUE(waitFor([&] { return in().m_locate_dlg()->isVisible(); }, kDeadline_ms));
    EXPECT_EQ(in().m_locate_ui().edit_lng->text(), "");
    EXPECT_EQ(in().m_locate_ui().edit_alt->text(), "");
    tell(EVT_CMD_BTN_DOWN, button("btn_geo_track"));
    ASSERT_EQ(owner.kinds(), "bs");
    EXPECT_EQ(owner.calls[1].code, 28);
    EXPECT_EQ(owner.calls[1].data.toHex(), "0000000060d71d1400000000");
    // And a mark stands there.
    tell(EVT_CMD_BTN_DOWN, button("btn_flag"));
    const auto* disc = dynamic_cast<globe::CircleNode*>(in().m_flag_group()->getChild(0));
    EXPECT_EQ(disc->getPosition().x(), 0.0);
}

TEST_F(MapPointer, WhoPressesIsKnownByNameAndEveryReleaseEnds) {
    QObject stranger;
    stranger.setObjectName("btn_geo");
    tell(EVT_CMD_BTN_DOWN, &stranger);
    tell(EVT_CMD_BTN_DOWN, nullptr);
    EXPECT_TRUE(owner.calls.empty());
    tell(EVT_CMD_BTN_UP, &stranger);
    for (const char* name : {"btn_geo_guid", "btn_geo_track", "btn_flag"}) {
        tell(EVT_CMD_BTN_UP, button(name));
    }
    EXPECT_EQ(owner.kinds(), "eeee");
    // A radius with a letter in it is none.
    in().m_locate_ui().edit_radius->setText("12x");
    tell(EVT_CMD_BTN_DOWN, button("btn_flag"));
    EXPECT_EQ(dynamic_cast<globe::CircleNode*>(in().m_flag_group()->getChild(0))->getRadius(), 0.0);
}

TEST_F(MapPointer, TheDialogHasItsPlacesAndItsTarget) {
    const auto& ui = in().m_locate_ui();
    const auto at = [](const QWidget* w) { return w->geometry(); };
    EXPECT_EQ(in().m_locate_dlg()->parentWidget(), window.get());
    EXPECT_EQ(at(ui.widget_30), QRect(0, 0, 470, 36));
    EXPECT_EQ(at(ui.edit_lng), QRect(80, 40, 113, 30));
    EXPECT_EQ(at(ui.edit_lat), QRect(80, 80, 113, 30));
    EXPECT_EQ(at(ui.edit_alt), QRect(80, 120, 113, 30));
    EXPECT_EQ(at(ui.edit_radius), QRect(350, 40, 113, 30));
    EXPECT_EQ(at(ui.btn_geo_guid), QRect(30, 160, 100, 30));
    EXPECT_EQ(at(ui.btn_geo_track), QRect(190, 160, 100, 30));
    EXPECT_EQ(at(ui.btn_flag), QRect(340, 160, 100, 30));
    for (const QLineEdit* edit : {ui.edit_lng, ui.edit_lat, ui.edit_alt}) {
        EXPECT_EQ(edit->validator()->parent(), map.get());
    }
    EXPECT_FALSE(ui.toolButton->icon().isNull());
    EXPECT_EQ(ui.toolButton->text(), "...");
}

}  // namespace
