#include "app/process_services.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <new>

#include "app/korvath.h"

namespace {

// Written once by main before any library thread can start, and read without a lock from then on.
Korvath* g_instance = nullptr;

void postPlainEvent(const char* name, int type) {
    qDebug("%s", name);
    if (Korvath* window = instance()) {
        if (auto* event = new (std::nothrow) QMyPlainEvent(type)) {
            QCoreApplication::postEvent(window, event, Qt::NormalEventPriority);
        }
    }
}

}  // namespace

Korvath* instance() {
    return g_instance;
}

void setInstance(Korvath* window) {
    g_instance = window;
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
#ifdef Q_OS_WIN
    QSettings run(QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run"),
                  QSettings::Registry64Format);
    const QString name = QFileInfo(program_path).baseName();
    const QString path = QDir::toNativeSeparators(program_path);
    if (run.value(name, QString()).toString() != path) {
        run.setValue(name, path);
    }
#else
    // The desktop's counterpart of the system's list of programs to run at login.
    const QString config =
        qEnvironmentVariable("XDG_CONFIG_HOME", QDir::homePath() + QStringLiteral("/.config"));
    const QString folder = config + QStringLiteral("/autostart");
    const QString name = QFileInfo(program_path).baseName();
    const QString path = QDir::toNativeSeparators(program_path);
    QDir().mkpath(folder);
    QSettings entry(folder + QLatin1Char('/') + name + QStringLiteral(".desktop"), QSettings::IniFormat);
    entry.setIniCodec("utf-8");
    entry.beginGroup(QStringLiteral("Desktop Entry"));
    // Quotes and the characters that stay special inside them are escaped; a blank in a path must not cut it.
    QString quoted = path;
    for (const char special : {'\\', '"', '`', '$'}) {
        quoted.replace(QLatin1Char(special), QString(QLatin1Char('\\')) + QLatin1Char(special));
    }
    const QString exec = QLatin1Char('"') + quoted + QLatin1Char('"');
    if (entry.value(QStringLiteral("X-Path"), QString()).toString() != path) {
        entry.setValue(QStringLiteral("Type"), QStringLiteral("Application"));
        entry.setValue(QStringLiteral("Name"), name);
        entry.setValue(QStringLiteral("Exec"), exec);
        entry.setValue(QStringLiteral("X-Path"), path);
    }
#endif
}
