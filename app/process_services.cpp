#include "app/process_services.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
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

#ifndef Q_OS_WIN
// Quotes and the characters that stay special inside them are escaped, for the command line first and then as
// a value of the file; a lone percent sign would begin a field of its own.
QByteArray autostartEntry(const QString& name, const QString& path) {
    QString quoted = path;
    for (const char special : {'\\', '"', '`', '$'}) {
        quoted.replace(QLatin1Char(special), QString(QLatin1Char('\\')) + QLatin1Char(special));
    }
    quoted.replace(QLatin1Char('%'), QStringLiteral("%%"));
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    return QStringLiteral("[Desktop Entry]\nType=Application\nName=%1\nExec=\"%2\"\n")
        .arg(name, quoted)
        .toUtf8();
}
#endif

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
    const QByteArray entry = autostartEntry(name, QDir::toNativeSeparators(program_path));
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + name + QStringLiteral(".desktop");
    QFile present(path);
    if (present.open(QIODevice::ReadOnly) && present.readAll() == entry) {
        return;
    }
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(entry);
        file.commit();
    }
#endif
}
