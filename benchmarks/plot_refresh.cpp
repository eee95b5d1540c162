// What the live plot costs the GUI thread, and what that does to the periodic frame.
//   scripts/with_display build/benchmarks/plot_refresh [SECONDS] [REPORTS_A_SECOND]
// The station's window with the plot dialog at 1021 x 655 takes reports from a thread that posts them as the
// receive threads do; its periodic frame of 20 ms goes to a socket of this program. Told for the plot
// stopped, for each category with all its curves at the fast rate, and for one of them once more after ten
// hours of reports at 50 Hz: the processor time of the GUI thread from one report to the next, and the
// interval of the frames. Run it where the run-time tree lies (res, translations). Asserts nothing.
#include <sys/select.h>
#include <sys/socket.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QTimer>
#include <QUdpSocket>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <vector>

#include "analysis/qmyplotdlg.h"
#include "app/events/my_event.h"
#include "app/korvath.h"
#include "app/process_services.h"
#include "ui_connection.h"
#include "ui_korvath.h"

struct KorvathAccess {
    Korvath& window;
    Ui::connection& connection() const { return *window.ui_connection; }
    QMyPlotDlg* plots() const { return window.m_plotDlg; }
    int linkState() const { return window.m_linkState; }
};

namespace {

constexpr int kPeriodMs = 20;

double nowMs() {
    timespec t = {};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

struct Spread {
    double p50 = 0, p99 = 0, longest = 0;
    explicit Spread(std::vector<double> values) {
        std::sort(values.begin(), values.end());
        if (!values.empty()) {
            p50 = values[values.size() / 2];
            p99 = values[std::min(values.size() - 1, values.size() * 99 / 100)];
            longest = values.back();
        }
    }
};

// A turn of the event loop. What is to be deleted later is deleted, as in a loop that runs for good: a chart
// lays out anew what has been taken from it for as long as that lives.
void turn() {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void runFor(int ms) {
    QElapsedTimer clock;
    clock.start();
    while (!clock.hasExpired(ms)) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
    }
}

// A slow swing with something on it, so that axes move as they do.
sorvane::TelemetryRecord reportNumber(int n) {
    const auto wave = [n](double size, double period, double phase) {
        return static_cast<std::int16_t>(size * std::sin(n / period + phase) + size / 20 * std::sin(n * 0.9));
    };
    sorvane::TelemetryRecord r;
    r.frame_yaw = wave(6000, 40, 0);
    r.frame_pitch = wave(3000, 25, 1);
    r.frame_roll = wave(500, 15, 2);
    r.attitude_yaw = wave(12000, 50, 0);
    r.attitude_pitch = wave(4000, 30, 1);
    r.attitude_roll = wave(1000, 20, 2);
    r.track_x = wave(200, 12, 0);
    r.track_y = wave(150, 17, 1);
    return r;
}

double usedMs() {
    timespec t = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// Takes reports at a steady pace, each as an event.
class Feeder {
public:
    explicit Feeder(Korvath& window) : m_window(window) {}

    // Processor time of this thread from each report to the next, ms.
    std::vector<double> run(double seconds, int reports_a_second) {
        std::vector<double> costs;
        const int count = static_cast<int>(seconds * reports_a_second);
        const double begin = nowMs();
        double before = usedMs();
        for (int i = 0; i < count; ++i) {
            auto* block =
                static_cast<sorvane::TelemetryRecord*>(std::malloc(sizeof(sorvane::TelemetryRecord)));
            *block = reportNumber(m_number++);
            QCoreApplication::postEvent(&m_window, new QMyEvent(EVT_TELEMETRY, nullptr, block, 0));
            // Handled, put into the scene, painted: a turn of the event loop each.
            for (int turns = 0; turns < 5; ++turns) {
                turn();
            }
            for (double left; (left = begin + (i + 1) * 1e3 / reports_a_second - nowMs()) > 0;) {
                QTimer::singleShot(static_cast<int>(left), Qt::PreciseTimer, &m_window, [] {});
                QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
            }
            const double now = usedMs();
            costs.push_back(now - before);
            before = now;
        }
        return costs;
    }

private:
    Korvath& m_window;
    int m_number = 0;
};

// Takes the periodic frames on a thread of its own.
class FrameSink {
public:
    FrameSink() {
        m_socket.bind(QHostAddress(QHostAddress::LocalHost));
        m_port = m_socket.localPort();
        const int fd = static_cast<int>(m_socket.socketDescriptor());
        m_thread = std::thread([this, fd] {
            char buffer[256];
            while (!m_stop) {
                fd_set set;
                FD_ZERO(&set);
                FD_SET(fd, &set);
                timeval wait = {0, 100000};
                if (select(fd + 1, &set, nullptr, nullptr, &wait) > 0 &&
                    recv(fd, buffer, sizeof buffer, 0) == 44 && m_keep) {
                    m_stamps.push_back(nowMs());
                }
            }
        });
    }
    ~FrameSink() {
        m_stop = true;
        m_thread.join();
    }
    int port() const { return m_port; }
    void begin() {
        m_stamps.clear();
        m_stamps.reserve(100000);
        m_keep = true;
    }
    std::vector<double> intervals() {
        m_keep = false;
        std::vector<double> result;
        for (std::size_t i = 1; i < m_stamps.size(); ++i) {
            result.push_back(m_stamps[i] - m_stamps[i - 1]);
        }
        return result;
    }

private:
    QUdpSocket m_socket;
    int m_port = 0;
    std::atomic<bool> m_stop{false}, m_keep{false};
    std::vector<double> m_stamps;
    std::thread m_thread;
};

struct Result {
    Spread gui, frames;
};

class Measurement {
public:
    Measurement(Korvath& window, double seconds, int rate)
        : m_in{window}, m_seconds(seconds), m_rate(rate), m_feeder(window) {
        Ui::connection& form = m_in.connection();
        form.cbb_ctrlConnIpAddr->setText("127.0.0.1");
        form.cbb_ctrlConnIpPort->setText(QString::number(m_sink.port()));
        form.cbb_ctrlConnLocalPort->setText("0");
        form.comboBox->setEditText("127.0.0.1");
        form.pushButton_26->click();
        window.OnActionChartAnaTriggered();
        runFor(2000);
    }
    bool ready() const { return m_in.linkState() != 0; }
    template <typename T>
    T* part(const char* name) const {
        return m_in.plots()->findChild<T*>(QLatin1String(name));
    }
    QPushButton* startButton() const { return part<QPushButton>("pushButton_start"); }

    Result measure(const char* what, const Result* base) {
        m_feeder.run(3, m_rate);
        m_sink.begin();
        const std::vector<double> costs = m_feeder.run(m_seconds, m_rate);
        const Result r = {Spread(costs), Spread(m_sink.intervals())};
        std::printf(
            "%-24s GUI thread a report p50 %.2f ms, p99 %.2f ms, longest %.2f ms; frame interval p50 %.2f "
            "ms, "
            "p99 %.2f ms (%.2f periods), longest %.2f ms",
            what, r.gui.p50, r.gui.p99, r.gui.longest, r.frames.p50, r.frames.p99, r.frames.p99 / kPeriodMs,
            r.frames.longest);
        if (base != nullptr) {
            std::printf("; ratio of the thread's p50 %.2f, p99 %.2f", r.gui.p50 / base->gui.p50,
                        r.gui.p99 / base->gui.p99);
        }
        std::printf("\n");
        std::fflush(stdout);
        return r;
    }

    void measureAll() {
        const Result stopped = measure("stopped", nullptr);
        part<QComboBox>("comboBox_2")->setCurrentIndex(2);
        part<QCheckBox>("checkBox_frmRoll")->setChecked(true);
        startButton()->click();
        measure("frame angles", &stopped);
        part<QRadioButton>("radioButton_3")->click();
        measure("deviation", &stopped);
        part<QRadioButton>("radioButton_2")->click();
        m_feeder.run(20, m_rate);
        const Result first = measure("attitude, minute 1", &stopped);
        for (int i = 0; i < 10 * 3600 * 50; ++i) {
            m_in.plots()->add_record(reportNumber(i));
        }
        measure("attitude, hour 10", &first);
        part<QPushButton>("pushButton_dispVal")->click();
        measure("with values", &stopped);
    }

private:
    KorvathAccess m_in;
    double m_seconds;
    int m_rate;
    FrameSink m_sink;
    Feeder m_feeder;
};

}  // namespace

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const double seconds = std::max(1.0, argc > 1 ? std::atof(argv[1]) : 20);
    const int rate = std::max(1, argc > 2 ? std::atoi(argv[2]) : 50);
    const QString path = QCoreApplication::applicationDirPath() + "/appCfg.ini";
    QFile::remove(path);
    {
        QSettings file(path, QSettings::IniFormat);
        file.setValue("common/play_video_on_start", false);
        file.setValue("common/send_single", false);
        file.setValue("common/send_period_ms", kPeriodMs);
    }
    int status = 0;
    {
        Korvath window;
        setInstance(&window);
        window.initFirstStage();
        window.initSecondStage();
        qApp->installEventFilter(&window);
        runFor(1000);
        Measurement measurement(window, seconds, rate);
        if (measurement.ready()) {
            measurement.measureAll();
        } else {
            std::fprintf(stderr, "the link did not open\n");
            status = 1;
        }
        window.close();
        setInstance(nullptr);
    }
    QFile::remove(path);
    std::fflush(stdout);
    std::_Exit(status);
}
