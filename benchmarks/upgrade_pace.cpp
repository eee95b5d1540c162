// What the station adds to each frame of a firmware upgrade: the whole window against the simulated pod on
// loopback, in turn with a plain socket that answers at once. The pod's own log gives the times, from its
// first "writing" to its "written", which it tells 0.1 s behind the last frame.
//   scripts/with_display build/benchmarks/upgrade_pace [BYTES [RUNS]]
// Asserts nothing.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QApplication>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QDialog>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <vector>

#include "app/korvath.h"
#include "app/process_services.h"
#include "settings/player_settings_dlg.h"
#include "ui_connection.h"
#include "ui_settings.h"

struct KorvathAccess {
    Korvath& window;
    Ui::connection& connection() const { return *window.ui_connection; }
    Ui::dialogSettings& settings() const { return *window.m_settings->ui; }
};

namespace {

constexpr int kFrameBytes = 128;
constexpr double kSettlingMs = 100;  // between the last frame and "written"

bool runUntil(const std::function<bool()>& condition, int deadline_ms = 120000) {
    const QDeadlineTimer deadline(deadline_ms);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

// The simulated pod with its log.
class PodProcess {
public:
    explicit PodProcess(const QString& log) : m_log(log) {
        m_process.start(SORVANE_PODSIM, {"--udp", "0", "--rtsp-port", "off", "--event-log", log});
        QByteArray text;
        runUntil([&] {
            m_process.waitForReadyRead(10);
            text += m_process.readAllStandardOutput();
            return text.contains('\n');
        });
        m_port = text.mid(text.indexOf("udp=127.0.0.1:") + 14).split('\n')[0].split(' ')[0].toInt();
    }
    ~PodProcess() {
        m_process.terminate();
        m_process.waitForFinished(5000);
    }
    int port() const { return m_port; }
    int upgrades() const { return static_cast<int>(times(11).size()); }
    // From "writing" to "written" of the latest upgrade, without the pod's pause behind the last frame.
    double latestMs() const { return (times(9).back() - times(8).back()) / 1e6 - kSettlingMs; }

private:
    std::vector<double> times(int state) const {
        QFile file(m_log);
        std::vector<double> found;
        if (file.open(QIODevice::ReadOnly)) {
            const QByteArray wanted = " upgrade module=0 state=" + QByteArray::number(state);
            for (const QByteArray& line : file.readAll().split('\n')) {
                if (line.endsWith(wanted)) {
                    found.push_back(line.split(' ')[0].toDouble());
                }
            }
        }
        return found;
    }
    QProcess m_process;
    QString m_log;
    int m_port = 0;
};

// The station's part on a bare socket: what is asked for is sent at once.
class BareStation {
public:
    BareStation(int port, QByteArray program) : m_program(std::move(program)) {
        m_socket = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        to.sin_port = htons(static_cast<std::uint16_t>(port));
        connect(m_socket, reinterpret_cast<sockaddr*>(&to), sizeof to);
    }
    ~BareStation() { close(m_socket); }
    BareStation(const BareStation&) = delete;
    BareStation& operator=(const BareStation&) = delete;

    void upgrade() {
        send(57, QByteArray(1, 5));
        send(57, QByteArray(1, 5));
        send(12288, QByteArray("\0\1", 2) + "bare.bin");
        for (int state = 0; state != 11;) {
            unsigned char f[512];
            const ssize_t n = recv(m_socket, f, sizeof f, 0);
            if (n < 8 || f[2] != 0x55 || f[4] != 0x01 || f[5] != 0x30) {
                continue;
            }
            state = f[7];
            const int frames = (m_program.size() + kFrameBytes - 1) / kFrameBytes;
            if (state == 2) {
                send(12288, QByteArray("\0\2", 2) + number(frames, 2) + number(m_program.size(), 4));
            } else if (state == 6 || state == 8) {
                const int wanted = state == 6 ? f[8] | f[9] << 8 : 0;
                if (wanted < frames) {
                    send(12288, QByteArray("\0\3", 2) + number(wanted, 2) +
                                    m_program.mid(wanted * kFrameBytes, kFrameBytes));
                }
            }
        }
    }

private:
    static QByteArray number(int value, int bytes) {
        QByteArray text;
        for (int i = 0; i < bytes; ++i) {
            text += static_cast<char>(value >> (8 * i));
        }
        return text;
    }
    void send(int code, const QByteArray& payload) const {
        QByteArray f =
            QByteArray("\xFB\x2C\xAA", 3) + static_cast<char>(payload.size() + 2) + number(code, 2) + payload;
        char check = 0;
        for (int i = 3; i < f.size(); ++i) {
            check = static_cast<char>(check ^ f[i]);
        }
        f += check;
        if (::send(m_socket, f.constData(), static_cast<std::size_t>(f.size()), 0) < 0) {
            std::perror("send");
        }
    }
    int m_socket = -1;
    QByteArray m_program;
};

// What this process has computed so far: it does not grow with what else the machine does.
double computedMs() { return 1e3 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

void measure(const QByteArray& program, int runs) {
    QTemporaryDir folder;
    QFile file(folder.filePath("station.bin"));
    if (!file.open(QIODevice::WriteOnly)) {
        return;
    }
    file.write(program);
    file.close();
    PodProcess pod(folder.filePath("pod.log"));
    Korvath window;
    setInstance(&window);
    window.initFirstStage();
    window.initSecondStage();
    qApp->installEventFilter(&window);
    const KorvathAccess in{window};
    in.connection().cbb_ctrlConnIpAddr->setText("127.0.0.1");
    in.connection().cbb_ctrlConnIpPort->setText(QString::number(pod.port()));
    in.connection().cbb_ctrlConnLocalPort->setText("0");
    in.connection().comboBox->setEditText("127.0.0.1");
    in.connection().pushButton_26->click();
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, [] {
        if (auto* box = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            box->close();
        }
    });
    hand.start(20);
    in.settings().widget_title->setCurrentRow(8);
    window.OnFileSettings();
    in.settings().pushButton_5->click();
    in.settings().pushButton_5->click();
    in.settings().lineEdit_9->setText(file.fileName());

    const double frames = (program.size() + kFrameBytes - 1) / kFrameBytes;
    std::vector<double> station, bare, added;
    for (int i = 0; i < runs; ++i) {
        int done = pod.upgrades();
        const double before = computedMs();
        in.settings().pushButton_20->click();
        if (!runUntil([&] { return pod.upgrades() > done; })) {
            std::printf("the upgrade did not end\n");
            break;
        }
        const double computed = (computedMs() - before) / frames;
        station.push_back(pod.latestMs() / frames);
        done = pod.upgrades();
        BareStation(pod.port(), program).upgrade();
        runUntil([&] { return pod.upgrades() > done; });
        bare.push_back(pod.latestMs() / frames);
        added.push_back(station.back() - bare.back());
        std::printf("run %d: station %.4f ms a frame (computing %.4f ms), bare socket %.4f ms\n", i + 1,
                    station.back(), computed, bare.back());
    }
    std::printf(
        "%d bytes, %.0f frames: station %.4f ms a frame, bare socket %.4f ms, the station adds %.4f ms\n",
        program.size(), frames, median(station), median(bare), median(added));
    window.close();
    setInstance(nullptr);
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const int bytes = argc > 1 ? std::atoi(argv[1]) : 200000;
    const int runs = argc > 2 ? std::atoi(argv[2]) : 5;
    const QString path = QCoreApplication::applicationDirPath() + "/appCfg.ini";
    QFile::remove(path);
    {
        QSettings config(path, QSettings::IniFormat);
        config.setValue("common/play_video_on_start", false);
    }
    QByteArray program(bytes, '\0');
    for (int i = 0; i < bytes; ++i) {
        program[i] = static_cast<char>(i * 31 + i / 128);
    }
    measure(program, runs);
    QFile::remove(path);
    std::fflush(nullptr);
    std::_Exit(0);
}
