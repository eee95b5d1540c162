// The aircraft's data as the operator types it, and the ways on which it leaves the station.
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>
#include <QUdpSocket>

#include "link_peer.h"
#include "pod_fixture.h"
#include "tests/telemetry/frames_by_hand.h"
#include "widgets/common_dlg.h"
#include "widgets/my_trans_dlg.h"

namespace {

template <typename Base>
class InjectionWith : public Base {
protected:
    void openDialog() {
        this->ui().action_telemetry_info->trigger();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(this->in().m_telemetryDlg(), 10000));
    }
    Ui::telemetry_info& form() const { return *this->in().ui_telemetry_info(); }
};
using Injection = InjectionWith<LinkTest>;
using InjectionIntoAPod = InjectionWith<PodTest>;

// What the block holds of the dialog's first texts, from its first byte; the seven bytes of the time stand
// for themselves.
const QByteArray kAngles = hex("9411 2823 bc34");
const QByteArray kRest = hex("00 0a00 1027 204e e803");  // satellites, altitude, north, east, ground
const QByteArray kPositionIntegers = hex("0b973344 bee12612");
const QByteArray kPositionFloats = hex("aad8e442 64a1f341");

TEST_F(Injection, TheDialogHasItsTitleCaptionsAndDefaults) {
    start();
    openDialog();
    EXPECT_EQ(in().m_telemetryDlg()->windowTitle(), ui().action_telemetry_info->text());
    EXPECT_EQ(in().m_telemetryDlg()->windowTitle(), "设置遥测信息");
    EXPECT_FALSE(in().m_telemetryDlg()->isModal());
    const struct {
        const QLineEdit* edit;
        const char* caption;
        const char* text;
    } kFields[] = {
        {form().lineEdit, "俯仰角：", "45"},          {form().lineEdit_2, "滚转角：", "90"},
        {form().lineEdit_3, "航向角：", "135"},       {form().lineEdit_4, "高度：", "10"},
        {form().lineEdit_5, "经度：", "114.4231691"}, {form().lineEdit_6, "纬度：", "30.4538046"},
        {form().lineEdit_7, "东向速度：", "2000"},    {form().lineEdit_8, "地速：", "100"},
        {form().lineEdit_9, "北向速度：", "1000"},    {form().lineEdit_10, "定位星数：", ""},
    };
    for (const auto& field : kFields) {
        EXPECT_EQ(field.edit->text().toStdString(), field.text) << field.caption;
        // The caption stands to the left, on the same line.
        bool beside = false;
        for (const QLabel* label : in().m_telemetryDlg()->findChildren<QLabel*>()) {
            if (label->text() != QString::fromUtf8(field.caption)) {
                continue;
            }
            const QPoint at = label->mapTo(in().m_telemetryDlg(), label->rect().center());
            const QPoint edit = field.edit->mapTo(in().m_telemetryDlg(), field.edit->rect().center());
            beside = at.x() < edit.x() && std::abs(at.y() - edit.y()) <= 2 &&
                     edit.x() - at.x() < in().m_telemetryDlg()->width() / 2;
        }
        EXPECT_TRUE(beside) << field.caption;
    }
    EXPECT_EQ(form().pushButton->text(), "设置");
    form().toolButton->click();
    EXPECT_FALSE(in().m_telemetryDlg()->isVisible());
}

TEST_F(Injection, ReopeningKeepsWhatWasTyped) {
    start();
    openDialog();
    form().lineEdit->setText("-7.5");
    in().m_telemetryDlg()->close();
    openDialog();
    EXPECT_EQ(form().lineEdit->text(), "-7.5");
    in().m_settings()->applyLanguage(1);
    openDialog();
    EXPECT_EQ(form().lineEdit->text(), "-7.5");
    EXPECT_EQ(in().m_telemetryDlg()->windowTitle(), "Telemetry input");
    in().m_settings()->applyLanguage(0);
}

// The button stores; what leaves, leaves with the next frame. The frame has the nearest floats of the
// position, the block its exact integers.
TEST_F(Injection, InPeriodicModeTheNextFrameCarriesTheBlockWithItsPositionAsFloats) {
    start();
    in().m_localClock() = [] { return sorvane::CalendarTime{2026, 11, 20, 8, 9, 10, 560}; };
    openUdp();
    choosePeriodic();
    openDialog();
    form().pushButton->click();
    const QByteArray expected = kAngles + hex("1a 0b 14 08 09 0a 38") + kPositionFloats + kRest;
    peer.take();
    ASSERT_TRUE(waitFor([&] {
        for (const QByteArray& frame : peer.take()) {
            if (frame.size() == 44 && frame.mid(7, 30) == expected) {
                return true;
            }
        }
        return false;
    }));
    EXPECT_EQ(+in().m_navBlock().longitude, 1144231691);
    EXPECT_EQ(+in().m_navBlock().latitude, 304538046);
}

TEST_F(Injection, InSingleModeNothingLeavesUntilThePositionsAreWanted) {
    start();
    in().m_localClock() = [] { return sorvane::CalendarTime{2026, 11, 20, 8, 9, 10, 560}; };
    openUdp();
    letTheStartEnd();
    peer.take();
    openDialog();
    form().pushButton->click();
    bool later = false;
    QTimer::singleShot(300, window.get(), [&] { later = true; });
    ASSERT_TRUE(waitFor([&] { return later; }));
    EXPECT_EQ(peer.count(), 0U);
    in().m_settings()->ui->checkBox_16->setChecked(true);
    // Head, length, code 1026.
    const QByteArray block = kAngles + hex("1a 0b 14 08 09 0a 38") + kPositionIntegers + kRest;
    ASSERT_TRUE(waitFor([&] {
        for (const QByteArray& frame : peer.take()) {
            if (frame.contains(hex("0204") + block)) {
                return true;
            }
        }
        return false;
    }));
    in().m_settings()->ui->checkBox_16->setChecked(false);
}

// In both modes, and as the pod understood it.
TEST_F(InjectionIntoAPod, ThePodGetsWhatWasTypedInBothModes) {
    QTemporaryDir folder;
    const QString log = folder.filePath("pod.log");
    startStation({{"common/send_single", true}});
    startPod({"--event-log", log});
    connectToPod();
    openDialog();
    form().lineEdit->setText("-1.5");
    form().pushButton->click();
    const auto told = [&log](const char* form_of_frame, const char* pitch) {
        QFile file(log);
        file.open(QIODevice::ReadOnly);
        const QString text = QString::fromUtf8(file.readAll());
        return QRegularExpression(
                   QStringLiteral(" nav frame=%1 line=udp pitch=%2 roll=90.00 heading=135.00 "
                                  "lat=30.45380\\d+ lon=114.4231\\d+ altitude=10 satellites=0 ")
                       .arg(QLatin1String(form_of_frame), QLatin1String(pitch)))
            .match(text)
            .hasMatch();
    };
    in().m_settings()->ui->checkBox_16->setChecked(true);
    EXPECT_TRUE(waitFor([&] { return told("variable", "-1\\.50"); }));
    in().m_settings()->ui->rbtn_scaleQualLow_3->setChecked(true);
    EXPECT_TRUE(waitFor([&] { return told("fixed", "-1\\.50"); }));
    form().lineEdit->setText("12.25");
    form().pushButton->click();
    EXPECT_TRUE(waitFor([&] { return told("fixed", "12\\.25"); }));
}

// Whoever writes last wins; the page follows the feed alone.
TEST_F(Injection, TheFeedAndTheOperatorWriteTheSameBlockAndThePageShowsTheFeedAlone) {
    QUdpSocket probe;
    ASSERT_TRUE(probe.bind(QHostAddress(QHostAddress::LocalHost)));
    const int port = probe.localPort();
    probe.close();
    start({{"interface/recv_telemetry", true}, {"interface/recv_port", port}});
    in().m_statPane()->show();
    ui().widget_stat->show();
    const auto pitch = [this] { return find<QLabel>("label_nav_pitch_val")->text(); };
    const QString blank = pitch();
    openDialog();
    form().pushButton->click();
    EXPECT_EQ(+in().m_navBlock().pitch, 4500);
    EXPECT_EQ(pitch(), blank);
    QByteArray frame(44, '\0');
    frame.replace(0, 2, hex("fb2c"));
    frame.replace(7, 2, hex("e6fb"));  // -1050
    frame[43] = static_cast<char>(0xF0);
    ASSERT_TRUE(waitFor([&] {
        probe.writeDatagram(frame, QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(port));
        return in().m_navBlock().pitch == -1050;
    }));
    EXPECT_TRUE(waitFor([&] { return pitch() == "-1050"; }));
    form().pushButton->click();
    EXPECT_EQ(+in().m_navBlock().pitch, 4500);
    EXPECT_EQ(pitch(), "-1050");
}

TEST_F(Injection, TextThatIsNoNumberBecomesZero) {
    start();
    openDialog();
    for (QLineEdit* edit : in().m_telemetryDlg()->findChildren<QLineEdit*>()) {
        edit->setText("north");
    }
    form().pushButton->click();
    sorvane::NavBlock expected = in().m_navBlock();
    EXPECT_EQ(+expected.pitch, 0);
    EXPECT_EQ(+expected.longitude, 0);
    EXPECT_EQ(+expected.satellites, 0);
    EXPECT_EQ(+expected.north_speed, 0);
}

}  // namespace
