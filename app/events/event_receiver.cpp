#include "app/events/event_receiver.h"

namespace {

QObject* g_receiver = nullptr;

}  // namespace

QObject* eventReceiver() { return g_receiver; }

void setEventReceiver(QObject* receiver) { g_receiver = receiver; }
