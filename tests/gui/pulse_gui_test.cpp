// The dots of the status bar with the simulated pod, which stops sending and goes on; a click on one under a
// real pointer.
#include <QGroupBox>
#include <QProcess>
#include <QStatusBar>
#include <QUdpSocket>
#include <csignal>

#include "korvath_fixture.h"
#include "tests/widgets/x11_pointer.h"
#include "widgets/common_dlg.h"
#include "widgets/state_dot.h"

namespace {

class Pulse : public KorvathTest {
protected:
    void SetUp() override {
        start({{"connection/destination_address", "127.0.0.1"}, {"common/send_single", false}});
        QUdpSocket probe;
        ASSERT_TRUE(probe.bind(QHostAddress(QHostAddress::LocalHost)));
        m_station_port = probe.localPort();
        probe.close();
        in().ui_connection()->comboBox->clear();
        in().ui_connection()->comboBox->addItem("127.0.0.1");
        in().ui_connection()->cbb_ctrlConnLocalPort->setText(QString::number(m_station_port));
    }
    void TearDown() override {
        KorvathTest::TearDown();
        if (m_pod.state() != QProcess::NotRunning) {
            m_pod.terminate();
            EXPECT_TRUE(m_pod.waitForFinished(5000));
        }
    }
    void connectToPod() {
        m_pod.start(QStringLiteral(SORVANE_PODSIM), {"--udp", "0", "--rtsp-port", "off", "--peer",
                                                     QStringLiteral("127.0.0.1:%1").arg(m_station_port)});
        ASSERT_TRUE(m_pod.waitForStarted());
        QByteArray text;
        ASSERT_TRUE(waitFor([&] {
            text += m_pod.readAllStandardOutput();
            return text.contains("podsim ready") && text.endsWith('\n');
        })) << text.constData();
        const auto match = QRegularExpression("udp=\\S*?:(\\d+)").match(QString::fromLatin1(text));
        ASSERT_TRUE(match.hasMatch()) << text.constData();
        in().ui_connection()->cbb_ctrlConnIpPort->setText(match.captured(1));
        in().ui_connection()->pushButton_26->click();
        ASSERT_EQ(in().m_linkState(), kLinkUdp);
    }
    StateDot* dot(const char* name) const { return ui().statusBar->findChild<StateDot*>(name); }
    bool becomes(const char* name, StateDot::Tone tone) {
        return waitFor([&] { return dot(name)->isVisible() && dot(name)->tone() == tone; }, 20000);
    }
    void togglePodsSilence() const { ::kill(static_cast<pid_t>(m_pod.processId()), SIGUSR1); }

    QProcess m_pod;
    int m_station_port = 0;
};

TEST_F(Pulse, APodThatStopsReportingIsSeenUntilItGoesOn) {
    EXPECT_FALSE(dot("pulse_report")->isVisible());
    EXPECT_FALSE(dot("pulse_sending")->isVisible());
    connectToPod();
    ASSERT_TRUE(becomes("pulse_report", StateDot::kOk));
    ASSERT_TRUE(becomes("pulse_sending", StateDot::kOk));
    EXPECT_FALSE(dot("pulse_picture1")->isVisible());
    EXPECT_FALSE(dot("pulse_inertial")->isVisible());

    togglePodsSilence();
    ASSERT_TRUE(becomes("pulse_report", StateDot::kDanger));
    EXPECT_GE(dot("pulse_report")->age().section(' ', 0, 0).toDouble(), 2.0);
    EXPECT_TRUE(becomes("pulse_sending", StateDot::kOk)) << "the station still sends";

    togglePodsSilence();
    EXPECT_TRUE(becomes("pulse_report", StateDot::kOk));
    in().ui_connection()->pushButton_26->click();
    EXPECT_TRUE(
        waitFor([&] { return !dot("pulse_report")->isVisible() && !dot("pulse_sending")->isVisible(); }));
}

TEST_F(Pulse, ToldTextsStandWhereTheyStood) {
    connectToPod();
    ASSERT_TRUE(becomes("pulse_report", StateDot::kOk));
    EXPECT_EQ(in().m_statusVideo()->text(), QString::fromUtf8("视频未连接"));
    EXPECT_EQ(in().m_statusLink()->text(), QString::fromUtf8("UDP已连接"));
    const int dots_left = dot("pulse_report")->mapTo(window.get(), QPoint(0, 0)).x();
    const auto* sending = dot("pulse_sending");
    const int dots_right = sending->mapTo(window.get(), QPoint(sending->width(), 0)).x();
    const auto left = [this](QWidget* w) { return w->mapTo(window.get(), QPoint(0, 0)).x(); };
    EXPECT_GE(dots_left, left(in().m_statusVideo()) + in().m_statusVideo()->width());
    EXPECT_LE(dots_right, left(in().m_statusLink()));
    // As far to the right as without dots.
    const QRect link = in().m_statusLink()->geometry();
    ui().statusBar->findChild<QWidget*>("pulse_strip")->hide();
    ui().statusBar->layout()->activate();
    EXPECT_EQ(in().m_statusLink()->geometry(), link);
}

TEST_F(Pulse, AClickOnADotOpensTheConnectionDialogAtItsGroup) {
    connectToPod();
    ASSERT_TRUE(becomes("pulse_report", StateDot::kOk));
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    const StateDot* report = dot("pulse_report");
    const QPoint place = report->mapToGlobal(QPoint(report->width() / 2, report->height() / 2));
    pointer.moveTo(place.x(), place.y());
    pointer.press(1);
    pointer.release(1);
    ASSERT_TRUE(waitFor([&] { return in().m_connectionDlg()->isVisible(); }));
    ASSERT_TRUE(waitFor([&] { return in().ui_connection()->cbb_ctrlConnIpAddr->hasFocus(); }));
    EXPECT_TRUE(in().ui_connection()->groupBox_18->property("pointedAt").toBool());
    EXPECT_EQ(in().ui_connection()->pushButton_26->text(), QString::fromUtf8("断开"));
    in().m_connectionDlg()->close();
    ASSERT_TRUE(waitFor([&] { return !in().m_connectionDlg()->isVisible(); }));
    EXPECT_FALSE(in().ui_connection()->groupBox_18->property("pointedAt").toBool());
}

TEST_F(Pulse, TheDotsSpeakTheLanguageOfTheProgram) {
    connectToPod();
    ASSERT_TRUE(becomes("pulse_report", StateDot::kOk));
    EXPECT_TRUE(dot("pulse_report")->accessibleName().startsWith(QString::fromUtf8("回报 ")));
    in().m_settings()->ui->cbb_selLang->setCurrentIndex(1);
    EXPECT_TRUE(waitFor([&] { return dot("pulse_report")->accessibleName().startsWith("Report "); }))
        << dot("pulse_report")->accessibleName().toStdString();
}

TEST_F(Pulse, TheDotsHaveTheColoursOfTheTheme) {
    connectToPod();
    ASSERT_TRUE(becomes("pulse_report", StateDot::kOk));
    const auto colour = [this] {
        StateDot* report = dot("pulse_report");
        return report->grab().toImage().pixelColor(12, report->height() / 2).name();
    };
    in().m_settings()->ui->cbb_selTheme->setCurrentIndex(0);
    EXPECT_TRUE(waitFor([&] { return colour() == "#1b7a37"; })) << colour().toStdString();
    in().m_settings()->ui->cbb_selTheme->setCurrentIndex(1);
    EXPECT_TRUE(waitFor([&] { return colour() == "#4cc46a"; })) << colour().toStdString();
}

// Nobody listens at the port: the system takes every frame, and none arrives.
TEST_F(Pulse, ARefusedPortIsDangerWhateverTheSystemTakes) {
    QUdpSocket closed;
    ASSERT_TRUE(closed.bind(QHostAddress(QHostAddress::LocalHost)));
    in().ui_connection()->cbb_ctrlConnIpPort->setText(QString::number(closed.localPort()));
    closed.close();
    in().ui_connection()->pushButton_26->click();
    EXPECT_TRUE(becomes("pulse_sending", StateDot::kDanger));
    EXPECT_TRUE(becomes("pulse_report", StateDot::kDanger));
}

}  // namespace
