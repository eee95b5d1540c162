// The station's window with the simulated pod as a process: telemetry read from the labels, the link closed
// and reopened, a bad network between the two.
#include <QProcess>
#include <QRegularExpression>
#include <QUdpSocket>

#include "korvath_fixture.h"
#include "tests/fakes/chaos_proxy.h"

namespace {

class Pod : public KorvathTest {
protected:
    void SetUp() override {
        start({{"connection/destination_address", "127.0.0.1"}});
        // The pod speaks first, so the station's port must be known to it: reserve one.
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
    void startPod(int peer_port, const QStringList& more = {}) {
        m_pod.start(QStringLiteral(SORVANE_PODSIM),
                    QStringList{"--udp", "0", "--rtsp-port", "off", "--peer",
                                QStringLiteral("127.0.0.1:%1").arg(peer_port)} +
                        more);
        ASSERT_TRUE(m_pod.waitForStarted());
        QByteArray text;
        ASSERT_TRUE(waitFor([&] {
            text += m_pod.readAllStandardOutput();
            return text.contains("podsim ready") && text.endsWith('\n');
        })) << text.constData();
        const auto match = QRegularExpression("udp=\\S*?:(\\d+)").match(QString::fromLatin1(text));
        ASSERT_TRUE(match.hasMatch()) << text.constData();
        m_pod_port = match.captured(1).toInt();
    }
    void connectTo(int port) {
        in().ui_connection()->cbb_ctrlConnIpPort->setText(QString::number(port));
        in().ui_connection()->pushButton_26->click();
        ASSERT_EQ(in().m_linkState(), kLinkUdp);
    }
    QString label(const char* name) const { return find<QLabel>(name)->text(); }
    void press(const char* name) { QTest::mouseClick(find<QPushButton>(name), Qt::LeftButton); }

    QProcess m_pod;
    int m_station_port = 0;
    int m_pod_port = 0;
};

TEST_F(Pod, TelemetryStandsInTheLabelsAndFollowsCommands) {
    startPod(m_station_port);
    EXPECT_EQ(label("m_fldLoadType"), "--");
    connectTo(m_pod_port);
    ASSERT_TRUE(waitFor([&] { return label("m_fldLoadType") != "--"; }));
    EXPECT_EQ(label("m_fldEOTStat"), QString::fromUtf8("已准备好"));
    EXPECT_EQ(label("m_fldRecvFdbk_10"), QString::fromUtf8("TF已插入"));
    EXPECT_EQ(label("m_fldRecvFdbk_17"), QString::fromUtf8("可见光（广角）"));
    EXPECT_TRUE(QRegularExpression("^-?\\d+\\.\\d\\d$").match(label("m_fldRecvFdbk_5")).hasMatch());
    EXPECT_TRUE(QRegularExpression("^-?\\d+\\.\\d℃$").match(label("label_max_temp_val")).hasMatch());

    in().m_btnCtrlPane()->click();
    press("pushButton_106");  // stow
    EXPECT_TRUE(waitFor([&] { return label("m_fldRecvFdbk") == "116"; }));
    EXPECT_TRUE(waitFor([&] { return label("label_servo_state_val") == QString::fromUtf8("收藏"); }));
    press("pushButton_107");  // look down
    EXPECT_TRUE(waitFor([&] { return label("label_servo_state_val") == QString::fromUtf8("垂直下视"); }));
    press("pushButton_132");  // record on the pod; the button's text follows
    EXPECT_TRUE(waitFor([&] { return label("m_fldRecvFdbk_15") == QString::fromUtf8("正在录像"); }));
    EXPECT_EQ(find<QPushButton>("pushButton_132")->text(), QString::fromUtf8("停止录像"));
    window->trackPoint(0, 0);
    EXPECT_TRUE(waitFor([&] { return in().m_tracking(); }));
    window->stopTracking();
    EXPECT_TRUE(waitFor([&] { return !in().m_tracking(); }));
}

TEST_F(Pod, ReportsAsVariableFramesShowTheSame) {
    startPod(m_station_port, {"--telemetry-form", "variable"});
    connectTo(m_pod_port);
    ASSERT_TRUE(waitFor([&] { return label("m_fldEOTStat") == QString::fromUtf8("已准备好"); }));
    EXPECT_EQ(label("m_fldRecvFdbk_17"), QString::fromUtf8("可见光（广角）"));
}

TEST_F(Pod, ClosedTheLastValuesStayAndReopenedTheyMoveOn) {
    startPod(m_station_port);
    connectTo(m_pod_port);
    ASSERT_TRUE(waitFor([&] { return label("m_fldGestOriAng") != "--"; }));
    in().ui_connection()->pushButton_26->click();
    EXPECT_EQ(in().m_linkState(), kLinkNone);
    QCoreApplication::sendPostedEvents(window.get(), EVT_TELEMETRY);
    const QString last = label("m_fldGestOriAng");
    int events = 0;
    class Counter : public QObject {
    public:
        explicit Counter(int* n) : m_n(n) {}
        bool eventFilter(QObject*, QEvent* e) override {
            *m_n += static_cast<int>(e->type()) == EVT_TELEMETRY ? 1 : 0;
            return false;
        }

    private:
        int* m_n;
    } counter(&events);
    window->installEventFilter(&counter);
    QTest::qWait(300);
    EXPECT_EQ(events, 0);
    EXPECT_EQ(label("m_fldGestOriAng"), last);
    connectTo(m_pod_port);
    EXPECT_TRUE(waitFor([&] { return events > 10; }));
}

TEST_F(Pod, ABadNetworkLosesReportsAndNeverBadOnesGetThrough) {
    // The pod writes to the proxy's target side; the station talks to the proxy.
    startPod(1);
    m_pod.terminate();
    ASSERT_TRUE(m_pod.waitForFinished(5000));
    QUdpSocket probe;
    ASSERT_TRUE(probe.bind(QHostAddress(QHostAddress::LocalHost)));
    const int pod_port = probe.localPort();
    probe.close();
    chaos::UdpProxy proxy(0, static_cast<std::uint16_t>(pod_port), 7);
    proxy.setClient(static_cast<std::uint16_t>(m_station_port));
    chaos::Faults faults;
    faults.loss = 0.2;
    faults.duplication = 0.1;
    faults.reordering = 0.1;
    faults.corruption = 0.3;
    proxy.setFaults(faults, faults);
    m_pod.start(QStringLiteral(SORVANE_PODSIM),
                {"--udp", QString::number(pod_port), "--rtsp-port", "off", "--telemetry-hz", "200", "--peer",
                 QStringLiteral("127.0.0.1:%1").arg(proxy.targetSide())});
    ASSERT_TRUE(m_pod.waitForStarted());
    connectTo(proxy.port());
    int good = 0;
    int impossible = 0;
    class Checker : public QObject {
    public:
        Checker(int* good, int* impossible) : m_good(good), m_impossible(impossible) {}
        bool eventFilter(QObject*, QEvent* e) override {
            if (static_cast<int>(e->type()) == EVT_TELEMETRY) {
                const auto* bytes = static_cast<const unsigned char*>(static_cast<QMyEvent*>(e)->data);
                ++*m_good;
                // The pod is a visible and infrared one with a card; a flipped bit would show here soon.
                *m_impossible += bytes[0] >= 1 && bytes[0] <= 5 && bytes[45] <= 6 && bytes[6] <= 15 ? 0 : 1;
            }
            return false;
        }

    private:
        int* m_good;
        int* m_impossible;
    } checker(&good, &impossible);
    window->installEventFilter(&checker);
    EXPECT_TRUE(waitFor([&] { return good >= 300; }, 30000)) << good;
    EXPECT_EQ(impossible, 0);
    EXPECT_GT(proxy.toClient().corrupted, 30U);
    EXPECT_GT(proxy.toClient().lost, 20U);
    proxy.stall(true);
    proxy.stall(false);
    const int before = good;
    EXPECT_TRUE(waitFor([&] { return good > before + 20; }));
}

}  // namespace
