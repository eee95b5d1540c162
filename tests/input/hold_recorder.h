// Who gets the two events of a held button, and the finger that holds it.
#pragma once

#include <QEvent>
#include <QTest>
#include <QTouchDevice>
#include <QWidget>
#include <vector>

#include "app/events/my_event.h"

// Notes the two events that reach an object, in order, with their senders.
class HoldRecorder : public QObject {
public:
    std::vector<int> types;
    QObject* sender = nullptr;

    bool event(QEvent* e) override {
        note(e);
        return QObject::event(e);
    }
    bool eventFilter(QObject* object, QEvent* e) override {
        note(e);
        return QObject::eventFilter(object, e);
    }
    std::vector<int> take() {
        std::vector<int> result;
        result.swap(types);
        return result;
    }

private:
    void note(QEvent* e) {
        const int type = e->type();
        if (type != EVT_CMD_BTN_DOWN && type != EVT_CMD_BTN_UP) {
            return;
        }
        types.push_back(type);
        sender = static_cast<QMyEvent*>(e)->sender;
    }
};

using Types = std::vector<int>;
inline const Types kDown = {1000};
inline const Types kUp = {1001};

inline QTouchDevice* touchScreen() {
    static QTouchDevice* device = QTest::createTouchDevice();
    return device;
}

inline void touchPress(QWidget* w) { QTest::touchEvent(w, touchScreen()).press(0, w->rect().center(), w); }
inline void touchRelease(QWidget* w, const QPoint& at) {
    QTest::touchEvent(w, touchScreen()).release(0, at, w);
}
