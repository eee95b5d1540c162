// The wheel scrolls a page; what happens to lie under the pointer does not change by it.
#pragma once

class QEvent;
class QObject;

// For a filter that sees every event of the application: true when `e` is the wheel on a closed combo box, a
// spin box or a slider. The event is then ignored, and returning true from the filter lets the application
// give it to the parent. Scroll bars, item views and open lists keep the wheel. GUI thread.
bool passWheelOn(const QObject* object, QEvent* e);
