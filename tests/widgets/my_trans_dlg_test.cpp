#include "widgets/my_trans_dlg.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "wait.h"
#include "x11_pointer.h"

namespace {

TEST(MyTransDlg, IsAFramelessToolWithATranslucentGround) {
    MyTransDlg pane;
    EXPECT_EQ(pane.windowType(), Qt::Tool);
    EXPECT_TRUE(pane.windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(pane.testAttribute(Qt::WA_TranslucentBackground));
}

TEST(MyTransDlg, NeitherShowingNorClickingItTakesActivation) {
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    QWidget window;
    window.setGeometry(100, 100, 400, 300);
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));

    MyTransDlg pane(&window);
    pane.setGeometry(200, 200, 80, 60);
    QPushButton button(&pane);
    button.setGeometry(0, 0, 80, 60);
    int clicks = 0;
    QObject::connect(&button, &QPushButton::clicked, [&] { ++clicks; });
    pane.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&pane));
    EXPECT_EQ(QApplication::activeWindow(), &window);

    const auto origin = pointer.position(static_cast<std::uintptr_t>(pane.winId()));
    pointer.moveTo(origin.first + 40, origin.second + 30);
    pointer.press(1);
    pointer.release(1);
    ASSERT_TRUE(waitFor([&] { return clicks == 1; }));
    EXPECT_EQ(QApplication::activeWindow(), &window);
    EXPECT_TRUE(window.isActiveWindow());
}

// As a late report of another place would move it.
TEST(MyTransDlg, HoldsToThePlaceItWasGiven) {
    MyTransDlg pane;
    const QRect wanted(120, 90, 80, 60);
    pane.place(wanted);
    pane.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&pane));
    for (const QRect& elsewhere : {QRect(0, 0, 80, 60), QRect(120, 90, 70, 50), QRect(300, 200, 10, 20)}) {
        pane.setGeometry(elsewhere);
        ASSERT_EQ(pane.geometry(), elsewhere);
        EXPECT_TRUE(waitFor([&] { return pane.geometry() == wanted; }));
    }
    const QRect other(200, 150, 90, 70);
    pane.place(other);
    EXPECT_EQ(pane.geometry(), other);
}

// Moves it away whenever it comes back.
class Refusal : public QObject {
public:
    explicit Refusal(MyTransDlg& pane) : m_pane(pane) { pane.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Move && m_pane.x() != 5) {
            ++refused;
            QTimer::singleShot(0, this, [this] { m_pane.move(5, 5); });
        }
        return false;
    }
    int refused = 0;

private:
    MyTransDlg& m_pane;
};

TEST(MyTransDlg, DoesNotFightForAPlaceThatIsRefused) {
    MyTransDlg pane;
    pane.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&pane));
    Refusal refusal(pane);
    pane.place(QRect(120, 90, 80, 60));
    EXPECT_TRUE(waitFor([&] { return refusal.refused > 3; })) << "it asks again at first";
    EXPECT_FALSE(waitFor([&] { return refusal.refused > 40; }, 500));
    EXPECT_EQ(pane.pos(), QPoint(5, 5));
}

}  // namespace
