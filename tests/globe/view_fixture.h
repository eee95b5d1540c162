// A view in a window of its own, pumped as the map pumps it, and what its handlers are told.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>
#include <osg/Geode>
#include <osg/Geometry>
#include <osgGA/GUIEventHandler>
#include <osgViewer/Viewer>
#include <vector>

#include "globe/graphics_window_qt.h"
#include "tests/widgets/wait.h"
#include "tests/widgets/x11_pointer.h"

constexpr int kPatience_ms = 6000;

struct SeenEvent {
    osgGA::GUIEventAdapter::EventType type;
    int button;
    int mask;
    double x;  // of the window, -1 to 1, upwards
    double y;
    int key;
};

class Recorder : public osgGA::GUIEventHandler {
public:
    bool handle(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter&) override {
        if (event.getHandled() || event.getEventType() == osgGA::GUIEventAdapter::FRAME) {
            return false;
        }
        seen.push_back({event.getEventType(), event.getButton(), event.getButtonMask(),
                        event.getXnormalized(), event.getYnormalized(), event.getKey()});
        return false;
    }
    int count(osgGA::GUIEventAdapter::EventType type) const {
        int found = 0;
        for (const SeenEvent& event : seen) {
            found += event.type == type ? 1 : 0;
        }
        return found;
    }
    const SeenEvent* last(osgGA::GUIEventAdapter::EventType type) const {
        for (auto at = seen.rbegin(); at != seen.rend(); ++at) {
            if (at->type == type) {
                return &*at;
            }
        }
        return nullptr;
    }
    std::vector<SeenEvent> seen;
};

// A viewer with a graphics window, drawn while it is exposed and something asks for it.
class PumpedView {
public:
    explicit PumpedView(QWidget* parent, const osg::Vec4& color) {
        osg::ref_ptr<osg::GraphicsContext::Traits> traits = new osg::GraphicsContext::Traits;
        traits->windowDecoration = false;
        traits->x = traits->y = traits->width = traits->height = 0;
        traits->doubleBuffer = true;
        traits->samples = 8;
        window = new globe::GraphicsWindowQt(traits, nullptr);
        viewer = new osgViewer::Viewer;
        root = new osg::Group;
        osg::ref_ptr<osg::Camera> camera = new osg::Camera;
        camera->setGraphicsContext(window);
        camera->setViewport(0, 0, 0, 0);
        camera->setClearColor(color);
        camera->setProjectionResizePolicy(osg::Camera::FIXED);
        camera->setProjectionMatrixAsPerspective(30.0, 1.0, 1.0, 10000.0);
        viewer->setCamera(camera);
        viewer->setSceneData(root);
        viewer->setThreadingModel(osgViewer::Viewer::SingleThreaded);
        viewer->addEventHandler(recorder);
        viewer->setKeyEventSetsDone(0);
        window->getGLWidget()->setParent(parent);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { pump(); });
        m_timer.start(10);
    }
    ~PumpedView() { m_timer.stop(); }

    void pump() {
        if (window->isExposed() && viewer->checkNeedToDoFrame()) {
            viewer->frame();
            ++frames;
        }
    }
    void stop() { m_timer.stop(); }
    void start() { m_timer.start(10); }
    void setColor(const osg::Vec4& color) {
        viewer->getCamera()->setClearColor(color);
        viewer->requestRedraw();
    }
    globe::GLWidget* widget() const { return window->getGLWidget(); }
    // Nothing asks for frames any more.
    bool comesToRest() {
        return waitFor([this] { return window->isExposed() && !viewer->checkNeedToDoFrame(); }, kPatience_ms);
    }

    osg::ref_ptr<globe::GraphicsWindowQt> window;
    osg::ref_ptr<osgViewer::Viewer> viewer;
    osg::ref_ptr<osg::Group> root;
    osg::ref_ptr<Recorder> recorder = new Recorder;
    int frames = 0;

private:
    QTimer m_timer;
};

// What stands on the screen at a point of a widget.
inline QColor onScreen(const QWidget* widget, const QPoint& at) {
    const QPoint place = widget->mapToGlobal(at);
    const QImage image =
        QGuiApplication::primaryScreen()->grabWindow(0, place.x(), place.y(), 1, 1).toImage();
    return image.isNull() ? QColor() : image.pixelColor(0, 0);
}

inline bool isColor(const QColor& seen, const osg::Vec4& color) {
    return std::abs(seen.redF() - color.r()) < 0.03 && std::abs(seen.greenF() - color.g()) < 0.03 &&
           std::abs(seen.blueF() - color.b()) < 0.03;
}

inline bool comesOnScreen(const QWidget* widget, const osg::Vec4& color, QPoint at = {-1, -1}) {
    return waitFor(
        [&] {
            const QPoint place = at.x() < 0 ? widget->rect().center() : at;
            return isColor(onScreen(widget, place), color);
        },
        kPatience_ms);
}

class ViewTest : public testing::Test {
protected:
    void SetUp() override {
        // Presses of one test and the next are no double click.
        QApplication::setDoubleClickInterval(0);
        m_host.setGeometry(200, 150, 400, 300);
        m_host.show();
        ASSERT_TRUE(waitFor([this] { return m_host.windowHandle()->isExposed(); }, kPatience_ms));
        m_host.activateWindow();
        m_view = std::make_unique<PumpedView>(&m_host, osg::Vec4(1, 0, 0, 1));
        if (!m_view->window->valid()) {
            FAIL() << "the test's display offers no context";
        }
        m_view->widget()->setGeometry(0, 0, 400, 300);
        m_view->widget()->show();
        ASSERT_TRUE(comesOnScreen(m_view->widget(), osg::Vec4(1, 0, 0, 1)));
        ASSERT_TRUE(waitFor([this] { return m_host.isActiveWindow(); }, kPatience_ms));
        m_view->recorder->seen.clear();
    }
    QPoint global(int x, int y) const { return m_view->widget()->mapToGlobal({x, y}); }
    void moveTo(int x, int y) {
        const QPoint at = global(x, y);
        m_hand.moveTo(at.x(), at.y());
    }
    bool comes(osgGA::GUIEventAdapter::EventType type, int count = 1) {
        return waitFor([&] { return m_view->recorder->count(type) >= count; }, kPatience_ms);
    }

    QWidget m_host;
    std::unique_ptr<PumpedView> m_view;
    X11Pointer m_hand;
};
