// The window closes as by its close button when the system or the session asks for it.
#include "widgets/close_requests.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QTest>
#include <QWidget>
#include <csignal>

#include "tests/widgets/wait.h"

namespace {

class Closing : public QWidget {
public:
    int closed = 0;

protected:
    void closeEvent(QCloseEvent* e) override {
        ++closed;
        e->accept();
    }
};

// Both ways in one test: they are arranged once a process.
TEST(CloseRequests, TheSessionsEndAndASignalCloseTheWindow) {
    Closing window;
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    closeOnRequests(window);
    EXPECT_FALSE(QGuiApplication::isFallbackSessionManagementEnabled());

    // The manager of a session cannot be made by hand, and nobody looks at it here.
    alignas(16) static char no_manager[64] = {};
    emit qApp->commitDataRequest(*reinterpret_cast<QSessionManager*>(no_manager));
    EXPECT_EQ(window.closed, 1);
    EXPECT_FALSE(window.isVisible());

    window.show();
    // A modal box has the hand; it must not keep the window from closing, nor the program alive.
    QDialog box(&window);
    QMetaObject::invokeMethod(
        &box, [] { ::raise(SIGTERM); }, Qt::QueuedConnection);
    box.exec();
    EXPECT_TRUE(waitFor([&] { return window.closed == 2; }));
    EXPECT_FALSE(window.isVisible());
}

}  // namespace
