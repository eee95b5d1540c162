// Single pictures of the open channels, their notice, and what the notices' buttons open.
#include <QTextCodec>

#include "recording_fixture.h"
#include "tests/fakes/opener.h"

namespace {

class Snapshot : public RecordingTest {
protected:
    static std::string gbk(const QString& text) {
        return QTextCodec::codecForName("GBK")->fromUnicode(text).toStdString();
    }
    // What the desktop is asked to show at a click.
    static QByteArray shownBy(const QDialog* notice, const char* button) {
        const Opener opener;
        notice->findChild<QPushButton*>(QLatin1String(button))->click();
        EXPECT_TRUE(waitFor([&] { return opener.called(); })) << button;
        return opener.argument();
    }
    QAction* snap() const { return ui().action_ctrlSingleSnap; }
};

TEST_F(Snapshot, EachOpenChannelIsTakenWithOneTime) {
    startWith();
    open1();
    open2();
    int asked = 0;
    in().m_localClock() = [&] {
        now.second = ++asked;
        return now;
    };
    forgetCalls();
    snap()->trigger();
    EXPECT_EQ(library().calls, (Calls{"StillBegin 1", "StillBegin 2"}));
    ASSERT_EQ(library().stills.size(), 2U);
    const QString day = snapBase() + "/20260309";
    const QString files[] = {day + "/070501_1.jpg", day + "/070501_2.jpg"};
    for (int i = 0; i < 2; ++i) {
        const fake_tavrik::Still& still = library().stills[static_cast<std::size_t>(i)];
        EXPECT_EQ(still.handle, i + 1);
        EXPECT_EQ(still.directory, gbk(snapBase()));
        EXPECT_EQ(still.reserved, 0);
        EXPECT_EQ(still.count, 1);
        EXPECT_EQ(still.path, gbk(files[i]));
    }
    EXPECT_NE(gbk(snapBase()), snapBase().toStdString()) << "the folder's name tells the encodings apart";
    EXPECT_EQ(in().snap_dir(), day);
    EXPECT_EQ(in().snap_file(), files[1]);
    EXPECT_TRUE(QDir(snapBase()).exists());
    EXPECT_FALSE(QDir(day).exists()) << "the dated directory is the library's";
    EXPECT_FALSE(in().snapping1() || in().snapping2());
}

TEST_F(Snapshot, TheSecondChannelAloneHasItsNumber) {
    startWith();
    open2();
    snap()->trigger();
    ASSERT_EQ(library().stills.size(), 1U);
    EXPECT_EQ(library().stills[0].path, gbk(snapBase() + "/20260309/070502_2.jpg"));
    snap()->trigger();
    EXPECT_EQ(library().stills[1].path, library().stills[0].path) << "overwritten within a second";
}

TEST_F(Snapshot, WithoutAnOpenChannelThereIsNone) {
    startWith();
    snap()->trigger();
    in().m_replayState() = 1;
    snap()->trigger();
    in().m_replayState() = 0;
    EXPECT_TRUE(library().calls.empty());
    EXPECT_EQ(in().snap_notice(), nullptr);
    EXPECT_FALSE(QDir(snapBase()).exists());
}

TEST_F(Snapshot, WithoutADirectoryThereIsNone) {
    QFile in_the_way(snapBase());
    ASSERT_TRUE(in_the_way.open(QIODevice::WriteOnly));
    startWith();
    open1();
    forgetCalls();
    snap()->trigger();
    EXPECT_TRUE(library().calls.empty());
    EXPECT_EQ(in().snap_notice(), nullptr);
    EXPECT_EQ(in().snap_file(), "");
}

TEST_F(Snapshot, TheNoticeShowsWhetherOrNotTheFileCameAbout) {
    startWith();
    open1();
    snap()->trigger();
    const MyCompNotifyDlg* notice = in().snap_notice();
    ASSERT_TRUE(shown(notice));
    EXPECT_EQ(message(notice), snapBase() + "/20260309/070502_1.jpg");
    EXPECT_FALSE(QFile::exists(in().snap_file()));
    EXPECT_TRUE(notice->findChild<QWidget*>("pushButton_openDir")->isVisible());
    EXPECT_FALSE(notice->findChild<QWidget*>("pushButton_openRecDir")->isVisible());
    EXPECT_TRUE(notice->findChild<QWidget*>("pushButton_openFile")->isVisible());
    EXPECT_EQ(in().rec_notice(), nullptr);
    EXPECT_TRUE(waitFor([&] { return !shown(notice); }, 30000));
    snap()->trigger();
    EXPECT_EQ(in().snap_notice(), notice) << "kept";
    EXPECT_TRUE(shown(notice));
}

TEST_F(Snapshot, TheButtonsOpenWhatWasWrittenAndThePictureComesFirst) {
    startWith();
    open1();
    ui().action_ctrlRec->trigger();
    ui().action_ctrlRec->trigger();
    const QByteArray day = "/20260309";
    const QByteArray record = recordBase().toUtf8() + day;
    const QByteArray picture = snapBase().toUtf8() + day;
    EXPECT_EQ(shownBy(in().rec_notice(), "pushButton_openRecDir"), record);
    EXPECT_EQ(shownBy(in().rec_notice(), "pushButton_openFile"), record + "/070502_2.mp4");
    snap()->trigger();
    EXPECT_EQ(shownBy(in().snap_notice(), "pushButton_openDir"), picture);
    EXPECT_EQ(shownBy(in().snap_notice(), "pushButton_openFile"), picture + "/070502_1.jpg");
    EXPECT_EQ(shownBy(in().rec_notice(), "pushButton_openFile"), picture + "/070502_1.jpg")
        << "the latest picture, on the recording's notice too";
}

TEST_F(Snapshot, TheNoticesSpeakTheLanguage) {
    startWith({{"common/language", 1}});
    open1();
    snap()->trigger();
    const auto text = [this](const char* button) {
        return in().snap_notice()->findChild<QPushButton*>(QLatin1String(button))->text();
    };
    EXPECT_EQ(text("pushButton_openDir"), "Open folder");
    EXPECT_EQ(text("pushButton_openFile"), "Open file");
    EXPECT_EQ(message(in().snap_notice()), in().snap_file());
    in().m_settings()->ui->cbb_selLang->setCurrentIndex(0);
    ASSERT_TRUE(waitFor([this] { return raw()->text() == "录制视频流"; }, 20000));
    snap()->trigger();
    EXPECT_EQ(text("pushButton_openDir"), "打开目录") << "that of the moment";
    EXPECT_EQ(message(in().snap_notice()), in().snap_file());
}

}  // namespace
