// The widget in which a view of the scene graph stands.
#pragma once

#include <QWidget>
#include <optional>

class QTouchEvent;
class QWindow;

namespace globe {

class GraphicsWindowQt;

// The native widget that shows what its graphics window draws, and hands it the mouse, the wheel, the
// keyboard and one finger (as the left button), in device pixels from the top left. Of the movements that
// wait for a frame only the last one is kept. Nobody else may paint on it; child widgets would be opaque.
class GLWidget : public QWidget {
public:
    ~GLWidget() override;

    QPaintEngine* paintEngine() const override { return nullptr; }
    GraphicsWindowQt* graphicsWindow() const { return m_window; }

protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    friend class GraphicsWindowQt;
    GLWidget(GraphicsWindowQt* window, QWidget* parent);

    // The window of the system that can be drawn on; null while there is none. Made anew where the toolkit
    // has replaced it.
    QWindow* surface();
    bool touch(QTouchEvent* event);
    void takeSize();
    void moveTo(const QPointF& at);
    void takeModifiers(Qt::KeyboardModifiers modifiers);
    QPointF inPixels(const QPointF& point) const { return point * devicePixelRatioF(); }

    GraphicsWindowQt* m_window;   // gone before this widget if null
    std::optional<int> m_finger;  // the one that presses
    int m_wheel = 0;              // eighths of a degree not yet told
};

}  // namespace globe
