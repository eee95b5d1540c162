// Firmware upgrades through the whole window, with the simulated pod as a process: its flash against the
// file.
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QTextEdit>

#include <algorithm>

#include "link_peer.h"
#include "pod_fixture.h"

namespace {

class UpgradeTest : public PodTest {
protected:
    void startBoth(const QStringList& faults = {}, const QMap<QString, QVariant>& values = {}) {
        startStation(values);
        QStringList options = {"--flash", folder.path(), "--event-log", folder.filePath("pod.log")};
        for (const QString& fault : faults) {
            options << "--upgrade-fault" << fault;
        }
        startPod(options);
        connectToPod();
    }
    Ui::dialogSettings& form() const { return *in().m_settings()->ui; }
    QString write(const QString& name, int size) {
        QByteArray bytes;
        quint32 random = 1;
        for (int i = 0; i < size; ++i) {
            random = random * 1664525U + 1013904223U;
            bytes += static_cast<char>(random >> 24U);
        }
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }
    static QByteArray contents(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
    QByteArray flash(int module = 0) const {
        return contents(folder.filePath(QString("module%1.bin").arg(module)));
    }

    void enterMode() {
        form().pushButton_5->click();
        form().pushButton_5->click();
        ASSERT_TRUE(waitFor([this] { return form().label_73->text() == "等待固件升级"; }, kPatienceMs));
    }
    void startFile(const QString& path) {
        form().lineEdit_9->setText(path);
        form().pushButton_20->click();
    }
    // The lines of the log since it was cleared.
    QStringList log() const { return form().textEdit_3->toPlainText().split('\n', Qt::SkipEmptyParts); }
    bool waitForState(const QString& text) {
        return waitFor([&] { return !log().isEmpty() && log().last() == text; }, kPatienceMs);
    }
    // A whole upgrade, from the start on.
    void expectSuccess(const QString& path, int module = 0) {
        QFile::remove(folder.filePath(QString("module%1.bin").arg(module)));
        form().pushButton_4->click();
        const int boxes_before = boxes.seen.size();
        startFile(path);
        ASSERT_TRUE(waitForState("校验正确，升级成功，重启生效")) << qPrintable(log().join("\n"));
        EXPECT_EQ(flash(module), contents(path)) << qPrintable(path);
        ASSERT_TRUE(waitFor([&] { return boxes.seen.size() > boxes_before; }, kPatienceMs));
        EXPECT_EQ(boxes.seen.last(), "提示: 升级成功，重启生效！");
    }
    QStringList podLog(const QString& containing) const {
        QStringList lines;
        for (const QByteArray& line : contents(folder.filePath("pod.log")).split('\n')) {
            if (line.contains(containing.toUtf8())) {
                lines << QString::fromUtf8(line);
            }
        }
        return lines;
    }
    // An answer of the pod to a line at its console.
    QString console(const QByteArray& line) {
        m_pod.readAllStandardOutput();
        m_pod.write(line + "\n");
        QByteArray text;
        EXPECT_TRUE(waitFor(
            [&] {
                text += m_pod.readAllStandardOutput();
                return text.endsWith('\n');
            },
            kPatienceMs));
        return QString::fromUtf8(text).trimmed();
    }

    static constexpr int kPatienceMs = 60000;
    QTemporaryDir folder;
    BoxWatcher boxes;
};

const QStringList kGood = {"文件名匹配正确", "总帧数和总字节数接收正确", "正在擦除flash",
                           "正在写flash",    "flash擦写完毕，开始校验",  "校验正确，升级成功，重启生效"};

TEST_F(UpgradeTest, FilesOfEverySizeArriveAsTheyAre) {
    startBoth();
    enterMode();
    for (const int size : {0, 1, 127, 128, 129, 1280, 1281, 200000}) {
        SCOPED_TRACE(size);
        expectSuccess(write(QString("fw%1.bin").arg(size), size));
        EXPECT_EQ(log(), kGood);
        const int frames = (size + 127) / 128;
        if (frames > 0) {
            EXPECT_EQ(form().label_72->text(), QString("%1/%1").arg(frames));
            EXPECT_EQ(form().progressBar->value(), frames);
            EXPECT_EQ(form().progressBar->maximum(), frames);
        }
    }
}

TEST_F(UpgradeTest, TheOtherModuleRunsItsNewVersionAfterARestart) {
    startBoth();
    form().comboBox_11->setCurrentIndex(1);
    enterMode();
    expectSuccess(write("servo.bin", 5000), 1);
    EXPECT_FALSE(QFile::exists(folder.filePath("module0.bin")));
    EXPECT_EQ(console("upgrade"), "upgrade idle 40/40 main=1.2 servo=1.0");
    window->sendVariableFrame(57, "\x09", 1);
    EXPECT_TRUE(
        waitFor([&] { return console("upgrade") == "upgrade idle 40/40 main=1.2 servo=1.1"; }, kPatienceMs));
}

// The pod asks again by itself, whatever it has lost.
TEST_F(UpgradeTest, FaultsOfThePodCostNothingButTime) {
    startBoth({"lost@0", "doubled@3", "late@7", "reordered@11", "state=5@19", "state=200@23", "lost@199"});
    enterMode();
    expectSuccess(write("fw.bin", 200 * 128));
    QStringList expected = kGood;
    expected.insert(4, "当前程序帧传送失败");
    EXPECT_EQ(log(), expected);
}

TEST_F(UpgradeTest, AFailedCheckIsShownAndANewStartSucceeds) {
    startBoth({"flash@17"});
    enterMode();
    form().pushButton_4->click();
    const QString path = write("fw.bin", 200 * 128);
    startFile(path);
    ASSERT_TRUE(waitForState("校验错误，升级失败，请重新升级"));
    EXPECT_EQ(form().label_73->text(), "校验错误，升级失败，请重新升级");
    EXPECT_TRUE(boxes.seen.isEmpty());
    expectSuccess(path);
}

TEST_F(UpgradeTest, ASilentPodLeavesThePageAsItIsAndANewStartSucceeds) {
    startBoth({"silence@120"});
    enterMode();
    form().pushButton_4->click();
    const QString path = write("fw.bin", 200 * 128);
    startFile(path);
    ASSERT_TRUE(waitFor([this] { return form().label_72->text() == "120/200"; }, kPatienceMs));
    const auto reports = [this] {
        return QRegularExpression("reports=(\\d+)").match(console("status")).captured(1).toInt();
    };
    const int then = reports();
    ASSERT_TRUE(waitFor([&] { return reports() > then + 20; }, kPatienceMs)) << "the pod lives";
    EXPECT_EQ(form().label_72->text(), "120/200");
    EXPECT_EQ(form().progressBar->value(), 120);
    EXPECT_EQ(form().label_73->text(), "正在写flash");
    EXPECT_TRUE(boxes.seen.isEmpty());
    expectSuccess(path);
}

TEST_F(UpgradeTest, ANameBeyondLatin1IsRefusedByThePod) {
    startBoth();
    enterMode();
    form().pushButton_4->click();
    startFile(write("固件.bin", 300));
    ASSERT_TRUE(waitForState("文件名匹配错误"));
    EXPECT_EQ(form().label_73->text(), "文件名匹配错误");
    expectSuccess(write("fw.bin", 300));
}

TEST_F(UpgradeTest, AStartWithoutTheModeIsToldToKeepToTheOrder) {
    startBoth();
    startFile(write("fw.bin", 300));
    ASSERT_TRUE(waitForState("请按升级流程传输文件，请勿越级处理"));
    enterMode();
    expectSuccess(folder.filePath("fw.bin"));
}

TEST_F(UpgradeTest, AnswersActWithThePageOnAnotherRowAndTheDialogClosed) {
    startBoth();
    enterMode();
    form().widget_title->setCurrentRow(3);
    in().m_settings()->close();
    ASSERT_FALSE(form().page_update->isVisible());
    expectSuccess(write("fw.bin", 1281));
    EXPECT_EQ(log(), kGood);
    EXPECT_EQ(form().label_72->text(), "11/11");
}

// The pod in the test's hands, which sees every datagram.
class UpgradeWireTest : public LinkTest {
protected:
    void SetUp() override {
        start({{"common/send_single", false}, {"common/send_period_ms", 20}});
        openUdp();
        ASSERT_TRUE(waitFor([this] { return peer.count() > 5; })) << "the mode is on";
        form().lineEdit_9->setText(write());
    }
    Ui::dialogSettings& form() const { return *in().m_settings()->ui; }
    QString write() const {
        QFile file(folder.filePath("fw.bin"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(200 * 128 - 3, 'x'));
        return file.fileName();
    }
    static bool ofTheUpgrade(const QByteArray& frame) {
        return frame.startsWith("\xFB\x2C\xAA") && frame.mid(4, 2) == QByteArray("\x00\x30", 2);
    }
    // The frames of the upgrade that have come so far.
    int upgradeFrames() {
        return static_cast<int>(std::count_if(peer.frames().begin(), peer.frames().end(), ofTheUpgrade));
    }
    void answer(const QByteArray& data) {
        QByteArray frame =
            QByteArray("\xFC\x2C\x55", 3) + static_cast<char>(data.size() + 2) + "\x01\x30" + data;
        char check = 0;
        for (int i = 3; i < frame.size(); ++i) {
            check = static_cast<char>(check ^ frame[i]);
        }
        peer.reply(frame + check);
    }
    // Answers, and waits for the frame that it asks for.
    void ask(const QByteArray& data) {
        const int before = upgradeFrames();
        answer(data);
        ASSERT_TRUE(waitFor([&] { return upgradeFrames() > before; }, 60000));
    }

    QTemporaryDir folder;
    BoxWatcher boxes;
};

// Periodic mode: nothing but the upgrade's own frames leaves, until the mode is applied anew.
TEST_F(UpgradeWireTest, NoPeriodicFrameLeavesFromTheStartOn) {
    form().pushButton_20->click();
    EXPECT_EQ(in().m_periodTimer(), -1);
    EXPECT_EQ(in().m_navTimer(), -1);
    ASSERT_TRUE(waitFor([this] { return upgradeFrames() > 0; }));
    ask(QByteArray("\0\2", 2));
    ask(QByteArray("\0\10", 2));
    for (int frame = 1; frame < 200; ++frame) {
        ask(QByteArray("\0\6", 2) + static_cast<char>(frame) + '\0');
    }
    answer(QByteArray("\0\11", 2));
    answer(QByteArray("\0\13", 2));
    ASSERT_TRUE(waitFor([this] { return !boxes.seen.isEmpty(); }, 60000));
    letTheStartEnd();  // a time in which the mode would have sent several
    const auto& frames = peer.frames();
    const auto name = std::find_if(frames.begin(), frames.end(), ofTheUpgrade);
    EXPECT_EQ(std::distance(name, frames.end()), 202) << "name, size and two hundred frames";
    EXPECT_TRUE(std::all_of(name, frames.end(), ofTheUpgrade));
    EXPECT_EQ(in().m_periodTimer(), -1);
    const std::size_t before = peer.count();
    window->applySendMode();
    EXPECT_TRUE(waitFor([&] { return peer.count() > before + 5; }, 60000));
}

// Single mode with the stream of positions.
TEST_F(UpgradeWireTest, NoPositionLeavesFromTheStartOn) {
    chooseSingle();
    form().checkBox_16->setChecked(true);
    const auto positions = [](const QByteArray& f) { return f.mid(4, 2) == QByteArray("\x02\x04", 2); };
    ASSERT_TRUE(waitFor([&] { return peer.count() > 0 && positions(peer.frames().back()); }, 60000));
    form().pushButton_20->click();
    EXPECT_EQ(in().m_navTimer(), -1);
    ASSERT_TRUE(waitFor([this] { return upgradeFrames() > 0; }));
    letTheStartEnd();  // a time in which several would have come
    EXPECT_TRUE(ofTheUpgrade(peer.frames().back()));
    EXPECT_EQ(upgradeFrames(), 1);
}

// A movement whose stop would have gone out with the next ticks ends before they cease.
TEST_F(UpgradeWireTest, WhatMovesEndsBeforeTheLineFallsSilent) {
    in().m_btnCtrlPane()->click();
    ASSERT_TRUE(waitFor([this] { return ui().pushButton_119->isVisible(); }));
    const auto zooms = [](const QByteArray& frame) { return frame.size() == 44 && frame[2] == '\x45'; };
    QTest::mousePress(ui().pushButton_119, Qt::LeftButton);
    ASSERT_TRUE(waitFor([&] { return peer.count() > 0 && zooms(peer.frames().back()); }));
    form().pushButton_20->click();
    ASSERT_TRUE(waitFor([this] { return upgradeFrames() > 0; }));
    const auto& frames = peer.frames();
    const auto name = std::find_if(frames.begin(), frames.end(), ofTheUpgrade);
    const auto last = std::find_if(std::make_reverse_iterator(name), frames.rend(), zooms);
    ASSERT_NE(last, frames.rend());
    EXPECT_EQ(last->mid(3, 4), QByteArray(4, '\0')) << "the last word on it is the stop";
    QTest::mouseRelease(ui().pushButton_119, Qt::LeftButton);
}

}  // namespace
