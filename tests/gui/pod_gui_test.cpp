// The station's window with the simulated pod as a process: telemetry read from the labels, the link closed
// and reopened, a bad network between the two.
#include "pod_fixture.h"
#include "tests/fakes/chaos_proxy.h"
#include "widgets/SwitchControl/switch_control.h"

namespace {

class Pod : public PodTest {
protected:
    void SetUp() override { startStation(); }
    QString label(const char* name) const { return find<QLabel>(name)->text(); }
    void press(const char* name) { QTest::mouseClick(find<QPushButton>(name), Qt::LeftButton); }
};

TEST_F(Pod, TelemetryStandsInTheLabelsAndFollowsCommands) {
    startPod();
    EXPECT_EQ(label("m_fldLoadType"), "--");
    connectToPod();
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
    startPod({"--telemetry-form", "variable"});
    connectToPod();
    ASSERT_TRUE(waitFor([&] { return label("m_fldEOTStat") == QString::fromUtf8("已准备好"); }));
    EXPECT_EQ(label("m_fldRecvFdbk_17"), QString::fromUtf8("可见光（广角）"));
}

// What the station asks for: what the pod's display shows.
TEST_F(Pod, TheDisplaysRefreshShowsWhatThePodShows) {
    startPod();
    connectToPod();
    Ui::dialogSettings& form = *in().m_settings()->ui;
    const auto toggled = [&](const char* name) {
        return form.page_osd->findChild<SwitchControl*>(name)->isToggled();
    };
    // By its start the pod shows every item that a clear bit stands for, and none of the others.
    EXPECT_FALSE(toggled("widget"));
    EXPECT_FALSE(form.label_osd_unread->isHidden());
    form.pushButton_22->click();
    ASSERT_TRUE(waitFor([&] { return form.label_osd_unread->isHidden(); }));
    EXPECT_TRUE(toggled("widget"));
    EXPECT_TRUE(toggled("widget_28"));
    EXPECT_FALSE(toggled("widget_4"));
    window->sendCommand4(55, 3, 0, 0x40, 0);
    form.pushButton_22->click();
    EXPECT_TRUE(waitFor([&] { return !toggled("widget_28"); }));
    EXPECT_TRUE(toggled("widget"));
}

// What is written to the pod is read from it again, and the factory's assignment after a reset.
TEST_F(Pod, TheChannelsOfTheRemoteControlAreThoseOfThePod) {
    startPod();
    connectToPod();
    Ui::dialogSettings& form = *in().m_settings()->ui;
    auto* channel = form.page_control->findChild<QComboBox*>("comboBox_10");
    auto* reverse = form.page_control->findChild<QCheckBox*>("checkBox_11");
    const auto reads = [&](int index, bool reversed) {
        QElapsedTimer asked;
        return waitFor([&] {
            if (!asked.isValid() || asked.hasExpired(1000)) {
                asked.start();
                form.pushButton_21->click();
            }
            return channel->currentIndex() == index && reverse->isChecked() == reversed;
        });
    };
    channel->setCurrentIndex(14);
    reverse->setChecked(true);
    ASSERT_TRUE(reads(8, false)) << "the pod's own, not what the page showed";
    channel->setCurrentIndex(14);
    reverse->setChecked(true);
    form.pushButton_19->click();
    // The page is read once the write has waited.
    bool written = false;
    QTimer::singleShot(300, window.get(), [&written] { written = true; });
    ASSERT_TRUE(waitFor([&written] { return written; }));
    channel->setCurrentIndex(0);
    reverse->setChecked(false);
    EXPECT_TRUE(reads(14, true));
    form.pushButton_6->click();
    EXPECT_TRUE(reads(8, false));
}

TEST_F(Pod, ClosedTheLastValuesStayAndReopenedTheyMoveOn) {
    startPod();
    connectToPod();
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
    connectToPod();
    EXPECT_TRUE(waitFor([&] { return events > 10; }));
}

TEST_F(Pod, ABadNetworkLosesReportsAndNeverBadOnesGetThrough) {
    // The pod writes to the proxy's target side; the station talks to the proxy.
    const int pod_port = freePort();
    chaos::UdpProxy proxy(0, static_cast<std::uint16_t>(pod_port), 7);
    proxy.setClient(static_cast<std::uint16_t>(m_station_port));
    chaos::Faults faults;
    faults.loss = 0.2;
    faults.duplication = 0.1;
    faults.reordering = 0.1;
    faults.corruption = 0.3;
    proxy.setFaults(faults, faults);
    startPodFor(proxy.targetSide(), {"--udp", QString::number(pod_port), "--telemetry-hz", "200"});
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
