// What is missing is named in one line.
#include "widgets/run_tree.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

QStringList* g_lines = nullptr;

void keep(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
    *g_lines << text;
}

class RunTree : public ::testing::Test {
protected:
    RunTree() {
        g_lines = &lines;
        qInstallMessageHandler(keep);
    }
    ~RunTree() override { qInstallMessageHandler(nullptr); }

    QStringList lines;
    QTemporaryDir folder;
};

TEST_F(RunTree, MissingFilesAreNamedInOneLine) {
    QFile there(folder.filePath("there"));
    ASSERT_TRUE(there.open(QIODevice::WriteOnly));
    nameMissingFiles({"./nowhere/a.qss", there.fileName(), "b.png"});
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines[0].contains("./nowhere/a.qss b.png")) << qPrintable(lines[0]);
    EXPECT_TRUE(lines[0].contains(QDir::currentPath())) << qPrintable(lines[0]);
    EXPECT_FALSE(lines[0].contains(there.fileName())) << qPrintable(lines[0]);
}

TEST_F(RunTree, WhereNothingIsMissingNothingIsSaid) {
    nameMissingFiles({folder.path()});
    EXPECT_TRUE(lines.isEmpty());
}

}  // namespace
