// The page of the firmware upgrade on a form: what it sends, shows, asks for, and in which language.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QTimer>
#include <QTranslator>
#include <functional>
#include <memory>

#include "forms/settings_form.h"
#include "settings/upgrade_page.h"
#include "tests/fakes/pick_file.h"
#include "tests/widgets/wait.h"
#include "widgets/common_dlg.h"

namespace {

const QStringList kChinese = {"等待固件升级",
                              "文件名匹配错误",
                              "文件名匹配正确",
                              "总帧数和总字节数接收错误",
                              "总帧数和总字节数接收正确",
                              "当前程序帧传送失败",
                              "当前程序帧传送成功",
                              "正在擦除flash",
                              "正在写flash",
                              "flash擦写完毕，开始校验",
                              "校验错误，升级失败，请重新升级",
                              "校验正确，升级成功，重启生效",
                              "请按升级流程传输文件，请勿越级处理",
                              "升级数据内容检验错误，退出升级"};

class UpgradePageTest : public ::testing::Test {
protected:
    void SetUp() override {
        ui.setupUi(&dialog);
        form = std::make_unique<SettingsForm>(SettingsForm{ui});
        page = std::make_unique<UpgradePage>(*form);
        QObject::connect(page.get(), &UpgradePage::frameRequested,
                         [this](std::uint16_t code, const QByteArray& payload) {
                             steps << QString("%1 %2").arg(code).arg(QString::fromLatin1(payload.toHex()));
                         });
        QObject::connect(page.get(), &UpgradePage::silenceRequested, [this] { steps << "silence"; });
        page->load();
        retranslate();
    }
    // As the dialog does it after each change of language.
    void retranslate() {
        ui.retranslateUi(&dialog);
        page->retranslate();
    }
    QString write(const QString& name, const QByteArray& bytes) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }
    void answer(const QByteArray& data) {
        page->onReply(12289, reinterpret_cast<const unsigned char*>(data.constData()), data.size());
    }
    void tell(int state) { answer(QByteArray(1, '\0') + QByteArray(1, static_cast<char>(state))); }
    void want(int frame) {
        answer(QByteArray("\0\6", 2) + static_cast<char>(frame & 0xFF) + static_cast<char>(frame >> 8));
    }
    void startWith(const QString& path) {
        ui.lineEdit_9->setText(path);
        ui.pushButton_20->click();
    }
    QStringList taken() { return std::exchange(steps, {}); }

    QTemporaryDir folder;
    common_dlg dialog;
    Ui::dialogSettings ui;
    std::unique_ptr<SettingsForm> form;
    std::unique_ptr<UpgradePage> page;
    QStringList steps;
};

TEST_F(UpgradePageTest, StartsWithItsModulesAndWithoutTheFormsSampleTexts) {
    ASSERT_EQ(ui.comboBox_11->count(), 2);
    EXPECT_EQ(ui.comboBox_11->itemText(0), "综控");
    EXPECT_EQ(ui.comboBox_11->itemText(1), "伺服");
    EXPECT_EQ(ui.comboBox_11->currentIndex(), 0);
    EXPECT_EQ(ui.label_72->text(), "");
    EXPECT_EQ(ui.label_73->text(), "");
    EXPECT_EQ(ui.progressBar->value(), 0);
    EXPECT_EQ(ui.progressBar->maximum(), 100);
    EXPECT_EQ(ui.textEdit_3->toPlainText(), "");
}

TEST_F(UpgradePageTest, ALanguageChosenTwiceBringsNoSampleTextBack) {
    for (int i = 0; i < 2; ++i) {
        retranslate();
        EXPECT_EQ(ui.label_72->text(), "");
        EXPECT_EQ(ui.label_73->text(), "");
    }
}

TEST_F(UpgradePageTest, TheModuleIsToldByItsIndexPlusFiveAtEachPress) {
    ui.pushButton_5->click();
    ui.pushButton_5->click();
    ui.comboBox_11->setCurrentIndex(1);
    ui.pushButton_5->click();
    EXPECT_EQ(taken(), (QStringList{"57 05", "57 05", "57 06"}));
}

TEST_F(UpgradePageTest, TheStartSendsTheNameOnceTheLineIsSilent) {
    ui.comboBox_11->setCurrentIndex(1);
    startWith(write("fw 1.bin", "x"));
    EXPECT_EQ(taken(), (QStringList{"silence", "12288 0101" + QString(QByteArray("fw 1.bin").toHex())}));
}

TEST_F(UpgradePageTest, NothingBeginsWithoutAPathOrWithoutAFile) {
    startWith("");
    EXPECT_EQ(taken(), QStringList());
    startWith(folder.filePath("gone.bin"));
    EXPECT_EQ(taken(), QStringList("silence"));
    startWith(folder.path());
    EXPECT_EQ(taken(), QStringList("silence")) << "a folder";
    EXPECT_EQ(ui.label_73->text(), "");
    EXPECT_EQ(ui.textEdit_3->toPlainText(), "");
    want(0);
    EXPECT_EQ(taken(), QStringList()) << "no file is open";
}

TEST_F(UpgradePageTest, ANameBeyondLatin1IsMangled) {
    startWith(write("固件é.bin", "x"));
    EXPECT_EQ(taken(), (QStringList{"silence", "12288 00013f3fe92e62696e"}));
}

TEST_F(UpgradePageTest, TheFileGoesOutInFramesAndIsClosedBehindThem) {
    QByteArray program;
    for (int i = 0; i < 1281; ++i) {
        program += static_cast<char>(i * 7 + i / 128);
    }
    startWith(write("fw.bin", program));
    taken();
    tell(2);
    EXPECT_EQ(taken(), QStringList("12288 00020b0001050000"));
    tell(8);
    for (int frame = 1; frame <= 11; ++frame) {
        want(frame);
    }
    const QStringList frames = taken();
    ASSERT_EQ(frames.size(), 11);
    QByteArray arrived;
    for (int i = 0; i < frames.size(); ++i) {
        const QByteArray payload = QByteArray::fromHex(frames[i].section(' ', 1).toLatin1());
        EXPECT_EQ(payload.left(4).toHex(), QString("0003%1").arg(i, 2, 16, QChar('0')).toLatin1() + "00");
        arrived += payload.mid(4);
    }
    EXPECT_EQ(arrived, program);
    tell(9);
    want(1);
    EXPECT_EQ(taken(), QStringList());
}

TEST_F(UpgradePageTest, ANewStartTakesTheFileThatIsChosenThen) {
    startWith(write("one.bin", QByteArray(1280, '1')));
    want(1);
    taken();
    startWith(write("two.bin", QByteArray(130, '2')));
    taken();
    want(1);
    EXPECT_EQ(taken(), QStringList("12288 000301003232"));
}

TEST_F(UpgradePageTest, EveryStateIsLoggedAndShownButTheOneThatComesOnceAFrame) {
    QString log;
    for (int state = 0; state < 14; ++state) {
        if (state == 11) {
            continue;  // it opens a box, see below
        }
        const QString before = ui.label_73->text();
        tell(state);
        if (state == 6) {
            answer(QByteArray("\0\6\0\0", 4));
        }
        log += state != 6 ? kChinese[state] + "\n" : "";
        EXPECT_EQ(ui.label_73->text(), state != 6 ? kChinese[state] : before) << state;
        EXPECT_EQ(ui.textEdit_3->toPlainText(), log) << state;
        EXPECT_TRUE(ui.textEdit_3->textCursor().atEnd());
    }
    for (int state = 14; state < 256; ++state) {
        tell(state);
    }
    EXPECT_EQ(ui.textEdit_3->toPlainText(), log);
    EXPECT_EQ(ui.label_73->text(), kChinese[13]);
    ui.pushButton_4->click();
    EXPECT_EQ(ui.textEdit_3->toPlainText(), "");
    EXPECT_EQ(ui.label_73->text(), kChinese[13]) << "the log alone is cleared";
    tell(0);
    EXPECT_EQ(ui.textEdit_3->toPlainText(), kChinese[0] + "\n");
}

TEST_F(UpgradePageTest, ALineBehindOnesThatWereReadStandsAtTheEnd) {
    for (int i = 0; i < 50; ++i) {
        tell(7);
    }
    QTextCursor up = ui.textEdit_3->textCursor();
    up.setPosition(3);
    ui.textEdit_3->setTextCursor(up);
    tell(8);
    EXPECT_TRUE(ui.textEdit_3->toPlainText().endsWith(kChinese[7] + "\n" + kChinese[8] + "\n"));
    EXPECT_TRUE(ui.textEdit_3->textCursor().atEnd());
}

// The value comes before its maximum: what exceeds the one that stands is not taken.
TEST_F(UpgradePageTest, ProgressIsFrameAgainstFrames) {
    startWith(write("fw.bin", QByteArray(200 * 128, 'x')));
    EXPECT_EQ(ui.progressBar->maximum(), 100);
    want(1);
    EXPECT_EQ(ui.label_72->text(), "1/200");
    EXPECT_EQ(ui.progressBar->value(), 1);
    EXPECT_EQ(ui.progressBar->maximum(), 200);
    want(150);
    EXPECT_EQ(ui.label_72->text(), "150/200");
    EXPECT_EQ(ui.progressBar->value(), 150);
    want(200);
    EXPECT_EQ(ui.progressBar->value(), 200);
}

// 65537 frames: a number of 16 bits cannot ask for all of them.
TEST_F(UpgradePageTest, AFileOfMoreFramesThanANumberHoldsIsCountedInFull) {
    const QString path = write("fw.bin", QByteArray());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.resize(65536 * 128 + 1));
    ASSERT_TRUE(file.seek(65535 * 128));
    ASSERT_EQ(file.write(QByteArray(128, 'z')), 128);
    file.close();
    startWith(path);
    taken();
    tell(2);
    EXPECT_EQ(taken(), QStringList("12288 0002010001008000"));
    want(65535);
    EXPECT_EQ(ui.label_72->text(), "65535/65537");
    EXPECT_EQ(taken(), QStringList("12288 0003ffff" + QString("7a").repeated(128)));
    EXPECT_EQ(ui.progressBar->maximum(), 65537);
}

TEST_F(UpgradePageTest, AFirstFrameBeyondTheMaximumOfTheFormLeavesTheBarBehind) {
    startWith(write("fw.bin", QByteArray(200 * 128, 'x')));
    want(150);
    EXPECT_EQ(ui.label_72->text(), "150/200");
    EXPECT_LT(ui.progressBar->value(), 150);
    EXPECT_EQ(ui.progressBar->maximum(), 200);
    want(151);
    EXPECT_EQ(ui.progressBar->value(), 151);
}

// What the boxes say that come while `act` runs and until all is quiet; each is closed.
QStringList boxesAfter(const std::function<void()>& act, int wanted) {
    QStringList seen;
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, [&seen] {
        if (auto* box = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            seen << box->windowTitle() + ": " + box->findChild<QLabel*>("textLabel")->text();
            box->close();
        }
    });
    hand.start(20);
    act();
    EXPECT_TRUE(waitFor([&] { return seen.size() >= wanted; }, 20000));
    // One more would come in the same turn as this.
    bool later = false;
    QTimer::singleShot(0, [&later] { later = true; });
    EXPECT_TRUE(waitFor([&later] { return later; }, 20000));
    return seen;
}

TEST_F(UpgradePageTest, SuccessIsABoxAndAnAnswerThatComesTwiceIsOne) {
    const QStringList once = boxesAfter([this] { tell(11); }, 1);
    EXPECT_EQ(once, QStringList("提示: 升级成功，重启生效！"));
    EXPECT_EQ(ui.label_73->text(), kChinese[11]);
    const QStringList twice = boxesAfter(
        [this] {
            tell(11);
            tell(11);
        },
        1);
    EXPECT_EQ(twice, QStringList("提示: 升级成功，重启生效！"));
}

TEST_F(UpgradePageTest, ANewLanguageKeepsWhatThePodToldAndSaysItAnew) {
    startWith(write("fw.bin", QByteArray(300, 'x')));
    tell(8);
    want(2);
    QTranslator english;
    ASSERT_TRUE(english.load("./translations/Translation_en.qm"));
    QCoreApplication::installTranslator(&english);
    retranslate();
    EXPECT_EQ(ui.label_72->text(), "2/3");
    EXPECT_EQ(ui.label_73->text(), "Writing flash");
    EXPECT_EQ(ui.comboBox_11->itemText(0), "Main control");
    EXPECT_EQ(ui.comboBox_11->itemText(1), "Servo");
    for (int state = 0; state < 14; ++state) {
        if (state != 11) {
            tell(state);
            EXPECT_FALSE(kChinese.contains(ui.label_73->text())) << state;
        }
    }
    EXPECT_EQ(boxesAfter([this] { tell(11); }, 1),
              QStringList("Note: Upgraded. Restart for it to take effect!"));
    QCoreApplication::removeTranslator(&english);
    retranslate();
    EXPECT_EQ(ui.label_73->text(), kChinese[11]);
}

TEST_F(UpgradePageTest, TheChooserShowsFirmwareAndItsResultIsThePath) {
    const QString chosen = write("a.bin", "x");
    QString title;
    QStringList filters;
    const auto operate = [&](const std::function<void(QFileDialog&)>& how) {
        QTimer hand;
        QObject::connect(&hand, &QTimer::timeout, [&] {
            auto* chooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (chooser != nullptr && chooser->isVisible()) {
                hand.stop();
                how(*chooser);
            }
        });
        hand.start(20);
        ui.pushButton_18->click();
    };
    operate([&](QFileDialog& chooser) {
        title = chooser.windowTitle();
        filters = chooser.nameFilters();
        pickFile(chooser, chosen);
    });
    EXPECT_EQ(title, "选择综控程序升级文件");
    EXPECT_EQ(filters, QStringList("Firmware (*.bin)"));
    EXPECT_EQ(ui.lineEdit_9->text(), chosen);
    operate([](QFileDialog& chooser) { chooser.reject(); });
    EXPECT_EQ(ui.lineEdit_9->text(), chosen) << "a dismissed chooser has no result";
    EXPECT_EQ(taken(), QStringList());
}

}  // namespace
