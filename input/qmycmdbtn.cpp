#include "input/qmycmdbtn.h"

#include <QApplication>
#include <QDebug>
#include <QMouseEvent>

#include "app/korvath.h"
#include "app/my_event.h"

QMyCmdBtn::QMyCmdBtn(QWidget* parent) : QPushButton(parent) {
    init();
}

QMyCmdBtn::QMyCmdBtn(const QString& text, QWidget* parent) : QPushButton(text, parent) {
    init();
}

QMyCmdBtn::~QMyCmdBtn() {
    endHold();
}

void QMyCmdBtn::init() {
    setAttribute(Qt::WA_AcceptTouchEvents);
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state != Qt::ApplicationActive) {
            endHold();
        }
    });
}

void QMyCmdBtn::setCommand(int id, QObject* receiver) {
    cmd_id = id;
    target = receiver;
}

void QMyCmdBtn::press() {
    if (m_held) {
        return;
    }
    m_held = true;
    qApp->installEventFilter(this);
    report(EVT_CMD_BTN_DOWN);
}

void QMyCmdBtn::endHold() {
    if (!m_held) {
        return;
    }
    m_held = false;
    qApp->removeEventFilter(this);
    report(EVT_CMD_BTN_UP);
}

void QMyCmdBtn::report(int type) {
    QObject* receiver = target != nullptr ? target : instance();
    if (receiver != nullptr) {
        QMyEvent event(type, this, nullptr, 0);
        QCoreApplication::sendEvent(receiver, &event);
    }
}

bool QMyCmdBtn::event(QEvent* e) {
    const auto left = [e] { return static_cast<QMouseEvent*>(e)->button() == Qt::LeftButton; };
    switch (e->type()) {
        case QEvent::TouchBegin:
            qDebug("zvdbg**TouchBegin");
            press();
            touching = true;
            return true;
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
            if (left() && !touching) {
                qDebug("zvdbg**MouseButtonPress");
                press();
            }
            break;
        case QEvent::MouseButtonRelease:
            if (left() && !touching) {
                qDebug("zvdbg**MouseButtonRelease");
                endHold();
            }
            touching = false;
            break;
        case QEvent::Hide:
            endHold();
            break;
        case QEvent::EnabledChange:
            if (!isEnabled()) {
                endHold();
            }
            break;
        default:
            break;
    }
    return QPushButton::event(e);
}

bool QMyCmdBtn::eventFilter(QObject* obj, QEvent* e) {
    switch (e->type()) {
        case QEvent::WindowBlocked:
            if (obj == window()) {
                endHold();
            }
            break;
        case QEvent::MouseButtonRelease:
            // A popup or another grabber took the mouse: the release never comes here.
            if (obj != this && obj->isWidgetType() && !touching &&
                static_cast<QMouseEvent*>(e)->button() == Qt::LeftButton) {
                endHold();
            }
            break;
        default:
            break;
    }
    return QPushButton::eventFilter(obj, e);
}
