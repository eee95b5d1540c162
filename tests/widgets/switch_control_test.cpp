#include "widgets/SwitchControl/switch_control.h"

#include <gtest/gtest.h>

#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>

#include "wait.h"

namespace {

constexpr int kWidth = 56;
constexpr int kHeight = 32;
constexpr int kSpace = 2;

// The switch on a white ground, without its window's own.
QImage picture(SwitchControl& control) {
    QImage image(control.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    control.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

// A colour laid over white with an opacity.
QColor overWhite(const QColor& color, double opacity) {
    const auto mix = [opacity](int part) { return qRound(part * opacity + 255 * (1 - opacity)); };
    return QColor(mix(color.red()), mix(color.green()), mix(color.blue()));
}

void expectNear(const QColor& seen, const QColor& expected) {
    EXPECT_LE(qAbs(seen.red() - expected.red()), 2) << seen.name().toStdString();
    EXPECT_LE(qAbs(seen.green() - expected.green()), 2) << seen.name().toStdString();
    EXPECT_LE(qAbs(seen.blue() - expected.blue()), 2) << seen.name().toStdString();
}

// The knob's left edge, found in the row of its centre: the knob alone is pure white there, but for the
// outermost column, which smoothing blends with the track.
int knobLeft(SwitchControl& control) {
    const QImage image = picture(control);
    for (int x = 0; x < image.width(); ++x) {
        if (image.pixelColor(x, kHeight / 2) == QColor(Qt::white)) {
            return x - 1;
        }
    }
    return -1;
}

class SwitchControlTest : public ::testing::Test {
protected:
    SwitchControlTest() { control.resize(kWidth, kHeight); }
    SwitchControl control;
};

TEST_F(SwitchControlTest, StartsOffWithTheKnobAtTheLeft) {
    EXPECT_FALSE(control.isToggled());
    EXPECT_EQ(control.cursor().shape(), Qt::PointingHandCursor);
    EXPECT_EQ(knobLeft(control), kSpace);
    expectNear(picture(control).pixelColor(kWidth - 12, kHeight / 2), overWhite(Qt::gray, 0.8));
}

TEST_F(SwitchControlTest, SetToggleMovesTheKnobWithoutASignal) {
    QSignalSpy toggled(&control, &SwitchControl::toggled);
    control.setToggle(true);
    EXPECT_TRUE(control.isToggled());
    EXPECT_EQ(knobLeft(control), kSpace);  // the animation brings it over
    const int end = kWidth - kSpace - (kHeight - 2 * kSpace);
    ASSERT_TRUE(waitFor([&] { return knobLeft(control) == end; })) << knobLeft(control);
    expectNear(picture(control).pixelColor(8, kHeight / 2), overWhite(Qt::green, 0.6));
    control.setToggle(false);
    ASSERT_TRUE(waitFor([&] { return knobLeft(control) == kSpace; }));
    EXPECT_EQ(toggled.count(), 0);
}

TEST_F(SwitchControlTest, EmitsOnceARelease) {
    QSignalSpy toggled(&control, &SwitchControl::toggled);
    QTest::mousePress(&control, Qt::LeftButton);
    EXPECT_EQ(toggled.count(), 0);
    QTest::mouseRelease(&control, Qt::LeftButton);
    ASSERT_EQ(toggled.count(), 1);
    EXPECT_TRUE(toggled.at(0).at(0).toBool());
    QTest::mouseClick(&control, Qt::LeftButton);
    ASSERT_EQ(toggled.count(), 2);
    EXPECT_FALSE(toggled.at(1).at(0).toBool());
}

TEST_F(SwitchControlTest, AReleaseOutsideStillToggles) {
    QTest::mousePress(&control, Qt::LeftButton);
    QTest::mouseRelease(&control, Qt::LeftButton, Qt::NoModifier, QPoint(500, 400));
    EXPECT_TRUE(control.isToggled());
}

TEST_F(SwitchControlTest, OnlyTheLeftButtonCounts) {
    QSignalSpy toggled(&control, &SwitchControl::toggled);
    for (const auto button : {Qt::RightButton, Qt::MiddleButton}) {
        QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), button, button, Qt::NoModifier);
        QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 5), button, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&control, &press);
        QCoreApplication::sendEvent(&control, &release);
        EXPECT_FALSE(press.isAccepted());
        EXPECT_FALSE(release.isAccepted());
    }
    EXPECT_EQ(toggled.count(), 0);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&control, &press);
    EXPECT_TRUE(press.isAccepted());
}

TEST_F(SwitchControlTest, ADisabledSwitchIgnoresPressAndReleaseAndFades) {
    // A disabled widget is not even sent mouse events by the toolkit, so the handlers are reached directly.
    struct Reach : SwitchControl {
        using SwitchControl::mousePressEvent;
        using SwitchControl::mouseReleaseEvent;
    } disabled;
    disabled.resize(kWidth, kHeight);
    disabled.setEnabled(false);
    QSignalSpy toggled(&disabled, &SwitchControl::toggled);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 5), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    disabled.mousePressEvent(&press);
    disabled.mouseReleaseEvent(&release);
    EXPECT_FALSE(press.isAccepted());
    EXPECT_FALSE(release.isAccepted());
    EXPECT_EQ(toggled.count(), 0);
    EXPECT_FALSE(disabled.isToggled());
    expectNear(picture(disabled).pixelColor(kWidth - 12, kHeight / 2), overWhite(Qt::gray, 0.26));
}

TEST_F(SwitchControlTest, ColoursCanBeSet) {
    control.setBackgroundColor(Qt::blue);
    expectNear(picture(control).pixelColor(kWidth - 12, kHeight / 2), overWhite(Qt::blue, 0.8));
    control.setCheckedColor(Qt::red);
    control.setDisabledColor(Qt::black);  // kept, not painted
    control.setToggle(true);
    ASSERT_TRUE(waitFor([&] { return knobLeft(control) > kSpace; }));
    expectNear(picture(control).pixelColor(6, kHeight / 2), overWhite(Qt::red, 0.6));
    control.setEnabled(false);
    expectNear(picture(control).pixelColor(4, kHeight / 2), overWhite(Qt::blue, 0.26));
}

}  // namespace
