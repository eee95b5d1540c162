// Entry of the tests in a window: sets the process up as the program does, then runs GoogleTest inside it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <cstdio>
#include <cstdlib>

int main(int argc, char* argv[]) {
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    ::testing::InitGoogleMock(&argc, argv);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    const int result = RUN_ALL_TESTS();
    std::fflush(nullptr);
    // Drivers behind SDL and OpenGL have exit handlers of their own; the program does not rely on them
    // either.
#ifndef SORVANE_SANITIZED
    std::_Exit(result);
#else
    return result;
#endif
}
