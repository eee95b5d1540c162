// A receiver of the custom events in the main window's place.
#pragma once

#include <QObject>
#include <functional>

#include "app/events/my_event.h"

// Gives each event of the table to on_event; the payload is then its to free.
class EventCatcher : public QObject {
public:
    std::function<void(int number, QMyEvent&)> on_event;

    bool event(QEvent* e) override {
        const int number = e->type();
        if (number < EVT_CMD_BTN_DOWN || number > EVT_NAV_BLOCK) {
            return QObject::event(e);
        }
        if (on_event) {
            on_event(number, static_cast<QMyEvent&>(*e));
        }
        return true;
    }
};
