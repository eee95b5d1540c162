#include "app/process_services.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <new>

#include "app/events/event_receiver.h"
#include "app/events/my_event.h"
#include "app/korvath.h"
#include "platform/autostart.h"

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

Korvath* instance() {
    return static_cast<Korvath*>(eventReceiver());
}

void setInstance(Korvath* window) {
    setEventReceiver(window);
}

void Play_Fail_CallBack() {
    postPlainEvent(__func__, EVT_PLAY_FAIL);
}

void Replay_Start_Callback() {
    postPlainEvent(__func__, EVT_REPLAY_START);
}

void Replay_End_Callback() {
    postPlainEvent(__func__, EVT_REPLAY_END);
}

void setAutoStart(const QString& program_path) {
    platform::registerAutostart(QFileInfo(program_path).baseName().toStdString(),
                                QDir::toNativeSeparators(program_path).toStdString());
}
