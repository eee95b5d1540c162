// Waiting for a condition while the event loop runs.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

// True as soon as `condition` holds, false when it still does not after the deadline. Between two looks the
// event loop sleeps until something happens, 10 ms at most.
template <typename Condition>
bool waitFor(Condition condition, int deadline_ms = 5000) {
    QTimer wake;
    wake.start(10);
    const QDeadlineTimer deadline(deadline_ms);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}
