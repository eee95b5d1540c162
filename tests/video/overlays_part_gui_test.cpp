// What floats over a picture, on plain widgets: the marks of a drag, the tips, the replay bar.
#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>
#include <QTest>

#include "tests/widgets/wait.h"
#include "video/drag_marks.h"
#include "video/my_tip_dialog.h"
#include "video/recording_tips.h"
#include "video/replay_panel.h"

namespace {

class Marks : public ::testing::Test {
protected:
    Marks() {
        stage.setGeometry(100, 120, 600, 400);
        area.setGeometry(50, 40, 400, 300);
    }
    ~Marks() override { delete overlay; }
    void showStage() {
        stage.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&stage));
    }
    QPoint inArea(int x, int y) const { return area.mapToGlobal(QPoint(x, y)); }

    QWidget stage;
    QWidget area{&stage};
    MyTransDlg* overlay = nullptr;
    QLabel* ring = nullptr;
    QLabel* dot = nullptr;
    DragMarks marks{DragMarkFields{overlay, ring, dot}};
};

TEST_F(Marks, BeforeTheyExistNothingHappens) {
    marks.place(area);
    marks.showRing(QPoint(1, 1));
    marks.showDot(QPoint(1, 1));
    marks.hide();
    EXPECT_FALSE(marks.paint(&stage));
    EXPECT_FALSE(marks.paint(nullptr));
    EXPECT_FALSE(marks.isOverlay(nullptr));
    EXPECT_EQ(overlay, nullptr);
}

TEST_F(Marks, TheOverlayLiesOverTheAreaAndIsHidden) {
    showStage();
    marks.create(area);
    EXPECT_EQ(overlay->geometry(), QRect(inArea(0, 0), QSize(400, 300)));
    EXPECT_FALSE(overlay->isVisible());
    EXPECT_TRUE(overlay->testAttribute(Qt::WA_TransparentForMouseEvents));
    EXPECT_TRUE(overlay->testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_TRUE(marks.isOverlay(overlay));
    EXPECT_FALSE(marks.isOverlay(ring));
    area.setGeometry(10, 20, 200, 100);
    marks.place(area);
    EXPECT_EQ(overlay->geometry(), QRect(inArea(0, 0), QSize(200, 100)));
}

TEST_F(Marks, TheRingStandsWhereTheDragBeganAndTheDotWhereItIs) {
    showStage();
    marks.create(area);
    marks.showRing(inArea(100, 80));
    EXPECT_TRUE(overlay->isVisible());
    EXPECT_EQ(ring->geometry(), QRect(80, 60, 40, 40));
    EXPECT_FALSE(ring->isHidden());
    EXPECT_TRUE(dot->isHidden());
    EXPECT_EQ(overlay->mask(), QRegion(ring->geometry(), QRegion::Ellipse)) << "the picture is not covered";
    marks.showDot(inArea(300, 200));
    EXPECT_EQ(dot->geometry(), QRect(288, 188, 24, 24));
    EXPECT_FALSE(dot->isHidden());
    EXPECT_EQ(ring->geometry(), QRect(80, 60, 40, 40));
    EXPECT_EQ(overlay->mask(),
              QRegion(ring->geometry(), QRegion::Ellipse).united(QRegion(dot->geometry(), QRegion::Ellipse)));
    marks.hide();
    EXPECT_TRUE(overlay->isHidden());
    EXPECT_TRUE(ring->isHidden());
    EXPECT_TRUE(dot->isHidden());
    marks.showRing(inArea(100, 80));
    EXPECT_TRUE(dot->isHidden()) << "the next drag begins with the ring alone";
}

TEST_F(Marks, PaintsItsMarksAndNoOther) {
    // The window's filter paints them, in the place of the label's own painting.
    class Filter : public QObject {
    public:
        DragMarks* marks = nullptr;
        bool eventFilter(QObject* object, QEvent* e) override {
            return e->type() == QEvent::Paint && marks->paint(object);
        }
    } filter;
    filter.marks = &marks;
    marks.create(area);
    EXPECT_FALSE(marks.paint(&area));
    EXPECT_FALSE(marks.paint(overlay));
    const auto grabbed = [&filter](QLabel* mark) {
        QImage image(mark->size(), QImage::Format_RGB32);
        image.fill(Qt::black);
        mark->installEventFilter(&filter);
        mark->show();
        mark->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
        return image;
    };
    const QImage ring_image = grabbed(ring);
    EXPECT_EQ(ring_image.pixelColor(20, 20), QColor(Qt::white));
    EXPECT_EQ(ring_image.pixelColor(4, 20), QColor(Qt::white)) << "the pen is four wide";
    EXPECT_EQ(ring_image.pixelColor(0, 20), QColor(Qt::black));
    const QImage dot_image = grabbed(dot);
    EXPECT_EQ(dot_image.pixelColor(12, 12), QColor(Qt::white));
    EXPECT_EQ(dot_image.pixelColor(1, 12), QColor(Qt::white)) << "as large as its label";
    EXPECT_EQ(dot_image.pixelColor(0, 0), QColor(Qt::black));
}

class Tips : public ::testing::Test {
protected:
    Tips() {
        picture.setGeometry(200, 150, 300, 200);
        tip->setGeometry(0, 0, 300, 51);
    }
    ~Tips() override { delete tip; }
    bool snapShown() const { return !tip->findChild<QLabel*>("label_snap")->isHidden(); }
    QPoint overPicture() const { return picture.mapToGlobal(QPoint(0, 5)); }

    QWidget picture;
    MyTipDialog* tip = new MyTipDialog(nullptr);
    bool open = true;
    bool snapping = false;
    bool recording = false;
    TipChannel channel{tip, picture, open, snapping, recording};
};

TEST_F(Tips, AWaitingChannelHasNoIconsAndStaysWhereItIs) {
    placeTip(channel);
    EXPECT_FALSE(snapShown());
    EXPECT_FALSE(tip->isRecording());
    EXPECT_EQ(tip->pos(), QPoint(0, 0));
    EXPECT_TRUE(tip->isHidden());
}

TEST_F(Tips, EachIconFollowsItsState) {
    recording = true;
    placeTip(channel);
    EXPECT_TRUE(tip->isRecording());
    EXPECT_FALSE(snapShown());
    EXPECT_EQ(tip->pos(), overPicture());
    recording = false;
    snapping = true;
    picture.move(210, 160);
    placeTip(channel);
    EXPECT_FALSE(tip->isRecording());
    EXPECT_TRUE(snapShown());
    EXPECT_EQ(tip->pos(), overPicture());
}

TEST_F(Tips, AClosedChannelLeavesTheTipAsItIs) {
    recording = true;
    open = false;
    tip->setSnapping(true);
    tip->setRecording(false);
    placeTip(channel);
    EXPECT_TRUE(snapShown());
    EXPECT_FALSE(tip->isRecording());
    EXPECT_EQ(tip->pos(), QPoint(0, 0));
}

TEST_F(Tips, WithoutATipNothingHappens) {
    MyTipDialog* none = nullptr;
    recording = true;
    placeTip(TipChannel{none, picture, open, snapping, recording});
    EXPECT_EQ(none, nullptr);
}

TEST_F(Tips, ATipNeverTakesActivation) {
    EXPECT_TRUE(tip->testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_NE(tip->windowFlags() & Qt::WindowDoesNotAcceptFocus, 0);
    tip->setText("00:12");
    bool found = false;
    for (const QLabel* label : tip->findChildren<QLabel*>()) {
        found = found || label->text() == "00:12";
    }
    EXPECT_TRUE(found);
}

TEST(ReplayBar, StartsHiddenWithPlayStopAndTheTime) {
    QWidget window;
    ReplayPanel panel(&window);
    EXPECT_TRUE(panel.isHidden());
    EXPECT_EQ(panel.size(), QSize(240, 40));
    EXPECT_EQ(panel.m_btnPlay->objectName(), "m_btnPlay");
    EXPECT_EQ(panel.m_btnStop->objectName(), "m_btnStop");
    EXPECT_EQ(panel.m_labelPlayTime->objectName(), "m_labelPlayTime");
    EXPECT_EQ(panel.m_labelPlayTime->text(), "00:00");
    EXPECT_TRUE(panel.m_btnPlay->isCheckable());
    EXPECT_FALSE(panel.m_btnPlay->isChecked());
    EXPECT_FALSE(panel.m_btnStop->isCheckable());
    EXPECT_EQ(panel.m_btnPlay->focusPolicy(), Qt::NoFocus);
    const QSize size = panel.m_btnPlay->iconSize();
    EXPECT_NE(panel.m_btnPlay->icon().pixmap(size, QIcon::Normal, QIcon::On).toImage(),
              panel.m_btnPlay->icon().pixmap(size, QIcon::Normal, QIcon::Off).toImage())
        << "playing it shows pause";
    EXPECT_FALSE(panel.m_btnStop->icon().isNull());
}

}  // namespace
