// The main window's timers are fields with ids, routed by its timer table; parts start and end them through
// this.
#pragma once

#include <QAbstractEventDispatcher>
#include <QObject>

// Ends a timer of `owner`; ids that are not running (-1, 0, one that belongs to nobody any more) do nothing.
inline void killIfRunning(QObject& owner, int timer) {
    auto* dispatcher = QAbstractEventDispatcher::instance();
    if (dispatcher == nullptr) {
        return;
    }
    const auto running = dispatcher->registeredTimers(&owner);
    for (const auto& info : running) {
        if (info.timerId == timer) {
            owner.killTimer(timer);
        }
    }
}
