// A system that can make no drawing context.
#include <gtest/gtest.h>

#include <QApplication>
#include <QPointer>
#include <osgViewer/Viewer>

#include "globe/graphics_window_qt.h"

TEST(BareView, IsInvalidAndHarmless) {
    osg::ref_ptr<osg::GraphicsContext::Traits> traits = new osg::GraphicsContext::Traits;
    traits->samples = 8;
    osg::ref_ptr<globe::GraphicsWindowQt> window = new globe::GraphicsWindowQt(traits);
    EXPECT_FALSE(window->valid());
    EXPECT_FALSE(window->realize());
    EXPECT_FALSE(window->makeCurrent());
    EXPECT_FALSE(window->releaseContext());
    window->swapBuffers();
    osg::ref_ptr<osgViewer::Viewer> viewer = new osgViewer::Viewer;
    viewer->getCamera()->setGraphicsContext(window);
    viewer->getCamera()->setViewport(0, 0, 0, 0);
    QWidget host;
    window->getGLWidget()->setParent(&host);
    host.resize(200, 100);
    host.show();
    window->getGLWidget()->setGeometry(0, 0, 200, 100);
    window->getGLWidget()->show();
    QApplication::processEvents();
    EXPECT_FALSE(window->isExposed());
    EXPECT_EQ(window->samples(), 0);
    host.hide();
    window->endInput();
}

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "minimal");
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
