#include "widgets/my_trans_dlg.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>

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

}  // namespace
