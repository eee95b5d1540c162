// A press on the globe and what the simulated pod makes of it: it looks there, and its reports bring the
// target's mark to the place.
#include "pod_fixture.h"
#include "tests/map/map_scene.h"

namespace {

constexpr int kPatience_ms = 60000;
// The landscape that the pod flies over, which the globe shows too: flat, 25 m high.
constexpr Place kVillage = {114.42, 30.45};
constexpr double kGround_m = 25.0;
constexpr double kRange_m = 900.0;

double metresBetween(const Place& a, const Place& b) {
    return 1000.0 * QMapWidget::great_circle_km(a.lat, a.lon, b.lat, b.lon);
}

class MapAndPod : public PodTest {
protected:
    void SetUp() override {
        startStation({{"common/send_single", true}});
        startPod();
        ui().action_map->trigger();
        ASSERT_NE(in().m_map1(), nullptr);
        ASSERT_NE(in().m_map2(), nullptr);
        ASSERT_TRUE(waitFor([&] { return exposed(); }, kPatience_ms));
        globe().m_manipulator()->setViewpoint(
            globe::Viewpoint("", kVillage.lon, kVillage.lat, kGround_m, 0, -90, kRange_m), 0.0);
    }
    MapAccess globe() const { return {*in().m_map1()}; }
    bool exposed() const {
        const QWindow* surface = globe().surface()->windowHandle();
        return surface != nullptr && surface->isExposed();
    }
    void send(QEvent::Type type, const QPoint& at, Qt::MouseButton button, Qt::MouseButtons held) const {
        QMouseEvent event(type, at, globe().surface()->mapToGlobal(at), button, held, {});
        QCoreApplication::sendEvent(globe().surface(), &event);
    }
    Place target() const {
        return {in().m_telemetry().target_longitude / 1e7, in().m_telemetry().target_latitude / 1e7};
    }
    Place cursor() const { return {globe().m_cursor_lon(), globe().m_cursor_lat()}; }
};

TEST_F(MapAndPod, APressBringsTheTargetToTheSpot) {
    connectToPod();
    ASSERT_TRUE(waitFor([&] { return target().lon != 0; }, kPatience_ms));
    // Until the fine ground has come in.
    const QPoint at = globe().surface()->rect().center() + QPoint(45, -30);
    int step = 0;
    ASSERT_TRUE(waitFor(
        [&] {
            send(QEvent::MouseMove, at + QPoint(++step % 2, 0), Qt::NoButton, Qt::NoButton);
            return std::fabs(globe().m_cursor_alt() - kGround_m) < 2 && !globe().m_map_node()->isLoading();
        },
        kPatience_ms))
        << globe().m_cursor_alt();
    send(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton);
    const unsigned int before = globe().frames();
    ASSERT_TRUE(waitFor([&] { return globe().frames() > before + 1; }, kPatience_ms));
    const Place spot = cursor();
    ASSERT_GT(metresBetween(spot, target()), 10.0) << "it looks there already";
    send(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
    EXPECT_TRUE(waitFor([&] { return metresBetween(spot, target()) < 3.0; }, kPatience_ms))
        << metresBetween(spot, target()) << " m beside it";
    send(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
    // Every report moves the marks of both maps.
    for (QMapWidget* map : {in().m_map1(), in().m_map2()}) {
        EXPECT_EQ(MapAccess{*map}.m_target_lon(), target().lon);
        EXPECT_EQ(MapAccess{*map}.m_target_lat(), target().lat);
        ASSERT_EQ(MapAccess{*map}.m_target_marks().size(), 1U);
        EXPECT_EQ(MapAccess{*map}.m_target_marks()[0]->getPosition().x(), target().lon);
    }
}

}  // namespace
