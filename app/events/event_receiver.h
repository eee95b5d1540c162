// Who receives the custom events.
#pragma once

class QObject;

// The one main window, or null until it has been constructed; null again is possible in tests alone. Any
// thread.
QObject* eventReceiver();
// Set once by the program's start, before any library thread can run, and read without a lock from then on.
void setEventReceiver(QObject* receiver);
