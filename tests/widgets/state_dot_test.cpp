// What a dot paints and where it can be pressed.
#include "widgets/state_dot.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>
#include <QToolTip>

#include "wait.h"

namespace {

class StateDotTest : public ::testing::Test {
protected:
    void SetUp() override {
        dot.setCaption("Report");
        dot.setState(StateDot::kOk, "0.0 s");
        for (const auto& [name, colour] :
             {std::pair{"okColour", Qt::green}, {"warnColour", Qt::yellow}, {"dangerColour", Qt::red}}) {
            dot.setProperty(name, QColor(colour));
        }
        window.resize(300, 100);
        dot.setGeometry(QRect(QPoint(0, 20), dot.sizeHint()));
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    QRgb middleOfTheDot() { return dot.grab().toImage().pixel(12, dot.height() / 2); }

    QWidget window;
    StateDot dot{&window, [] { return QStringLiteral("how it is"); }};
};

TEST_F(StateDotTest, EachStateHasItsColour) {
    EXPECT_EQ(QColor(middleOfTheDot()), QColor(Qt::green));
    dot.setState(StateDot::kWarn, "0.4 s");
    EXPECT_EQ(QColor(middleOfTheDot()), QColor(Qt::yellow));
    dot.setState(StateDot::kDanger, "2.4 s");
    EXPECT_EQ(QColor(middleOfTheDot()), QColor(Qt::red));
}

TEST_F(StateDotTest, DigitsStandInCellsOfOneWidth) {
    QFont uneven(QStringLiteral("DejaVu Serif"));
    dot.setFont(uneven);
    const int width = dot.sizeHint().width();
    for (const char* age : {"1.1 s", "88.8 s", "99 min", "--"}) {
        dot.setState(StateDot::kOk, age);
        EXPECT_EQ(dot.sizeHint().width(), width) << age;
    }
}

TEST_F(StateDotTest, APressIsAClickButNotOnTheWindowsEdge) {
    QSignalSpy clicks(&dot, &StateDot::clicked);
    QTest::mouseClick(&dot, Qt::LeftButton, {}, QPoint(15, 5));
    EXPECT_EQ(clicks.count(), 1);
    dot.move(0, window.height() - dot.height());
    QTest::mouseClick(&dot, Qt::LeftButton, {}, QPoint(15, dot.height() - 2));
    EXPECT_EQ(clicks.count(), 1);
    QTest::mouseClick(&dot, Qt::LeftButton, {}, QPoint(15, dot.height() - 8));
    EXPECT_EQ(clicks.count(), 2);
}

TEST_F(StateDotTest, TheTipIsAskedForWhenItComesUp) {
    QHelpEvent help(QEvent::ToolTip, QPoint(5, 5), dot.mapToGlobal(QPoint(5, 5)));
    QCoreApplication::sendEvent(&dot, &help);
    EXPECT_EQ(QToolTip::text(), "how it is");
    QToolTip::hideText();
}

TEST_F(StateDotTest, ItNeverTakesTheKeyboard) {
    QTest::mouseClick(&dot, Qt::LeftButton, {}, QPoint(15, 5));
    EXPECT_FALSE(dot.hasFocus());
    EXPECT_EQ(dot.focusPolicy(), Qt::NoFocus);
}

}  // namespace
