// The stop over a serial line that carries less than the station has to say: what waits unsent must not come
// before it.
#include <QElapsedTimer>

#include "ends_scene.h"
#include "tests/fakes/link_peers.h"

namespace {

// The far end of a serial port that takes 960 bytes a second and hands them to the pod, whole as they come.
class SlowLine : public QObject {
public:
    static constexpr double kBytesPerMs = 0.96;

    explicit SlowLine(int pod_port) : m_pod_port(pod_port) {
        if (openpty(&m_master, &m_slave, nullptr, nullptr, nullptr) != 0) {
            return;
        }
        termios raw{};
        tcgetattr(m_slave, &raw);
        cfmakeraw(&raw);
        tcsetattr(m_slave, TCSANOW, &raw);
        fcntl(m_master, F_SETFL, O_NONBLOCK);
        m_name = QString::fromLatin1(ptsname(m_master));
        m_clock.start();
        startTimer(5, Qt::PreciseTimer);
    }
    ~SlowLine() override {
        close(m_master);
        close(m_slave);
    }
    QString name() const { return m_name; }

protected:
    void timerEvent(QTimerEvent*) override {
        m_allowed += static_cast<double>(m_clock.restart()) * kBytesPerMs;
        QByteArray bytes(static_cast<int>(m_allowed), '\0');
        const auto n = read(m_master, bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (n < bytes.size()) {
            // An idle line saves nothing up.
            m_allowed = 0;
        } else {
            m_allowed -= static_cast<double>(n);
        }
        if (n > 0) {
            m_socket.writeDatagram(bytes.left(static_cast<int>(n)), QHostAddress(QHostAddress::LocalHost),
                                   static_cast<quint16>(m_pod_port));
        }
    }

private:
    int m_pod_port;
    int m_master = -1, m_slave = -1;
    QString m_name;
    QElapsedTimer m_clock;
    double m_allowed = 0;
    QUdpSocket m_socket;
};

class SlowLineEnds : public EndsScene {
protected:
    static constexpr int kHoldMs = 4000;
    // Five times two periods, a tenth of a second and three frames on the line.
    static constexpr int kSlowStopMs = 1500;

    void holdAndRelease(const char* name) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(raise()) << qPrintable(problem());
        QWidget* const button = control(name);
        ASSERT_NE(button, nullptr);
        hand.move(centre(button));
        hand.press();
        ASSERT_FALSE(pod.until([](const Motion& m) { return !m.still(); }, kAppearMs).still());
        QTest::qWait(kHoldMs);
        hand.lift();
        Motion last;
        EXPECT_TRUE(comesToRest(last, kSlowStopMs)) << qPrintable(last.text);
        if (HasFailure()) {
            startOver();
        }
    }
    void holdAll(bool single_mode) {
        setMode(single_mode, 20);
        ASSERT_TRUE(startPod()) << qPrintable(problem());
        SlowLine line(pod.port());
        ASSERT_FALSE(line.name().isEmpty());
        useSerial(line.name());
        for (const char* name : {"pushButton_115", "pushButton_118", "pushButton_122"}) {
            holdAndRelease(name);
        }
        closeWindow();
    }
};

TEST_F(SlowLineEnds, PeriodicFramesDoNotHoldTheStopUp) { holdAll(false); }

TEST_F(SlowLineEnds, TheStopOfASingleCommandArrives) { holdAll(true); }

}  // namespace
