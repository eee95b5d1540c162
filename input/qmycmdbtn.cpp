#include "input/qmycmdbtn.h"

#include <QCoreApplication>
#include <QDebug>
#include <QKeyEvent>
#include <QMouseEvent>

#include "app/events/event_receiver.h"
#include "app/events/my_event.h"

namespace {

bool isLeftButton(QEvent* e) { return static_cast<QMouseEvent*>(e)->button() == Qt::LeftButton; }

// A key holds nothing: the button must not look held by it.
bool isPressKey(const QKeyEvent& e) {
    return e.key() == Qt::Key_Space || e.key() == Qt::Key_Select || e.key() == Qt::Key_Enter ||
           e.key() == Qt::Key_Return;
}

}  // namespace

QMyCmdBtn::QMyCmdBtn(QWidget* parent) : QMyCmdBtn(QString(), parent) {}

QMyCmdBtn::QMyCmdBtn(const QString& text, QWidget* parent) : QPushButton(text, parent) {
    setAttribute(Qt::WA_AcceptTouchEvents);
}

QMyCmdBtn::~QMyCmdBtn() { release(); }

void QMyCmdBtn::setCommand(int id, QObject* receiver) {
    cmd_id = id;
    target = receiver;
}

void QMyCmdBtn::report(int type) {
    if (m_receiver.isNull()) {
        return;
    }
    QMyEvent event(type, this, nullptr, 0);
    QCoreApplication::sendEvent(m_receiver, &event);
}

// A press on top of a press (a finger while the mouse holds, a release that the system lost) is a hold of its
// own.
void QMyCmdBtn::press(Qt::MouseButton button) {
    release();
    m_held = true;
    m_receiver = target.isNull() ? eventReceiver() : target.data();
    m_watch.begin(button);
    report(EVT_CMD_BTN_DOWN);
}

void QMyCmdBtn::release() {
    if (!m_held) {
        return;
    }
    m_held = false;
    m_watch.end();
    report(EVT_CMD_BTN_UP);
}

void QMyCmdBtn::endHold() {
    if (!m_held) {
        return;
    }
    setDown(false);
    release();
}

bool QMyCmdBtn::event(QEvent* e) {
    switch (e->type()) {
        case QEvent::TouchBegin:
            if (touchBegin(e)) {
                return true;
            }
            break;
        case QEvent::TouchEnd:
            qDebug("zvdbg**TouchEnd");
            endHold();
            break;
        case QEvent::TouchCancel:
            endHold();
            touching = false;  // no synthesised release follows that would clear it
            break;
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            mousePress(e);
            break;
        case QEvent::MouseButtonRelease:
            mouseRelease(e);
            break;
        default:
            break;
    }
    return QPushButton::event(e);
}

// A disabled button gets its mouse and touch events here all the same: only the base class drops them.
bool QMyCmdBtn::touchBegin(QEvent* e) {
    if (!isEnabled()) {
        return false;
    }
    qDebug("zvdbg**TouchBegin");
    e->accept();
    press(Qt::NoButton);
    setDown(m_held);
    touching = true;
    return true;
}

void QMyCmdBtn::keyPressEvent(QKeyEvent* e) {
    if (isPressKey(*e)) {
        e->ignore();
    } else {
        QPushButton::keyPressEvent(e);
    }
}

void QMyCmdBtn::keyReleaseEvent(QKeyEvent* e) {
    if (isPressKey(*e)) {
        e->ignore();
    } else {
        QPushButton::keyReleaseEvent(e);
    }
}

void QMyCmdBtn::mousePress(QEvent* e) {
    if (!isEnabled() || !isLeftButton(e) || touching) {
        return;
    }
    qDebug("zvdbg**MouseButtonPress");
    press(Qt::LeftButton);
}

void QMyCmdBtn::mouseRelease(QEvent* e) {
    if (isLeftButton(e) && !touching) {
        qDebug("zvdbg**MouseButtonRelease");
        release();
    }
    touching = false;
}
