#include "app/events/stream_callbacks.h"

#include <QCoreApplication>
#include <QDebug>
#include <new>

#include "app/events/event_receiver.h"
#include "app/events/my_event.h"

namespace {

void postPlainEvent(const char* name, int type) {
    qDebug("%s", name);
    if (QObject* receiver = eventReceiver()) {
        if (auto* event = new (std::nothrow) QMyPlainEvent(type)) {
            QCoreApplication::postEvent(receiver, event, Qt::NormalEventPriority);
        }
    }
}

}  // namespace

void Play_Fail_CallBack() { postPlainEvent(__func__, EVT_PLAY_FAIL); }

void Replay_Start_Callback() { postPlainEvent(__func__, EVT_REPLAY_START); }

void Replay_End_Callback() { postPlainEvent(__func__, EVT_REPLAY_END); }
