// The pointer on a globe: what it reads, what it sends, and that what it holds ends.
#include <QScreen>
#include <QValidator>
#include <QtEndian>

#include "globe/registry.h"
#include "map/locate_dialog.h"
#include "map/pick_drag.h"
#include "map_scene.h"

namespace {

constexpr Place kHere = {112.44, 33.75};

class MapPick : public MapScene {
protected:
    void SetUp() override {
        MapScene::SetUp();
        build();
    }
    static qint32 word(const QByteArray& payload, int at) {
        return qFromLittleEndian<qint32>(payload.constData() + at);
    }
    // Within what two pixels see there.
    void expectPayload(const QByteArray& payload, const QPoint& pixel, double range_m) const {
        ASSERT_EQ(payload.size(), 12);
        const Place expected = placeUnder(kHere, range_m, pixel, map->size());
        const Place beside = placeUnder(kHere, range_m, pixel + QPoint(2, 2), map->size());
        EXPECT_NEAR(word(payload, 0) / 1e7, expected.lon, std::fabs(beside.lon - expected.lon));
        EXPECT_NEAR(word(payload, 4) / 1e7, expected.lat, std::fabs(beside.lat - expected.lat));
        EXPECT_NEAR(word(payload, 8) / 10.0, 0.0, 1.0);
    }
};

TEST_F(MapPick, APressBeforeTheFirstHoverSendsNoNumbers) {
    lookAt(kHere, kSevenRadii);
    // The corner is sky.
    moveTo({600, 470});
    EXPECT_TRUE(std::isnan(in().m_cursor_lon()));
    press({600, 470});
    ASSERT_TRUE(waitCalls(2));
    EXPECT_EQ(owner.calls[1].code, 28);
    EXPECT_EQ(owner.calls[1].data.toHex(), "000000800000008000000080");
    release({600, 470});
    ASSERT_TRUE(waitCalls(3));
    EXPECT_EQ(owner.kinds(), "bse");
    EXPECT_EQ(owner.calls[0].code, 28);
    EXPECT_EQ(owner.calls[0].who, owner.calls[2].who);
}

TEST_F(MapPick, APressSendsThePointUnderThePointer) {
    for (const double range_m : {kSevenRadii, 1e6, 2000.0}) {
        lookAt(kHere, range_m);
        for (const QPoint& at : {QPoint(371, 150), QPoint(250, 300)}) {
            owner.calls.clear();
            moveTo(at);
            press(at);
            ASSERT_TRUE(waitCalls(2));
            expectPayload(owner.calls[1].data, at, range_m);
            release(at);
            ASSERT_TRUE(waitCalls(3));
            settle();
        }
    }
}

// The first thing that is met counts: over the aircraft that is the aircraft, also for the pod.
TEST_F(MapPick, TheAircraftIsReadWhereItHidesTheGround) {
    lookAt(kHere, 5000.0);
    map->update_aircraft(kHere.lon, kHere.lat, 800, 0.0F);
    settle();
    const QPoint over(320, 240);
    moveTo(over);
    EXPECT_NEAR(in().m_cursor_alt(), 900.0, 1.0);
    press(over);
    ASSERT_TRUE(waitCalls(2));
    EXPECT_NEAR(word(owner.calls[1].data, 8) / 10.0, 900.0, 1.0);
    release(over);
    ASSERT_TRUE(waitCalls(3));
    moveTo(over + QPoint(60, 0));
    EXPECT_NEAR(in().m_cursor_alt(), 0.0, 1.0);
    EXPECT_GT(in().m_cursor_lon(), kHere.lon + 0.003);
}

TEST_F(MapPick, OverTheSkyTheLastPointStays) {
    lookAt(kHere, kSevenRadii);
    moveTo({320, 240});
    const std::string text = in().m_coord_label()->text();
    EXPECT_EQ(text.rfind("Lon:112.", 0), 0U) << text;
    const double lon = in().m_cursor_lon();
    moveTo({600, 470});
    EXPECT_EQ(in().m_cursor_lon(), lon);
    EXPECT_EQ(in().m_coord_label()->text(), text);
}

TEST_F(MapPick, TheMarkOfADragComesDownWithTheRelease) {
    lookAt(kHere, 1e6);
    moveTo({320, 240});
    press({320, 240});
    ASSERT_TRUE(waitCalls(2));
    EXPECT_TRUE(in().m_left_pressed());
    g_pick_drag = true;
    // A picked thing that is dragged leaves the map where it is.
    const double lon = in().m_manipulator()->getViewpoint().focalPoint()->x();
    moveTo({420, 240}, Qt::LeftButton);
    EXPECT_EQ(in().m_manipulator()->getViewpoint().focalPoint()->x(), lon);
    release({420, 240});
    ASSERT_TRUE(waitCalls(3));
    EXPECT_FALSE(g_pick_drag);
    EXPECT_FALSE(in().m_left_pressed());
}

TEST_F(MapPick, APickedThingIsDraggedUntilTheRelease) {
    lookAt(kHere, 5000.0);
    map->update_aircraft(kHere.lon, kHere.lat, 800, 0.0F);
    map->set_pickable(in().m_plane(), 4711);
    EXPECT_EQ(globe::Registry::instance()->getObjectIndex()->get<osg::Node>(4711), in().m_plane());
    moveTo({320, 240});
    press({320, 240});
    EXPECT_TRUE(waitFor([] { return g_pick_drag; }, kDeadline_ms));
    release({320, 240});
    ASSERT_TRUE(waitCalls(3));
    EXPECT_FALSE(g_pick_drag);
    // Let go before the hit is known, there is nothing to drag.
    press({320, 240});
    release({320, 240});
    ASSERT_TRUE(waitCalls(6));
    settle();
    EXPECT_FALSE(g_pick_drag);
    EXPECT_EQ(owner.kinds(), "bsebse");
}

TEST_F(MapPick, HidingEndsThePressOnce) {
    lookAt(kHere, 1e6);
    moveTo({320, 240});
    press({320, 240});
    ASSERT_TRUE(waitCalls(2));
    map->hide();
    EXPECT_EQ(owner.kinds(), "bse");
    map->show();
    release({320, 240});
    settle();
    EXPECT_EQ(owner.kinds(), "bse");
}

// A press that waits for its frame must not go out when the map comes up again.
TEST_F(MapPick, HidingForgetsWhatWaits) {
    lookAt(kHere, 1e6);
    moveTo({320, 240});
    press({320, 240});
    map->hide();
    map->show();
    settle();
    release({320, 240});
    settle();
    EXPECT_FALSE(owner.kinds().contains('s')) << qPrintable(owner.kinds());
    EXPECT_FALSE(in().m_left_pressed());
    // The next press is one again.
    owner.calls.clear();
    press({320, 240});
    ASSERT_TRUE(waitCalls(2));
    release({320, 240});
    ASSERT_TRUE(waitCalls(3));
    EXPECT_EQ(owner.kinds(), "bse");
}

TEST_F(MapPick, TheHoldEndsFromOutside) {
    lookAt(kHere, 1e6);
    moveTo({320, 240});
    press({320, 240});
    ASSERT_TRUE(waitCalls(2));
    map->endHold();
    EXPECT_EQ(owner.kinds(), "bse");
    map->endHold();
    release({320, 240});
    settle();
    EXPECT_EQ(owner.kinds(), "bse");
}

TEST_F(MapPick, AContextThatIsLostEndsThePressAndTheGlobe) {
    lookAt(kHere, 1e6);
    moveTo({300, 200});
    press({300, 200});
    ASSERT_TRUE(waitCalls(2));
    auto& surface =
        static_cast<globe::GraphicsWindowQt&>(*in().m_viewer()->getCamera()->getGraphicsContext());
    surface.closeImplementation();
    ASSERT_FALSE(surface.valid());
    ASSERT_TRUE(waitCalls(3)) << "with the hand still there";
    EXPECT_EQ(owner.kinds(), "bse");
    EXPECT_FALSE(in().m_left_pressed());
    release({300, 200});
    // What the hand does there afterwards goes nowhere, and nothing of it piles up.
    press({320, 220});
    release({320, 220});
    EXPECT_TRUE(waitFor([&] { return surface.getEventQueue()->empty(); }, kDeadline_ms));
    EXPECT_EQ(owner.kinds(), "bse");
}

TEST_F(MapPick, AnEdgeOfTheWindowIsNotTheGlobe) {
    lookAt(kHere, 1e6);
    moveTo({320, 240});
    owner.edge = QRect(map->mapToGlobal(QPoint(630, 0)), QSize(10, 480));
    press({635, 240});
    moveTo({500, 240}, Qt::LeftButton);
    release({500, 240});
    settle();
    EXPECT_TRUE(owner.calls.empty());
    EXPECT_NEAR(in().m_manipulator()->getViewpoint().focalPoint()->x(), kHere.lon, 1e-9);
    press({320, 240});
    ASSERT_TRUE(waitCalls(2));
    release({320, 240});
}

TEST_F(MapPick, ARightClickOpensTheDialogOverTheMiddle) {
    lookAt(kHere, 1e6);
    press({320, 240}, Qt::RightButton);
    release({320, 240}, Qt::RightButton);
    common_dlg* dialog = in().m_locate_dlg();
    ASSERT_TRUE(waitFor([&] { return dialog->isVisible(); }, kDeadline_ms));
    EXPECT_EQ(dialog->size(), QSize(471, 196));
    const QPoint corner = map->mapToGlobal(QPoint(0, 0));
    EXPECT_TRUE(waitFor([&] { return dialog->pos() == corner + QPoint((640 - 471) / 2, (480 - 196) / 2); },
                        kDeadline_ms));
    const auto& ui = in().m_locate_ui();
    EXPECT_EQ(ui.edit_lng->text(), "nan");
    EXPECT_EQ(ui.edit_lat->text(), "nan");
    EXPECT_EQ(ui.edit_alt->text(), "nan");
    EXPECT_EQ(ui.edit_radius->text(), "300");
    EXPECT_TRUE(owner.calls.empty());
    // Open already, it keeps its text.
    moveTo({320, 240});
    press({320, 240}, Qt::RightButton);
    release({320, 240}, Qt::RightButton);
    settle();
    EXPECT_EQ(ui.edit_lng->text(), "nan");
    ui.toolButton->click();
    EXPECT_FALSE(dialog->isVisible());
    press({320, 240}, Qt::RightButton);
    release({320, 240}, Qt::RightButton);
    ASSERT_TRUE(waitFor([&] { return dialog->isVisible(); }, kDeadline_ms));
    EXPECT_EQ(ui.edit_lng->text(), QString::number(in().m_cursor_lon(), 'f', 7));
    EXPECT_EQ(ui.edit_lat->text(), QString::number(in().m_cursor_lat(), 'f', 7));
}

// As the page beside the pictures is: narrower than the dialog, at the right edge.
TEST(LocateDialog, StaysOnTheScreen) {
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QWidget over(nullptr, Qt::BypassWindowManagerHint);
    over.setGeometry(screen.right() - 199, screen.top() + 10, 200, 100);
    over.show();
    QObject target;
    Ui::MyLocateDialogUi form;
    const std::unique_ptr<common_dlg> dialog(makeLocateDialog(form, nullptr, &target));
    openLocateDialog(form, *dialog, over, {1, 2, 3});
    EXPECT_TRUE(waitFor(
        [&] { return dialog->geometry() == QRect(screen.right() - 470, screen.top(), 471, 196); }, 40000))
        << dialog->x() << " " << dialog->y();
    dialog->close();
}

TEST_F(MapPick, ZeroIsAnEmptyField) {
    lookAt(kHere, 1e6);
    in().m_cursor_lon() = 0;
    in().m_cursor_lat() = -1.5;
    in().m_cursor_alt() = 12.34;
    press({600, 470}, Qt::RightButton);
    release({600, 470}, Qt::RightButton);
    ASSERT_TRUE(waitFor([&] { return in().m_locate_dlg()->isVisible(); }, kDeadline_ms));
    const auto& ui = in().m_locate_ui();
    EXPECT_EQ(ui.edit_lng->text(), "");
    EXPECT_EQ(ui.edit_lat->text(), "-1.5000000");
    EXPECT_EQ(ui.edit_alt->text(), "12.3");
}

TEST_F(MapPick, TheDialogsButtonsSendItsOwnForm) {
    const auto& ui = in().m_locate_ui();
    in().m_locate_dlg()->show();
    ui.edit_lng->setText("112.5");
    ui.edit_lat->setText("22.5431");
    ui.edit_alt->setText("123.4");
    QTest::mousePress(ui.btn_geo_guid, Qt::LeftButton);
    QTest::mouseRelease(ui.btn_geo_guid, Qt::LeftButton);
    QTest::mousePress(ui.btn_geo_track, Qt::LeftButton);
    QTest::mouseRelease(ui.btn_geo_track, Qt::LeftButton);
    ASSERT_EQ(owner.kinds(), "bsebse");
    EXPECT_EQ(owner.calls[1].code, 27);
    EXPECT_EQ(owner.calls[1].data.toHex(), "d2040000dbcd6f0d00000000");
    EXPECT_EQ(owner.calls[4].code, 28);
    EXPECT_EQ(owner.calls[4].data, owner.calls[1].data);
    EXPECT_EQ(owner.calls[0].who, static_cast<QObject*>(ui.btn_geo_guid));
    EXPECT_EQ(owner.calls[2].who, static_cast<QObject*>(ui.btn_geo_guid));
    // What is no number is 0.
    owner.calls.clear();
    ui.edit_lat->setText("-");
    ui.edit_alt->clear();
    QTest::mousePress(ui.btn_geo_guid, Qt::LeftButton);
    EXPECT_EQ(owner.calls[1].data.toHex(), "000000000000000000000000");
    QTest::mouseRelease(ui.btn_geo_guid, Qt::LeftButton);
}

TEST_F(MapPick, TheMarkIsDrawnAndNotSent) {
    const auto& ui = in().m_locate_ui();
    in().m_locate_dlg()->show();
    ui.edit_lng->setText("10");
    ui.edit_lat->setText("20");
    ui.edit_radius->setText("0");
    for (int i = 0; i < 2; ++i) {
        owner.calls.clear();
        QTest::mousePress(ui.btn_flag, Qt::LeftButton);
        QTest::mouseRelease(ui.btn_flag, Qt::LeftButton);
        EXPECT_EQ(owner.kinds(), "be");
        EXPECT_EQ(owner.calls[0].code, 0);
        ASSERT_TRUE(in().m_flag_group().valid());
        ASSERT_EQ(in().m_flag_group()->getNumChildren(), 2U);
        EXPECT_EQ(in().m_flag_group()->getNumParents(), 1U);
        const auto* disc = dynamic_cast<const globe::CircleNode*>(in().m_flag_group()->getChild(0));
        ASSERT_NE(disc, nullptr);
        EXPECT_EQ(disc->getRadius(), 0);
        EXPECT_EQ(disc->getPosition().x(), 10);
        EXPECT_EQ(disc->getPosition().y(), 20);
    }
    EXPECT_EQ(in().m_earth_node()->asGroup()->getNumChildren(),
              in().m_earth_node()->asGroup()->getChildIndex(in().m_flag_group().get()) + 1);
}

TEST_F(MapPick, FieldsTakeWhatTheirValidatorsTake) {
    const auto& ui = in().m_locate_ui();
    const auto takes = [](QLineEdit* edit, QString text) {
        int at = 0;
        return edit->validator()->validate(text, at) == QValidator::Acceptable;
    };
    EXPECT_TRUE(takes(ui.edit_lng, "-179.1234567"));
    EXPECT_FALSE(takes(ui.edit_lng, "180.1"));
    EXPECT_FALSE(takes(ui.edit_lng, "1.12345678"));
    EXPECT_TRUE(takes(ui.edit_lat, "90.0"));
    EXPECT_FALSE(takes(ui.edit_lat, "90.1"));
    EXPECT_TRUE(takes(ui.edit_alt, "-999999999.9"));
    EXPECT_FALSE(takes(ui.edit_alt, "1.23"));
}

}  // namespace
