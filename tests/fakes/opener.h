// A program of the test's own in the place of the desktop's opener.
#pragma once

#include <QFile>
#include <QTemporaryDir>

// For the time of its life "xdg-open" is a script that keeps its argument.
class Opener {
public:
    Opener() : m_path(qgetenv("PATH")) {
        QFile script(m_dir.filePath(QStringLiteral("xdg-open")));
        script.open(QIODevice::WriteOnly);
        script.write("#!/bin/sh\nprintf '%s' \"$1\" > \"" + m_dir.filePath("seen.part").toUtf8() +
                     "\" && mv \"" + m_dir.filePath("seen.part").toUtf8() + "\" \"" +
                     m_dir.filePath("seen").toUtf8() + "\"\n");
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        script.close();
        qputenv("PATH", m_dir.path().toUtf8() + ":" + m_path);
    }
    ~Opener() { qputenv("PATH", m_path); }
    Opener(const Opener&) = delete;
    Opener& operator=(const Opener&) = delete;

    bool called() const { return QFile::exists(m_dir.filePath(QStringLiteral("seen"))); }
    QByteArray argument() const {
        QFile file(m_dir.filePath(QStringLiteral("seen")));
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }

private:
    QTemporaryDir m_dir;
    QByteArray m_path;
};
