#include "app/process_services.h"

#include <QDir>
#include <QFileInfo>

#include "app/events/event_receiver.h"
#include "app/korvath.h"
#include "platform/autostart.h"

Korvath* instance() { return static_cast<Korvath*>(eventReceiver()); }

void setInstance(Korvath* window) { setEventReceiver(window); }

void setAutoStart(const QString& program_path) {
    platform::registerAutostart(QFileInfo(program_path).baseName().toStdString(),
                                QDir::toNativeSeparators(program_path).toStdString());
}
