// The page of directories and saving intervals.
#include <QDir>
#include <QFileDialog>
#include <QTemporaryDir>

#include "settings_fixture.h"

namespace {

TEST_F(SettingsTest, AStoredIntervalOfFifteenShowsThirtyAndClosingTheDialogStoresThirty) {
    restartWith({{"dataSave/record_interval", 15}, {"dataSave/telemetry_saving_interval", 15}});
    EXPECT_EQ(form().cbb_recSaveIntvl->currentText(), "30");
    EXPECT_EQ(form().cbb_telemSaveIntvl->currentText(), "30");
    EXPECT_EQ(config().record_interval, 15);
    show();
    close();
    EXPECT_EQ(config().record_interval, 30);
    EXPECT_EQ(config().telemetry_saving_interval, 30);
    stop();
    EXPECT_EQ(stored("dataSave/record_interval").toInt(), 30);
    EXPECT_EQ(stored("dataSave/telemetry_saving_interval").toInt(), 30);
}

TEST_F(SettingsTest, AnIntervalThatWasNeverClosedOverStaysAsItWas) {
    restartWith({{"dataSave/record_interval", 15}});
    stop();
    EXPECT_EQ(stored("dataSave/record_interval").toInt(), 15);
}

TEST_F(SettingsTest, TheIntervalsOfferFiveValuesAndKeepEachOfThem) {
    const QStringList offered = {"1", "2", "5", "10", "30"};
    EXPECT_EQ(items(form().cbb_recSaveIntvl), offered);
    EXPECT_EQ(items(form().cbb_telemSaveIntvl), offered);
    for (const QString& minutes : offered) {
        restartWith({{"dataSave/record_interval", minutes}, {"dataSave/telemetry_saving_interval", minutes}});
        EXPECT_EQ(form().cbb_recSaveIntvl->currentText(), minutes);
        EXPECT_EQ(form().cbb_telemSaveIntvl->currentText(), minutes);
    }
}

TEST_F(SettingsTest, EverySettingOfTheFilePageSurvivesARestart) {
    show();
    form().cbb_recSaveIntvl->setCurrentIndex(1);
    form().cbb_telemSaveIntvl->setCurrentIndex(4);
    form().checkBox->setChecked(false);
    form().checkBox_2->setChecked(true);
    form().checkBox_3->setChecked(false);
    form().checkBox_4->setChecked(true);
    close();
    EXPECT_EQ(config().telemetry_saving_option, 10);
    restart();
    EXPECT_EQ(form().cbb_recSaveIntvl->currentText(), "2");
    EXPECT_EQ(form().cbb_telemSaveIntvl->currentText(), "30");
    EXPECT_FALSE(form().checkBox->isChecked());
    EXPECT_TRUE(form().checkBox_2->isChecked());
    EXPECT_FALSE(form().checkBox_3->isChecked());
    EXPECT_TRUE(form().checkBox_4->isChecked());
}

TEST_F(SettingsTest, EachSavingOptionIsItsOwnBitAndTheOthersAreDropped) {
    for (int bit = 0; bit < 4; ++bit) {
        restartWith({{"dataSave/telemetry_saving_option", 0xF0 | 1 << bit}});
        const QList<QCheckBox*> boxes = {form().checkBox, form().checkBox_2, form().checkBox_3,
                                         form().checkBox_4};
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(boxes[i]->isChecked(), i == bit);
        }
        show();
        close();
        EXPECT_EQ(config().telemetry_saving_option, 1 << bit);
    }
}

struct DirectoryCase {
    const char* edit;
    const char* change;
    const char* open;
    const char* title;
    QString MyAppConfig::*key;
    const char* stored_key;
};
const DirectoryCase kDirectories[] = {
    {"le_recSaveDir", "btn_recSaveDirChange", "btn_recSaveDirOpen", "请选择录像默认保存路径",
     &MyAppConfig::default_video_saving_directory, "dataSave/default_video_saving_directory"},
    {"le_recOpenDir", "btn_recOpenDirChange", "btn_recOpenDirOpen", "请选择拍照默认保存路径",
     &MyAppConfig::default_record_open_directory, "dataSave/default_record_open_directory"},
    {"le_telemSaveDir", "btn_telemSaveDirChange", "btn_telemSaveDirOpen", "请选择遥测信息默认保存路径",
     &MyAppConfig::default_telemetry_saving_directory, "dataSave/default_telemetry_saving_directory"},
};

// Answers the directory chooser when it opens: a path, or an empty one to dismiss it.
class ChooserAnswer : public QObject {
public:
    explicit ChooserAnswer(const QString& path) {
        connect(&m_poll, &QTimer::timeout, this, [this, path] {
            auto* chooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (chooser == nullptr || !chooser->isVisible()) {
                return;
            }
            m_poll.stop();
            title = chooser->windowTitle();
            directory = chooser->directory().absolutePath();
            directories_only = chooser->testOption(QFileDialog::ShowDirsOnly);
            if (path.isEmpty()) {
                chooser->reject();
                return;
            }
            chooser->setDirectory(path);
            // The file name's edit may hold nothing: the shown directory itself is then the answer.
            chooser->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            QMetaObject::invokeMethod(chooser, "accept");
        });
        m_poll.start(10);
    }
    QString title;
    QString directory;
    bool directories_only = false;

private:
    QTimer m_poll;
};

TEST_F(SettingsTest, ADirectoryChosenReachesTheEditAndTheConfigurationAtOnce) {
    QTemporaryDir folder;
    const QString path = folder.path() + QStringLiteral("/录像");
    ASSERT_TRUE(QDir().mkpath(path));
    show();
    form().widget_title->setCurrentRow(5);
    for (const DirectoryCase& row : kDirectories) {
        auto* edit = onPage<QLineEdit>(form().page_file, row.edit);
        ASSERT_NE(edit, nullptr);
        EXPECT_EQ(edit->text(), config().*row.key);
        EXPECT_TRUE(edit->isReadOnly());
        const QString before = edit->text();
        ChooserAnswer none{QString()};
        onPage<QPushButton>(form().page_file, row.change)->click();
        EXPECT_EQ(none.title, QString::fromUtf8(row.title));
        EXPECT_EQ(none.directory, QDir("./").absolutePath());
        EXPECT_TRUE(none.directories_only);
        EXPECT_EQ(edit->text(), before);
        EXPECT_EQ(config().*row.key, before);
        ChooserAnswer chosen{path};
        onPage<QPushButton>(form().page_file, row.change)->click();
        EXPECT_EQ(edit->text(), path) << row.edit;
        EXPECT_EQ(config().*row.key, path) << row.edit;
    }
    stop();
    for (const DirectoryCase& row : kDirectories) {
        EXPECT_EQ(stored(row.stored_key).toString(), path);
    }
}

TEST_F(SettingsTest, TheFolderButtonShowsTheStoredDirectory) {
    QTemporaryDir folder;
    const QString seen = folder.filePath("seen");
    {
        QFile script(folder.filePath("xdg-open"));
        ASSERT_TRUE(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\nprintf '%s' \"$1\" > \"" + seen.toUtf8() + ".part\" && mv \"" +
                     seen.toUtf8() + ".part\" \"" + seen.toUtf8() + "\"\n");
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", folder.path().toUtf8() + ":" + path);
    for (const DirectoryCase& row : kDirectories) {
        QFile::remove(seen);
        config().*row.key = folder.path() + "/" + row.edit;
        onPage<QPushButton>(form().page_file, row.open)->click();
        EXPECT_TRUE(waitFor([&] { return QFile::exists(seen); })) << row.open;
        EXPECT_TRUE(QDir(config().*row.key).exists()) << "there was nothing to show";
        QFile file(seen);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(QString::fromUtf8(file.readAll()),
                  QDir::toNativeSeparators(folder.path() + "/" + row.edit));
    }
    qputenv("PATH", path);
}

}  // namespace
