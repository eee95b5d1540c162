// The widget under a picture: paints its no-signal text and turns mouse gestures into commands to the pod.
#pragma once

#include <QFont>
#include <QLabel>
#include <QSize>

#include "video/drag_gesture.h"
#include "widgets/hold_watch.h"

class PictureOwner;

// While a stream is open the SDL window on this widget's native window owns the pixels and Qt paints nothing
// here. GUI thread only.
class QMyVideoWidget : public QLabel {
    Q_OBJECT

public:
    explicit QMyVideoWidget(QWidget* parent = nullptr);
    ~QMyVideoWidget() override;

    // Called once for each widget during the main window's construction; derives window_id from the object
    // name. The owner is not owned; null takes it back.
    void setOwner(PictureOwner* owner);
    int windowId() const { return window_id; }
    bool dragUnderWay() const { return m_drag.dragging; }

    // Ends whatever hold is under way, a drag or the middle button: each sends its stop, exactly once.
    void endHold();
    void endDrag();
    void endMiddle();
    // To be called whenever the owner's no-signal state of this window has changed.
    void streamStateChanged();
    // A recording plays here: its picture stands until the end, also while it is paused.
    void setReplaying(bool on);
    // A picture of that many pixels, before scaling, has been drawn here: clicks are converted with it.
    // Before the first one the owner's size counts.
    void pictureDrawn(const QSize& size_of_picture) {
        m_pictureSize = size_of_picture;
        m_drawnOn = size();
    }
    // Of the last one, and of this widget when it was drawn or drawn again. Invalid before the first.
    QSize pictureSize() const { return m_pictureSize; }
    QSize drawnOn() const { return m_drawnOn; }

    QPaintEngine* paintEngine() const override;

signals:
    // The native window was replaced; whatever was drawn onto the old one is to be moved.
    void nativeWindowChanged();
    // The pixels are to be drawn again while no picture comes: the size has changed, or what lay above is
    // gone.
    void pictureWanted();
    // There is no picture here any more.
    void pictureGone();

protected:
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void paintEvent(QPaintEvent* e) override;
    void moveEvent(QMoveEvent* e) override;
    bool event(QEvent* e) override;

private:
    void dragTo(const QPoint& pos);
    void pressed(Qt::MouseButton button);
    void clickAt(const QPoint& pos);
    bool streamOpen() const;

    PictureOwner* owner = nullptr;
    int window_id = 1;
    sorvane::DragGesture m_drag;
    bool m_holdCut = false;  // a drag was ended from outside while the button was still down
    HoldWatch m_dragWatch{*this, [this] { endDrag(); }};
    HoldWatch m_middleWatch{*this, [this] { endMiddle(); }};
    bool m_middleHeld = false;
    bool m_replaying = false;
    QSize m_pictureSize;
    QSize m_drawnOn;
    QFont font;
};
