// The dots of the status bar with the simulated pod, which stops sending and goes on; a click on one under a
// real pointer.
#include <QGroupBox>
#include <QStatusBar>
#include <csignal>

#include "pod_fixture.h"
#include "tests/widgets/x11_pointer.h"
#include "widgets/common_dlg.h"
#include "widgets/state_dot.h"

namespace {

class Pulse : public PodTest {
protected:
    void SetUp() override { startStation({{"common/send_single", false}}); }
    void connectToNewPod() {
        startPod();
        connectToPod();
    }
    StateDot* dot(const char* name) const { return ui().statusBar->findChild<StateDot*>(name); }
    bool becomes(const char* name, StateDot::Tone tone) {
        return waitFor([&] { return dot(name)->isVisible() && dot(name)->tone() == tone; }, 20000);
    }
    void togglePodsSilence() const { ::kill(static_cast<pid_t>(m_pod.processId()), SIGUSR1); }
};

TEST_F(Pulse, APodThatStopsReportingIsSeenUntilItGoesOn) {
    EXPECT_FALSE(dot("pulse_report")->isVisible());
    EXPECT_FALSE(dot("pulse_sending")->isVisible());
    connectToNewPod();
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
    connectToNewPod();
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
    connectToNewPod();
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
    connectToNewPod();
    ASSERT_TRUE(becomes("pulse_report", StateDot::kOk));
    EXPECT_TRUE(dot("pulse_report")->accessibleName().startsWith(QString::fromUtf8("回报 ")));
    in().m_settings()->ui->cbb_selLang->setCurrentIndex(1);
    EXPECT_TRUE(waitFor([&] { return dot("pulse_report")->accessibleName().startsWith("Report "); }))
        << dot("pulse_report")->accessibleName().toStdString();
}

TEST_F(Pulse, TheDotsHaveTheColoursOfTheTheme) {
    connectToNewPod();
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
