// A map in a window of the test's own, over the bare ellipsoid, and the geometry by which it is judged.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QTest>
#include <cmath>
#include <memory>
#include <osg/Geode>
#include <osg/ShapeDrawable>
#include <osg/Timer>
#include <osgDB/WriteFile>
#include <vector>

#include "globe/graphics_window_qt.h"
#include "map/map_owner.h"
#include "map/qmapwidget.h"
#include "tests/widgets/wait.h"
#include "widgets/common_dlg.h"

// The one door to a map's private fields.
struct MapAccess {
    QMapWidget& w;

#define SORVANE_MAP_FIELD(name) \
    auto& name() const { return w.name; }
    SORVANE_MAP_FIELD(m_viewer)
    SORVANE_MAP_FIELD(m_root)
    SORVANE_MAP_FIELD(m_camera)
    SORVANE_MAP_FIELD(m_earth_node)
    SORVANE_MAP_FIELD(m_map_node)
    SORVANE_MAP_FIELD(m_manipulator)
    SORVANE_MAP_FIELD(m_timer_id)
    SORVANE_MAP_FIELD(m_coord_label)
    SORVANE_MAP_FIELD(m_problem_label)
    SORVANE_MAP_FIELD(m_locate_dlg)
    SORVANE_MAP_FIELD(m_locate_ui)
    SORVANE_MAP_FIELD(m_target_lon)
    SORVANE_MAP_FIELD(m_target_lat)
    SORVANE_MAP_FIELD(m_marker_group)
    SORVANE_MAP_FIELD(m_target_marks)
    SORVANE_MAP_FIELD(m_left_pressed)
    SORVANE_MAP_FIELD(m_plane)
    SORVANE_MAP_FIELD(m_flag_group)
    SORVANE_MAP_FIELD(m_cursor_lon)
    SORVANE_MAP_FIELD(m_cursor_lat)
    SORVANE_MAP_FIELD(m_cursor_alt)
    SORVANE_MAP_FIELD(m_scale_bar)
    SORVANE_MAP_FIELD(m_compass)
    SORVANE_MAP_FIELD(m_track)
    SORVANE_MAP_FIELD(m_track_node)
    SORVANE_MAP_FIELD(m_heading_node)
    SORVANE_MAP_FIELD(m_footprint_node)
    SORVANE_MAP_FIELD(m_plane_center)
#undef SORVANE_MAP_FIELD

    globe::GLWidget* surface() const {
        return static_cast<globe::GraphicsWindowQt*>(w.m_camera->getGraphicsContext())->getGLWidget();
    }
    void click(const std::string& control) const { w.on_control_click(control); }
    unsigned int frames() const { return w.m_viewer->getFrameStamp()->getFrameNumber(); }
};

// What a map asked of the window, in its order.
struct RecordingOwner : MapOwner {
    struct Call {
        char kind;  // 'b' a hold begins, 's' a payload is sent, 'e' a hold ends
        const void* who;
        int code;
        QByteArray data;
    };
    void geoHoldBegins(const void* who, std::uint8_t code) override { calls.push_back({'b', who, code, {}}); }
    void sendCommandPayload(std::uint8_t code, const void* data, int n) override {
        calls.push_back({'s', nullptr, code, QByteArray(static_cast<const char*>(data), n)});
    }
    void geoHoldEnded(const void* who) override { calls.push_back({'e', who, 0, {}}); }
    bool onWindowEdge(const QPoint& global) const override { return edge.contains(global); }
    QWidget* dialogParent() override { return parent; }

    QString kinds() const {
        QString text;
        for (const Call& call : calls) {
            text += QLatin1Char(call.kind);
        }
        return text;
    }
    std::vector<Call> calls;
    QRect edge;
    QWidget* parent = nullptr;
};

struct Place {
    double lon, lat;
};

// Where the line of sight of a pixel meets the ellipsoid, for an eye `range_m` straight above a place, north
// up, with 30 degrees from the lower to the upper edge. Worked out here from the figure of the earth alone.
inline Place placeUnder(const Place& below, double range_m, const QPointF& pixel, const QSize& size) {
    constexpr double kPi = 3.14159265358979323846;
    constexpr double kA = 6378137.0;
    constexpr double kB = 6356752.3142;
    const double lon = below.lon * kPi / 180;
    const double lat = below.lat * kPi / 180;
    const double e2 = 1 - kB * kB / (kA * kA);
    const double n = kA / std::sqrt(1 - e2 * std::sin(lat) * std::sin(lat));
    const osg::Vec3d up(std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat));
    const osg::Vec3d east(-std::sin(lon), std::cos(lon), 0);
    const osg::Vec3d north = up ^ east;
    const osg::Vec3d foot(n * up.x(), n * up.y(), n * (1 - e2) * up.z());
    const osg::Vec3d eye = foot + up * range_m;
    const double half = std::tan(15 * kPi / 180) / (size.height() / 2.0);
    const osg::Vec3d sight = east * ((pixel.x() - size.width() / 2.0) * half) +
                             north * ((size.height() / 2.0 - pixel.y()) * half) - up;
    // On the unit sphere after scaling each axis.
    const osg::Vec3d from(eye.x() / kA, eye.y() / kA, eye.z() / kB);
    const osg::Vec3d way(sight.x() / kA, sight.y() / kA, sight.z() / kB);
    const double a = way * way;
    const double b = from * way;
    const double t = (-b - std::sqrt(b * b - a * (from * from - 1))) / a;
    const osg::Vec3d hit = eye + sight * t;
    const double across = std::hypot(hit.x(), hit.y());
    return {std::atan2(hit.y(), hit.x()) * 180 / kPi, std::atan2(hit.z(), across * (1 - e2)) * 180 / kPi};
}

class MapScene : public ::testing::Test {
protected:
    static constexpr double kSevenRadii = 7 * 6378137.0;
    static constexpr int kDeadline_ms = 40000;

    // Data of the test's own, so that the run-time tree stays as it is. The aircraft, shown ten times as
    // large, is a cube of 200 m.
    void SetUp() override {
        QDir home(QCoreApplication::applicationDirPath());
        home.mkpath(QStringLiteral("here/earth"));
        QDir::setCurrent(home.filePath(QStringLiteral("here")));
        writeEarth("<map name=\"bare\" type=\"geocentric\" version=\"2\"></map>\n");
        osg::ref_ptr<osg::Geode> cube = new osg::Geode;
        cube->addDrawable(new osg::ShapeDrawable(new osg::Box({}, 20.0F)));
        ASSERT_TRUE(osgDB::writeNodeFile(*cube, "earth/drone.osgb"));
    }
    void TearDown() override {
        map.reset();
        window.reset();
        QMapWidget::drop_preload();
        QDir::setCurrent(QCoreApplication::applicationDirPath());
    }

    static void writeEarth(const QByteArray& xml) {
        QFile file(QStringLiteral("earth/XEarth.earth"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(xml);
    }

    void build(const QSize& size = {640, 480}) {
        QMapWidget::preload_earth();
        window = std::make_unique<QWidget>();
        window->setGeometry(100, 100, size.width(), size.height());
        owner.parent = window.get();
        map = std::make_unique<QMapWidget>(window.get(), owner);
        map->setGeometry(0, 0, size.width(), size.height());
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get(), kDeadline_ms));
        ASSERT_TRUE(waitFor([this] { return in().surface()->windowHandle() != nullptr; }, kDeadline_ms));
        ASSERT_TRUE(waitFor([this] { return in().surface()->windowHandle()->isExposed(); }, kDeadline_ms));
    }
    // Straight above a place, at rest.
    void lookAt(const Place& place, double range_m) {
        in().m_manipulator()->setViewpoint(
            globe::Viewpoint("", place.lon, place.lat, 0.0, 0.0, -90.0, range_m), 0.0);
        in().m_viewer()->requestRedraw();
        settle();
    }
    // A flight counts its seconds by the view's clock, from the first frame on: the clock is put on.
    void endFlight() {
        ASSERT_TRUE(in().m_manipulator()->isSettingViewpoint());
        const unsigned int before = in().frames();
        ASSERT_TRUE(waitFor([&] { return in().frames() > before; }, kDeadline_ms));
        constexpr double kLonger_s = 10.0;
        osgViewer::Viewer& viewer = *in().m_viewer();
        viewer.setStartTick(
            viewer.getStartTick() -
            static_cast<osg::Timer_t>(kLonger_s / osg::Timer::instance()->getSecondsPerTick()));
        viewer.requestRedraw();
        settle();
    }
    // What waits has been worked through: nothing asks for a frame any more.
    void settle() {
        ASSERT_TRUE(waitFor(
            [this] {
                return !in().m_manipulator()->isSettingViewpoint() && !in().m_map_node()->isLoading() &&
                       !in().m_viewer()->checkNeedToDoFrame();
            },
            kDeadline_ms))
            << in().frames() << " frames, flight " << in().m_manipulator()->isSettingViewpoint();
    }
    // Handed over at once, unlike a move of the screen's own pointer.
    void moveTo(const QPoint& at, Qt::MouseButtons buttons = {}) {
        QMouseEvent move(QEvent::MouseMove, at, map->mapToGlobal(at), Qt::NoButton, buttons, {});
        QCoreApplication::sendEvent(in().surface(), &move);
        settle();
    }
    void press(const QPoint& at, Qt::MouseButton button = Qt::LeftButton) {
        QTest::mousePress(in().surface(), button, {}, at);
    }
    void release(const QPoint& at, Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseRelease(in().surface(), button, {}, at);
    }
    bool waitCalls(std::size_t count) {
        return waitFor([&] { return owner.calls.size() >= count; }, kDeadline_ms);
    }
    MapAccess in() const { return {*map}; }

    RecordingOwner owner;
    std::unique_ptr<QWidget> window;
    std::unique_ptr<QMapWidget> map;
};
