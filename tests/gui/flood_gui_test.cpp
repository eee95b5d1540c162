// A peer that sends more than the window can show: the window goes on answering, and a quiet line is right
// again.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QLabel>
#include <QTimer>
#include <QUdpSocket>
#include <atomic>
#include <random>
#include <thread>

#include "korvath_fixture.h"
#include "tests/telemetry/panels_by_hand.h"

namespace {

// Sends datagrams as fast as the system takes them until stopped.
class Flood {
public:
    Flood(quint16 from, quint16 to, std::vector<Bytes> datagrams)
        : m_from(from), m_to(to), m_datagrams(std::move(datagrams)), m_thread([this] { run(); }) {}
    ~Flood() { stop(); }
    void stop() {
        m_stop = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    long sent() const { return m_sent; }

private:
    static sockaddr_in loopback(quint16 port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }
    void run() {
        const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
        const sockaddr_in from = loopback(m_from);
        const sockaddr_in to = loopback(m_to);
        ::bind(fd, reinterpret_cast<const sockaddr*>(&from), sizeof from);
        while (!m_stop) {
            for (const Bytes& d : m_datagrams) {
                m_sent +=
                    ::sendto(fd, d.data(), d.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to) > 0
                        ? 1
                        : 0;
            }
        }
        ::close(fd);
    }

    const quint16 m_from;
    const quint16 m_to;
    const std::vector<Bytes> m_datagrams;
    std::atomic<bool> m_stop{false};
    std::atomic<long> m_sent{0};
    std::thread m_thread;
};

class Floods : public KorvathTest {
protected:
    static quint16 freePort() {
        QUdpSocket probe;
        probe.bind(QHostAddress(QHostAddress::LocalHost));
        return probe.localPort();
    }
    void SetUp() override {
        start({{"connection/destination_address", "127.0.0.1"},
               {"connection/destination_port", pod},
               {"connection/local_bind_port", station}});
        in().ui_connection()->comboBox->addItem("127.0.0.1");
        in().ui_connection()->comboBox->setCurrentIndex(in().ui_connection()->comboBox->count() - 1);
        window->OnUdpConnect();
        ASSERT_EQ(window->linkState(), kLinkUdp);
    }
    // Timers and input get their turn again and again, then the link closes in time.
    void expectTheWindowAnswers(const Flood& flood) {
        int ticks = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
        timer.start(10);
        EXPECT_TRUE(waitFor([&] { return ticks >= 50 && flood.sent() > 100000; }, 30000))
            << ticks << " ticks, " << flood.sent() << " datagrams";
        QElapsedTimer closing;
        closing.start();
        window->OnUdpConnect();
        EXPECT_EQ(window->linkState(), kLinkNone);
        EXPECT_LT(closing.elapsed(), 5000);
    }

    const quint16 pod = freePort();
    const quint16 station = freePort();
};

}  // namespace

TEST_F(Floods, OfGoodFramesLeavesTheWindowAnswering) {
    Flood flood(pod, station, {fixedFrame() + fixedFrame() + variableFrame(), variableFrame()});
    expectTheWindowAnswers(flood);
    flood.stop();
    // Reports count again once the line is quiet.
    in().m_telemetry() = {};
    window->OnUdpConnect();
    Flood quiet(pod, station, {fixedFrame()});
    EXPECT_TRUE(waitFor([this] { return in().m_telemetry().servo_state != 0; }));
}

TEST_F(Floods, OfNoiseLeavesTheWindowAnswering) {
    std::mt19937 random(5);
    std::vector<Bytes> noise;
    for (int i = 0; i < 64; ++i) {
        Bytes d(1 + random() % 1200);
        for (std::uint8_t& byte : d) {
            byte =
                static_cast<std::uint8_t>(random() % 4 == 0 ? (random() % 2 == 0 ? 0xFC : 0x2C) : random());
        }
        noise.push_back(d);
    }
    Flood flood(pod, station, noise);
    expectTheWindowAnswers(flood);
}
