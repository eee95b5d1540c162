// The two globes in the real window: what brings them up, what a hand on them sends, and that they stay out
// of the way.
#include <QAbstractEventDispatcher>
#include <QLineEdit>
#include <QSplitter>
#include <QStackedWidget>
#include <QTabWidget>
#include <QWindow>
#include <QtEndian>
#include <cstdlib>
#include <cstring>

#include "hand.h"
#include "link_peer.h"
#include "tests/map/map_scene.h"
#include "widgets/my_trans_dlg.h"
#include "wire_frames.h"

namespace {

constexpr int kDeadline_ms = 40000;
// Deep sea: the ground is the ellipsoid, whatever heights are loaded.
constexpr Place kSea = {150, 20};
constexpr double kRange_m = 1e6;

class MapWindow : public LinkTest {
protected:
    // The window with both maps up, at rest over the sea.
    void startWithMaps(const QMap<QString, QVariant>& values = {}) {
        start(values);
        ASSERT_FALSE(HasFatalFailure());
        showMaps();
    }
    void showMaps() {
        ui().action_map->trigger();
        ASSERT_NE(in().m_map1(), nullptr);
        ASSERT_NE(in().m_map2(), nullptr);
        for (QMapWidget* map : {in().m_map1(), in().m_map2()}) {
            ASSERT_TRUE(waitFor([&] { return exposed(map); }, kDeadline_ms));
            ASSERT_NO_FATAL_FAILURE(lookAtSea(map));
        }
    }
    static bool exposed(QMapWidget* map) {
        const QWindow* surface = MapAccess{*map}.surface()->windowHandle();
        return surface != nullptr && surface->isExposed();
    }
    void lookAtSea(QMapWidget* map) {
        const MapAccess to{*map};
        to.m_manipulator()->setViewpoint(globe::Viewpoint("", kSea.lon, kSea.lat, 0, 0, -90, kRange_m), 0.0);
        const unsigned int before = to.frames();
        to.m_viewer()->requestRedraw();
        ASSERT_TRUE(waitFor([&] { return to.frames() > before + 1 || !to.m_viewer()->checkNeedToDoFrame(); },
                            kDeadline_ms));
    }
    // What hides and shows the strip, with the sign that it was made with.
    QPushButton* stripToggle() const {
        auto* toggle = window->findChild<QPushButton*>("m_bottom_map_btn");
        EXPECT_NE(toggle, nullptr);
        return toggle;
    }
    void expectToggleAsTold(const QPushButton* toggle) const {
        EXPECT_EQ(toggle->text(), "∨");
        EXPECT_EQ(toggle->font().family(), "OCR A Std");
        EXPECT_EQ(toggle->font().pointSize(), 12);
        EXPECT_TRUE(toggle->font().bold());
        EXPECT_EQ(toggle->geometry(), QRect(0, 0, 40, 20));
        auto* holder = qobject_cast<MyTransDlg*>(toggle->parentWidget());
        ASSERT_NE(holder, nullptr);
        EXPECT_EQ(holder->parentWidget(), ui().widget_6);
        EXPECT_EQ(holder->size(), QSize(40, 20));
    }
    // At the lower edge of the pictures, wherever that is.
    bool toggleComesToItsPlace(const QPushButton* toggle) const {
        return waitFor(
            [&] {
                const QPoint edge(ui().widget_6->width() / 2, ui().widget_6->height() - 20);
                return toggle->parentWidget()->pos() == ui().widget_6->mapToGlobal(edge);
            },
            kDeadline_ms);
    }
    // The pointer comes to the map and is seen there.
    void hoverOver(QMapWidget* map, const QPoint& at) {
        const MapAccess to{*map};
        hand.move(map->mapToGlobal(at) + QPoint(7, 7));
        const Place expected = placeUnder(kSea, kRange_m, at, map->size());
        int step = 0;
        // A surface that is just being made anew sees no pointer: it comes again, a pixel beside.
        ASSERT_TRUE(waitFor(
            [&] {
                hand.move(map->mapToGlobal(at) + QPoint(++step % 2, 0));
                return std::fabs(to.m_cursor_lon() - expected.lon) < 0.05 &&
                       std::fabs(to.m_cursor_lat() - expected.lat) < 0.05;
            },
            kDeadline_ms))
            << to.m_cursor_lon() << " " << to.m_cursor_lat();
    }
    bool waitFrames(std::size_t count) {
        return waitFor([&] { return peer.count() >= count; }, kDeadline_ms);
    }
    // The stop of a hold in periodic mode: the frame carries no command any more.
    bool waitIdle() {
        return waitFor(
            [&] {
                const auto frames = peer.take();
                return !frames.empty() && frames.back()[2] == '\0';
            },
            kDeadline_ms);
    }
    bool waitCommand(char code) {
        return waitFor(
            [&] {
                const auto frames = peer.take();
                return !frames.empty() && frames.back()[2] == code;
            },
            kDeadline_ms);
    }
    void TearDown() override {
        hand.lift();
        LinkTest::TearDown();
    }

    Hand hand;
};

TEST_F(MapWindow, NothingStandsBeforeTheActionThatBringsItUp) {
    start();
    letTheStartEnd();
    EXPECT_EQ(in().m_map1(), nullptr);
    EXPECT_EQ(in().m_map2(), nullptr);
    EXPECT_TRUE(ui().action_map->isEnabled());
    EXPECT_TRUE(ui().widget_5->isHidden());
    EXPECT_EQ(window->findChild<QPushButton*>("m_bottom_map_btn"), nullptr);
    // Reports and fixes before that have nowhere to go.
    stop();

    ASSERT_NO_FATAL_FAILURE(startWithMaps());
    EXPECT_EQ(ui().tabWidget->currentWidget(), ui().widget_map);
    EXPECT_TRUE(ui().tabWidget->isVisible());
    EXPECT_EQ(in().m_btnCtrlPane()->text(), ">");
    EXPECT_TRUE(ui().widget_5->isVisible());
    const QList<int> sizes = ui().splitter_3->sizes();
    EXPECT_NEAR(sizes[0], sizes[1], 2);
    EXPECT_EQ(in().m_map1()->geometry(), ui().widget_map->rect());
    EXPECT_EQ(in().m_map2()->geometry(), ui().widget_5->rect());

    QPushButton* const toggle = stripToggle();
    ASSERT_NE(toggle, nullptr);
    ASSERT_NO_FATAL_FAILURE(expectToggleAsTold(toggle));
    EXPECT_TRUE(toggleComesToItsPlace(toggle));
    // The sign is there, and not as the box of a missing one: hidden and shown it looks different.
    const QImage down = toggle->grab().toImage();

    toggle->click();
    EXPECT_EQ(toggle->text(), "∧");
    EXPECT_NE(toggle->grab().toImage(), down);
    EXPECT_TRUE(ui().widget_5->isHidden());
    EXPECT_EQ(MapAccess{*in().m_map2()}.m_timer_id(), 0);
    EXPECT_NE(MapAccess{*in().m_map1()}.m_timer_id(), 0);
    EXPECT_TRUE(toggleComesToItsPlace(toggle));
    toggle->click();
    EXPECT_EQ(toggle->text(), "∨");
    EXPECT_TRUE(ui().widget_5->isVisible());
    EXPECT_NE(MapAccess{*in().m_map2()}.m_timer_id(), 0);
    EXPECT_TRUE(toggleComesToItsPlace(toggle));
}

TEST_F(MapWindow, TheActionBringsThemUpAgainAndChangesNothingElse) {
    ASSERT_NO_FATAL_FAILURE(startWithMaps());
    QPushButton* const toggle = stripToggle();
    ASSERT_NE(toggle, nullptr);
    QMapWidget* const first = in().m_map1();
    ui().action_map->trigger();
    EXPECT_EQ(in().m_map1(), first);
    EXPECT_EQ(window->findChildren<QPushButton*>("m_bottom_map_btn").size(), 1);
    toggle->click();
    ui().action_map->trigger();
    EXPECT_TRUE(ui().widget_5->isVisible());
    EXPECT_EQ(toggle->text(), "∧");
    toggle->click();
    EXPECT_TRUE(ui().widget_5->isHidden());
    EXPECT_EQ(toggle->text(), "∧");
}

// Notes the order in which groups get their children.
class NotingGroup : public osg::Group {
public:
    NotingGroup(QString* order, QChar name) : m_order(order), m_name(name) {}
    void childInserted(unsigned int) override { m_order->append(m_name); }

private:
    QString* m_order;
    QChar m_name;
};

TEST_F(MapWindow, AHandOnAGlobeSendsThePodThere) {
    ASSERT_NO_FATAL_FAILURE(startWithMaps({{"common/send_single", true}}));
    openUdp();
    letTheStartEnd();
    for (QMapWidget* map : {in().m_map1(), in().m_map2()}) {
        peer.take();
        const QPoint at = map->rect().center() + QPoint(31, -40);
        hoverOver(map, at);
        hand.press();
        ASSERT_TRUE(waitFrames(1));
        hand.release();
        const QByteArray frame = peer.take().front();
        // Head, size, code, payload, sum.
        ASSERT_EQ(frame.size(), 19);
        EXPECT_EQ(frame.left(6).toHex(), "fb2caa0e1c00");
        const Place expected = placeUnder(kSea, kRange_m, at, map->size());
        const Place beside = placeUnder(kSea, kRange_m, at + QPoint(2, 2), map->size());
        const auto word = [&](int i) { return qFromLittleEndian<qint32>(frame.constData() + 6 + i); };
        EXPECT_NEAR(word(0) / 1e7, expected.lon, std::fabs(beside.lon - expected.lon));
        EXPECT_NEAR(word(4) / 1e7, expected.lat, std::fabs(beside.lat - expected.lat));
        EXPECT_EQ(frame, variableFrame(28, frame.mid(6, 12)));
    }

    // The dialog of the first map, and what its button sends.
    QMapWidget* const map = in().m_map1();
    hand.click(map->mapToGlobal(map->rect().center()), 3);
    common_dlg* const dialog = MapAccess{*map}.m_locate_dlg();
    ASSERT_TRUE(waitFor([&] { return dialog->isVisible(); }, kDeadline_ms));
    EXPECT_FALSE(MapAccess{*in().m_map2()}.m_locate_dlg()->isVisible());
    const auto& form = MapAccess{*map}.m_locate_ui();
    EXPECT_EQ(form.btn_geo_guid->text(), "地理指引");
    EXPECT_NEAR(form.edit_lng->text().toDouble(), kSea.lon, 0.1);
    form.edit_lat->setText("33.75");
    form.edit_alt->setText("12.5");
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog, kDeadline_ms));
    peer.take();
    hand.click(form.btn_geo_guid->mapToGlobal(form.btn_geo_guid->rect().center()));
    ASSERT_TRUE(waitFrames(1));
    EXPECT_EQ(peer.take().front(), variableFrame(27, hex("7d00000060d71d1400000000")));
    dialog->hide();
}

TEST_F(MapWindow, ReportsAndFixesReachBothMaps) {
    ASSERT_NO_FATAL_FAILURE(startWithMaps());
    const auto post = [this](int type, const QByteArray& bytes) {
        void* block = std::malloc(static_cast<std::size_t>(bytes.size()));
        std::memcpy(block, bytes.constData(), static_cast<std::size_t>(bytes.size()));
        QCoreApplication::postEvent(window.get(), new QMyEvent(type, nullptr, block, bytes.size()));
        QCoreApplication::sendPostedEvents(window.get(), type);
    };
    QString order;
    MapAccess{*in().m_map1()}.m_marker_group() = new NotingGroup(&order, '1');
    MapAccess{*in().m_map2()}.m_marker_group() = new NotingGroup(&order, '2');
    sorvane::TelemetryRecord record;
    record.target_longitude = 1504000000;
    record.target_latitude = -205000000;
    post(EVT_TELEMETRY, QByteArray(reinterpret_cast<const char*>(&record), sizeof record));
    EXPECT_EQ(order, "12") << "targets";
    order.clear();
    // What the inertial unit fed to the pod is no fix.
    sorvane::NavBlock nav;
    nav.longitude = 1000000000;
    post(EVT_NAV_BLOCK, QByteArray(reinterpret_cast<const char*>(&nav), sizeof nav));
    EXPECT_TRUE(MapAccess{*in().m_map1()}.m_track().empty());
    EXPECT_TRUE(MapAccess{*in().m_map2()}.m_track().empty());
    QByteArray ins(53, '\0');
    const auto put = [&ins](int at, auto value) { std::memcpy(ins.data() + at, &value, sizeof value); };
    put(10, 271.5F);
    put(22, qint32{205000000});
    put(26, qint32{-1754000000});
    put(30, qint32{1234567});
    post(EVT_INS_FRAME, ins);
    EXPECT_EQ(order, "21") << "aircraft";
    for (QMapWidget* map : {in().m_map1(), in().m_map2()}) {
        const MapAccess on{*map};
        EXPECT_EQ(on.m_target_lon(), 150.4);
        EXPECT_EQ(on.m_target_lat(), -20.5);
        EXPECT_EQ(on.m_target_marks().size(), 1U);
        ASSERT_EQ(on.m_track().size(), 1U);
        EXPECT_EQ(on.m_track()[0], osg::Vec3d(-175.4, 20.5, 1234));
        const osg::Vec3d nose = on.m_plane()->getLocalRotation() * osg::Vec3d(0, 1, 0);
        EXPECT_NEAR(std::atan2(nose.x(), nose.y()) * 180 / 3.14159265358979, 271.5 - 360, 1e-4);
    }
}

TEST_F(MapWindow, WhatTakesTheHandAwayEndsItsCommand) {
    ASSERT_NO_FATAL_FAILURE(startWithMaps({{"common/send_single", false}, {"common/send_period_ms", 20}}));
    openUdp();
    QMapWidget* const map = in().m_map1();
    QMapWidget* const strip = in().m_map2();
    int step = 0;
    const auto pressOn = [&](QMapWidget* on) {
        // Elsewhere each time: the second press of a double click is none.
        const QPoint at = on->rect().center() + QPoint(0, ++step % 6 * 12 - 30);
        lookAtSea(on);
        hoverOver(on, at);
        hand.press();
        ASSERT_TRUE(waitCommand('\x1c'));
    };
    pressOn(map);
    hand.release();
    EXPECT_TRUE(waitIdle()) << "release";

    pressOn(map);
    hand.move(window->mapToGlobal(QPoint(400, 300)));
    hand.release();
    EXPECT_TRUE(waitIdle()) << "release outside";

    pressOn(strip);
    window->findChild<QPushButton*>("m_bottom_map_btn")->click();
    EXPECT_TRUE(waitIdle()) << "strip hidden";
    hand.release();
    window->findChild<QPushButton*>("m_bottom_map_btn")->click();
    ASSERT_TRUE(waitFor([&] { return exposed(strip); }, kDeadline_ms));
    // Nothing of it goes out at the next showing.
    peer.take();
    lookAtSea(strip);
    for (const QByteArray& frame : peer.take()) {
        EXPECT_EQ(frame[2], '\0');
    }

    pressOn(map);
    ui().tabWidget->setCurrentIndex(0);
    EXPECT_TRUE(waitIdle()) << "page changed";
    hand.release();
    ui().action_map->trigger();
    ASSERT_TRUE(waitFor([&] { return exposed(map); }, kDeadline_ms));

    pressOn(map);
    in().m_btnCtrlPane()->click();
    EXPECT_TRUE(waitIdle()) << "pane closed";
    hand.release();
}

TEST_F(MapWindow, ControlIsReachedFromTheMapInEveryLanguage) {
    ASSERT_NO_FATAL_FAILURE(startWithMaps());
    ui().tabWidget->setCurrentIndex(0);
    in().m_settings()->ui->cbb_selLang->setCurrentIndex(1);
    auto* tabs = in().m_ctrlSelect()->findChild<QTabWidget*>();
    ASSERT_NE(tabs, nullptr);
    ui().action_map->trigger();
    EXPECT_EQ(ui().tabWidget->currentIndex(), 2);
    EXPECT_EQ(tabs->currentIndex(), 0);
    ASSERT_TRUE(waitFor([&] { return tabs->isVisible(); }, kDeadline_ms));
    QTest::mouseClick(tabs->tabBar(), Qt::LeftButton, {}, tabs->tabBar()->tabRect(0).center());
    EXPECT_EQ(ui().tabWidget->currentIndex(), 0);
    ui().action_map->trigger();
    QTest::mouseClick(tabs->tabBar(), Qt::LeftButton, {}, tabs->tabBar()->tabRect(1).center());
    EXPECT_EQ(ui().tabWidget->currentIndex(), 1);
    ui().action_map->trigger();
    // The dialog follows the language when it opens.
    QMapWidget* const map = in().m_map1();
    ASSERT_TRUE(waitFor([&] { return exposed(map); }, kDeadline_ms));
    hand.click(map->mapToGlobal(map->rect().center()), 3);
    const auto& form = MapAccess{*map}.m_locate_ui();
    ASSERT_TRUE(waitFor([&] { return MapAccess{*map}.m_locate_dlg()->isVisible(); }, kDeadline_ms));
    EXPECT_EQ(form.btn_geo_guid->text(), "Geo guide");
    in().m_settings()->ui->cbb_selLang->setCurrentIndex(0);
}

TEST_F(MapWindow, KeysAndEdgesOfTheWindowWorkOverTheGlobe) {
    ASSERT_NO_FATAL_FAILURE(startWithMaps());
    QMapWidget* const map = in().m_map1();
    hoverOver(map, map->rect().center());
    hand.press();
    hand.release();
    ASSERT_TRUE(
        waitFor([&] { return QApplication::focusWidget() == MapAccess{*map}.surface(); }, kDeadline_ms));
    const bool shown = in().m_statPane()->isVisible();
    hand.key("F6");
    EXPECT_TRUE(waitFor([&] { return in().m_statPane()->isVisible() != shown; }, kDeadline_ms));
    hand.key("F6");
    EXPECT_TRUE(waitFor([&] { return in().m_statPane()->isVisible() == shown; }, kDeadline_ms));
    hand.key("F8");
    EXPECT_TRUE(waitFor([&] { return window->isFullScreen(); }, kDeadline_ms));
    hand.key("Escape");
    EXPECT_TRUE(waitFor([&] { return !window->isFullScreen() && window->isMaximized(); }, kDeadline_ms));

    window->showNormal();
    window->setGeometry(300, 100, 1200, 800);
    // The page reaches the right edge; in its lower part nothing floats over it.
    const auto right = [&] { return map->mapToGlobal(map->rect().bottomRight()).x(); };
    ASSERT_TRUE(waitFor(
        [&] {
            return window->geometry() == QRect(300, 100, 1200, 800) && exposed(map) && right() > 1495 &&
                   right() < 1500;
        },
        kDeadline_ms))
        << right();
    openUdp();
    letTheStartEnd();
    peer.take();
    const QPoint edge(1497, map->mapToGlobal(QPoint(0, map->height() * 3 / 4)).y());
    int step = 0;
    EXPECT_TRUE(waitFor(
        [&] {
            hand.move(edge - QPoint(++step % 2 == 0 ? 0 : 30, 0));
            return window->cursor().shape() == Qt::SizeHorCursor;
        },
        kDeadline_ms));
    hand.move(edge);
    hand.press();
    ASSERT_TRUE(waitFor([&] { return window->edgeResizing(); }, kDeadline_ms));
    hand.move(edge - QPoint(40, 0));
    EXPECT_TRUE(waitFor([&] { return window->width() == 1160; }, kDeadline_ms));
    hand.release();
    EXPECT_TRUE(waitFor([&] { return !window->edgeResizing(); }, kDeadline_ms));
    EXPECT_EQ(peer.count(), 0U);
}

TEST_F(MapWindow, ClosesWithMapsHeldShownAndNeverMade) {
    start();
    stop();
    ASSERT_NO_FATAL_FAILURE(startWithMaps({{"common/send_single", false}, {"common/send_period_ms", 20}}));
    openUdp();
    QMapWidget* const map = in().m_map1();
    hoverOver(map, map->rect().center());
    hand.press();
    ASSERT_TRUE(waitCommand('\x1c'));
    window->close();
    EXPECT_TRUE(waitIdle());
    stop();
    hand.lift();
}

}  // namespace
