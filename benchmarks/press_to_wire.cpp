// Time from a press on a command button to the frame at the far end of a UDP link on loopback, without video.
//   scripts/with_display build/benchmarks/press_to_wire [SINGLE_PRESSES [PERIODIC_PRESSES]]
// Single mode alternates with a plain button whose handler calls sendto() itself, periodic mode is set
// against the period. Asserts nothing.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <QApplication>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QFile>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <thread>
#include <vector>

#include "app/korvath.h"
#include "app/process_services.h"
#include "input/qmycmdbtn.h"
#include "ui_connection.h"
#include "ui_korvath.h"

struct KorvathAccess {
    Korvath& window;
    Ui::connection& dialog() const { return *window.ui_connection; }
};

namespace {

constexpr int kPeriodMs = 40;

double nowMs() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// Takes the time of the first datagram that carries the code looked for, on a thread of its own.
class FarEnd {
public:
    FarEnd() {
        m_socket = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in at{};
        at.sin_family = AF_INET;
        at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(m_socket, reinterpret_cast<sockaddr*>(&at), sizeof at);
        socklen_t size = sizeof m_address;
        getsockname(m_socket, reinterpret_cast<sockaddr*>(&m_address), &size);
        m_thread = std::thread([this] { run(); });
    }
    ~FarEnd() {
        m_stop = true;
        const char wake = 0;
        sendto(m_socket, &wake, 1, 0, reinterpret_cast<sockaddr*>(&m_address), sizeof m_address);
        m_thread.join();
        close(m_socket);
    }
    FarEnd(const FarEnd&) = delete;
    FarEnd& operator=(const FarEnd&) = delete;

    const sockaddr_in& address() const { return m_address; }
    int port() const { return ntohs(m_address.sin_port); }
    // place: offset of the code within the frame.
    void lookFor(std::size_t place, int code) {
        m_seen = -1.0;
        m_code = code;
        m_place = place;
    }
    double seen() const { return m_seen; }

private:
    void run() {
        unsigned char frame[512];
        while (!m_stop) {
            const ssize_t n = recv(m_socket, frame, sizeof frame, 0);
            const double now = nowMs();
            const std::size_t place = m_place;
            if (n > static_cast<ssize_t>(place) && m_seen < 0 && frame[place] == m_code) {
                m_seen = now;
            }
        }
    }

    int m_socket = -1;
    sockaddr_in m_address{};
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_code{-1};
    std::atomic<std::size_t> m_place{4};
    std::atomic<double> m_seen{-1.0};
    std::thread m_thread;
};

bool runUntil(const std::function<bool()>& condition, int deadline_ms = 5000) {
    const QDeadlineTimer deadline(deadline_ms);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    return true;
}

void mouse(QWidget* target, QEvent::Type type) {
    QMouseEvent e(type, QPointF(target->rect().center()), Qt::LeftButton,
                  type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &e);
}

struct Summary {
    double p50, p99, max;
};
Summary summarise(std::vector<double> v) {
    if (v.empty()) {
        return {0, 0, 0};
    }
    std::sort(v.begin(), v.end());
    return {v[v.size() / 2], v[std::min(v.size() - 1, v.size() * 99 / 100)], v.back()};
}

// Milliseconds from the press of `button` to the frame; -1 when none came.
double pressOnce(FarEnd& far, QWidget* button, std::size_t place, int code) {
    far.lookFor(place, code);
    const double start = nowMs();
    mouse(button, QEvent::MouseButtonPress);
    const bool came = runUntil([&] { return far.seen() >= 0; });
    const double took = came ? far.seen() - start : -1;
    mouse(button, QEvent::MouseButtonRelease);
    return took;
}

void measureSingle(Korvath& window, FarEnd& far, int presses) {
    QPushButton bare;
    bare.resize(80, 40);
    bare.show();
    const int socket_fd = socket(AF_INET, SOCK_DGRAM, 0);
    const unsigned char frame[] = {0xFB, 0x2C, 0xAA, 6, 0x31, 0, 0, 0, 0, 0, 0x37};
    QObject::connect(&bare, &QPushButton::pressed, [&] {
        sendto(socket_fd, frame, sizeof frame, 0, reinterpret_cast<const sockaddr*>(&far.address()),
               sizeof(sockaddr_in));
    });
    std::vector<double> ours, plain;
    for (int i = 0; i < presses; ++i) {
        ours.push_back(pressOnce(far, window.form().pushButton_131, 4, 0x31));
        plain.push_back(pressOnce(far, &bare, 4, 0x31));
    }
    close(socket_fd);
    const Summary a = summarise(ours), b = summarise(plain);
    std::printf("single mode, %d presses: p50 %.4f ms, p99 %.4f ms, max %.4f ms\n", presses, a.p50, a.p99,
                a.max);
    std::printf("bare sendto from a handler:  p50 %.4f ms, p99 %.4f ms, max %.4f ms\n", b.p50, b.p99, b.max);
    std::printf("ratio p50 %.2f, p99 %.2f\n", a.p50 / b.p50, a.p99 / b.p99);
}

void measurePeriodic(Korvath& window, FarEnd& far, int presses) {
    std::mt19937 random(1);
    std::vector<double> took;
    for (int i = 0; i < presses; ++i) {
        // Any phase of the period, and the frame of the press before has become idle.
        const double until = nowMs() + 2 * kPeriodMs + std::uniform_real_distribution<>(0, kPeriodMs)(random);
        runUntil([&] { return nowMs() >= until; });
        took.push_back(pressOnce(far, window.form().pushButton_131, 2, 0x31));
    }
    const Summary a = summarise(took);
    std::printf("periodic mode, period %d ms, %d presses: p50 %.2f ms, p99 %.2f ms, max %.2f ms\n", kPeriodMs,
                presses, a.p50, a.p99, a.max);
    std::printf("ratio to the period: p50 %.2f, p99 %.2f, max %.2f\n", a.p50 / kPeriodMs, a.p99 / kPeriodMs,
                a.max / kPeriodMs);
}

void measure(bool single, int presses) {
    const QString path = QCoreApplication::applicationDirPath() + "/appCfg.ini";
    QFile::remove(path);
    {
        QSettings file(path, QSettings::IniFormat);
        file.setValue("common/play_video_on_start", false);
        file.setValue("common/send_single", single);
        file.setValue("common/send_period_ms", kPeriodMs);
    }
    {
        FarEnd far;
        Korvath window;
        setInstance(&window);
        window.initFirstStage();
        window.initSecondStage();
        qApp->installEventFilter(&window);
        Ui::connection& dialog = KorvathAccess{window}.dialog();
        dialog.cbb_ctrlConnIpAddr->setText("127.0.0.1");
        dialog.cbb_ctrlConnIpPort->setText(QString::number(far.port()));
        dialog.cbb_ctrlConnLocalPort->setText("0");
        dialog.comboBox->addItem("127.0.0.1");
        dialog.comboBox->setCurrentIndex(dialog.comboBox->count() - 1);
        window.OnUdpConnect();
        window.form().tabWidget->show();
        runUntil([&] { return window.form().pushButton_131->isVisible(); });
        const double settled = nowMs() + 1000;
        runUntil([&] { return nowMs() >= settled; });
        single ? measureSingle(window, far, presses) : measurePeriodic(window, far, presses);
        window.close();
        setInstance(nullptr);
    }
    QFile::remove(path);
}

}  // namespace

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    measure(true, argc > 1 ? std::atoi(argv[1]) : 1000);
    measure(false, argc > 2 ? std::atoi(argv[2]) : 200);
    std::fflush(stdout);
    std::_Exit(0);
}
