#include "platform/show_directory.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>
#include <csignal>

#include "wait.h"

namespace {

// Puts a program of our own in the place of the desktop's opener for the time of a test.
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

TEST(ShowDirectory, HandsThePathToTheDesktopsProgram) {
    for (const char* path : {"/tmp", "/tmp/录像 1; $(false) \"x\""}) {
        const Opener opener;
        EXPECT_TRUE(platform::showDirectory(path));
        ASSERT_TRUE(waitFor([&] { return opener.called(); }));
        EXPECT_EQ(opener.argument(), QByteArray(path));
    }
}

TEST(ShowDirectory, WhereTheSystemReapsChildrenItDoesNotWaitForEver) {
    const Opener opener;
    const auto before = ::signal(SIGCHLD, SIG_IGN);
    EXPECT_TRUE(platform::showDirectory("/tmp"));
    ::signal(SIGCHLD, before);
    EXPECT_TRUE(waitFor([&] { return opener.called(); }));
}

TEST(ShowDirectory, NoPathStartsNothing) {
    EXPECT_FALSE(platform::showDirectory(""));
    EXPECT_FALSE(platform::showDirectory(nullptr));
}

}  // namespace
