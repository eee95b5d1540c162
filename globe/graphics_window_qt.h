// A view of the scene graph in a widget.
#pragma once

#include <QPointer>
#include <memory>
#include <osgViewer/GraphicsWindow>

#include "globe/gl_widget.h"
#include "globe/pixel_ratio.h"

class QOffscreenSurface;
class QOpenGLContext;

namespace globe {

// The graphics window over a context of its own, with the samples that were asked for or as many as the
// driver offers. A frame that is drawn while the widget is not exposed goes nowhere; after each frame no
// context is current. GUI thread. The widget lives as long as its parent; without one, as long as this
// window.
class GraphicsWindowQt : public osgViewer::GraphicsWindow, public PixelRatio {
public:
    // Of the traits count the samples, the double buffer and the depths. A size of 0 follows the widget.
    explicit GraphicsWindowQt(osg::GraphicsContext::Traits* traits, QWidget* parent = nullptr);

    GLWidget* getGLWidget() const { return m_widget; }

    // False where no context can be made. A viewer must not be run over it then: it would open windows of its
    // own.
    bool valid() const override { return m_context != nullptr && !m_broken; }
    // What is drawn now will be seen. Ask before each frame.
    bool isExposed() const;
    // Samples a pixel that the driver gave.
    int samples() const;

    // Forgets what waits in the queue and ends each press that the handlers have been told of: the left
    // button's release goes to all handlers of the view at once, that of the others to the manipulator alone,
    // since it would act like a click; for the same reason a press on a control is forgotten. A frame that
    // something in the queue asked for comes all the same. Called when the widget hides or its window is no
    // longer the active one.
    void endInput();

    double pixelRatio() const override;

    bool realizeImplementation() override;
    bool isRealizedImplementation() const override { return m_realized; }
    void closeImplementation() override;
    bool makeCurrentImplementation() override;
    bool makeContextCurrentImplementation(osg::GraphicsContext*) override {
        return makeCurrentImplementation();
    }
    bool releaseContextImplementation() override;
    void bindPBufferToTextureImplementation(GLenum) override {}
    void swapBuffersImplementation() override;
    void resizedImplementation(int x, int y, int width, int height) override;
    bool setWindowRectangleImplementation(int x, int y, int width, int height) override;
    bool setWindowDecorationImplementation(bool) override { return false; }
    void grabFocus() override;
    void grabFocusIfPointerInWindow() override {}
    void raiseWindow() override {}
    void setWindowName(const std::string&) override {}
    void setCursor(MouseCursor cursor) override;
    void setSyncToVBlank(bool) override {}

protected:
    ~GraphicsWindowQt() override;

private:
    friend class GLWidget;
    void makeContext();
    void drawBehind();
    unsigned deliveredButtons();
    void deliverRelease(unsigned button);

    QPointer<GLWidget> m_widget;
    std::unique_ptr<QOpenGLContext> m_context;
    std::unique_ptr<QOffscreenSurface> m_offscreen;
    QWindow* m_drawn_on = nullptr;  // the window that the context was made current on, of this frame
    bool m_realized = false;
    bool m_broken = false;
};

}  // namespace globe
