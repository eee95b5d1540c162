// The dots on their board, the bar over a picture, and the group of the connection dialog that a dot stands
// for.
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QMainWindow>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTest>

#include "board_fixture.h"
#include "forms/connection_form.h"
#include "pulse/connection_groups.h"
#include "pulse/pulse_bar.h"
#include "tests/fakes/built_form.h"
#include "widgets/state_dot.h"

namespace {

class StripTest : public BoardTest {
protected:
    StripTest() {
        window.setCentralWidget(new QWidget);
        window.statusBar()->addWidget(left);
        window.statusBar()->addPermanentWidget(right);
        showPulse(board, *window.statusBar(), *window.centralWidget(),
                  [this](PulseSource source) { chosen << source; });
        strip = window.findChild<PulseStrip*>("pulse_strip");
        bar = window.findChild<PulseBar*>("pulse_bar");
    }
    void showWindow() {
        window.resize(800, 400);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    const StateDot& dot(PulseSource source) const { return strip->dot(source); }

    QMainWindow window;
    QLabel* left = new QLabel("left");
    QLabel* right = new QLabel("right");
    PulseStrip* strip = nullptr;
    PulseBar* bar = nullptr;
    QList<PulseSource> chosen;
};

TEST_F(StripTest, OnlyWhatIsInUseHasADot) {
    showWindow();
    board.look();
    for (const PulseSource source : kPulseSources) {
        EXPECT_FALSE(dot(source).isVisible());
    }
    playing2 = true;
    ins_handle = 3;
    board.look();
    for (const PulseSource source : kPulseSources) {
        EXPECT_EQ(dot(source).isVisible(),
                  source == PulseSource::kPicture2 || source == PulseSource::kInertial);
    }
    playing2 = false;
    board.look();
    EXPECT_FALSE(dot(PulseSource::kPicture2).isVisible());
}

TEST_F(StripTest, ItLiesBetweenTheTwoTextsThatStandWhereTheyStood) {
    showWindow();
    const QRect texts[] = {left->geometry(), right->geometry()};
    const int height = window.statusBar()->height();
    playing1 = playing2 = true;
    link_state = 2;
    board.look();
    ASSERT_TRUE(QTest::qWaitFor([&] { return strip->width() >= strip->sizeHint().width(); }));
    EXPECT_GE(strip->x(), left->geometry().right());
    EXPECT_LE(strip->geometry().right(), right->x());
    EXPECT_EQ(left->geometry(), texts[0]);
    EXPECT_EQ(right->geometry(), texts[1]);
    EXPECT_EQ(window.statusBar()->height(), height);
}

TEST_F(StripTest, ADotTellsStateAndAge) {
    playing1 = true;
    const StateDot& picture = dot(PulseSource::kPicture1);
    arrive(20, 40, [this] { board.pictureCame(1); });
    EXPECT_EQ(picture.tone(), StateDot::kOk);
    EXPECT_EQ(picture.age(), "0.0 s");
    pass(1550);
    EXPECT_EQ(picture.tone(), StateDot::kWarn);
    EXPECT_EQ(picture.age(), "1.5 s");
    pass(500);
    EXPECT_EQ(picture.tone(), StateDot::kDanger);
    EXPECT_EQ(picture.age(), "2.0 s");
    EXPECT_EQ(picture.accessibleName(), QString::fromUtf8("视频1 2.0 s"));
}

// What a dot paints, counted by its events.
class PaintCounter : public QObject {
public:
    bool eventFilter(QObject*, QEvent* e) override {
        count += e->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
    int count = 0;
};

TEST_F(StripTest, WhatHasNotChangedIsNotPaintedAnew) {
    showWindow();
    playing1 = true;
    arrive(20, 40, [this] { board.pictureCame(1); });
    QCoreApplication::processEvents();
    PaintCounter paints;
    auto* picture = window.findChild<StateDot*>("pulse_picture1");
    picture->installEventFilter(&paints);
    for (int i = 0; i < 10; ++i) {
        arrive(1, 40, [this] { board.pictureCame(1); });
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(paints.count, 0);
    pass(500);
    ASSERT_TRUE(QTest::qWaitFor([&] { return paints.count > 0; }));
}

TEST_F(StripTest, TheAgeKeepsItsPlaceWhileItsDigitsChange) {
    showWindow();
    playing1 = true;
    arrive(20, 40, [this] { board.pictureCame(1); });
    QCoreApplication::processEvents();
    const QRect before = dot(PulseSource::kPicture1).geometry();
    for (const qint64 age : {1100, 9900, 77'700, 600'000}) {
        now += age;
        board.look();
        QCoreApplication::processEvents();
        EXPECT_EQ(dot(PulseSource::kPicture1).geometry(), before) << age;
    }
}

TEST_F(StripTest, AClickOnADotChoosesItsSource) {
    showWindow();
    link_state = 2;
    board.look();
    QTest::mouseClick(window.findChild<StateDot*>("pulse_report"), Qt::LeftButton, {}, QPoint(20, 3));
    EXPECT_EQ(chosen, QList<PulseSource>{PulseSource::kReport});
}

TEST_F(StripTest, ANarrowWindowIsNotKeptWide) {
    const int alone = window.minimumSizeHint().width();
    playing1 = playing2 = true;
    link_state = 2;
    board.look();
    EXPECT_EQ(window.minimumSizeHint().width(), alone);
}

TEST_F(StripTest, TheBarIsThereInFullScreenWhileSomethingIsNotOk) {
    showWindow();
    playing1 = true;
    arrive(20, 40, [this] { board.pictureCame(1); });
    pass(500);
    EXPECT_FALSE(bar->isVisible()) << "the status bar tells it";
    window.showFullScreen();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.isFullScreen() && window.windowHandle()->isExposed(); }));
    board.look();
    ASSERT_TRUE(bar->isVisible());
    EXPECT_EQ(bar->strip().dot(PulseSource::kPicture1).tone(), StateDot::kWarn);
    ASSERT_TRUE(QTest::qWaitFor([&] {
        board.look();
        const QWidget* area = window.centralWidget();
        const QRect picture(area->mapToGlobal(QPoint(0, 0)), area->size());
        return picture.contains(bar->geometry()) && bar->x() - picture.x() < 16 &&
               picture.bottom() - bar->geometry().bottom() < 16;
    }));
    QTest::mouseClick(bar->findChild<StateDot*>("pulse_picture1"), Qt::LeftButton, {}, QPoint(20, 3));
    EXPECT_EQ(chosen, QList<PulseSource>{PulseSource::kPicture1});
    board.pictureCame(1);
    board.look();
    EXPECT_FALSE(bar->isVisible()) << "all is well";
    pass(500);
    EXPECT_TRUE(bar->isVisible());
    window.showNormal();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window.isFullScreen(); }));
    board.look();
    EXPECT_FALSE(bar->isVisible());
}

class GroupsTest : public ::testing::Test {
protected:
    QStringList marked() const {
        QStringList names;
        for (const QGroupBox* group : dialog.findChildren<QGroupBox*>()) {
            if (group->property("pointedAt").toBool()) {
                names << group->objectName();
            }
        }
        return names;
    }

    QDialog dialog;
    Ui::connection ui = builtForm<Ui::connection>(dialog);
    ConnectionForm form{ui};
};

TEST_F(GroupsTest, EachSourceHasItsGroup) {
    const auto groupOf = [this](PulseSource source, bool serial) {
        pointAtGroup(form, dialog, source, serial);
        return marked();
    };
    EXPECT_EQ(groupOf(PulseSource::kPicture1, false), QStringList{"groupBox_8"});
    EXPECT_EQ(groupOf(PulseSource::kPicture2, false), QStringList{"groupBox_9"});
    EXPECT_EQ(groupOf(PulseSource::kReport, false), QStringList{"groupBox_18"});
    EXPECT_EQ(groupOf(PulseSource::kSending, false), QStringList{"groupBox_18"});
    EXPECT_EQ(groupOf(PulseSource::kReport, true), QStringList{"groupBox_10"});
    EXPECT_EQ(groupOf(PulseSource::kSending, true), QStringList{"groupBox_10"});
    EXPECT_EQ(groupOf(PulseSource::kInertial, true), QStringList{"groupBox_11"});
}

TEST_F(GroupsTest, TheFirstFieldHasTheKeyboardAndTheMarkGoesWithTheDialog) {
    dialog.show();
    pointAtGroup(form, dialog, PulseSource::kPicture2, false);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    EXPECT_TRUE(form.video2_address->hasFocus());
    dialog.hide();
    EXPECT_EQ(marked(), QStringList());
}

}  // namespace
