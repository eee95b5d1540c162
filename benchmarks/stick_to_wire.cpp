// What a game controller costs, and how long a move of it takes to the far end of a UDP link on loopback.
//   scripts/with_display build/benchmarks/stick_to_wire [MOVES]
// A poll with nothing plugged in; the window's tick with a controller of six axes and 32 buttons, everything
// out and pressed anew, against the same tick with the controller disabled; moves at any phase of the poll in
// both protocol modes. The controller is a virtual one of SDL. Asserts nothing.
#include <SDL.h>
#include <arpa/inet.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QSettings>
#include <QTimerEvent>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <thread>
#include <vector>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "app/process_services.h"
#include "input/joystick_device.h"
#include "platform/joystick.h"
#include "settings/player_settings_dlg.h"
#include "ui_connection.h"
#include "ui_korvath.h"
#include "ui_settings.h"

struct KorvathAccess {
    Korvath& window;
    Ui::connection& dialog() const { return *window.ui_connection; }
    PlayerSettingsDlg& settings() const { return *window.m_settings; }
    int tickTimer() const { return window.m_tickTimer; }
};

namespace {

constexpr int kPeriodMs = 40;
constexpr int kRate = 25;  // of a full deflection at the middle of the sensitivity

double nowMs() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// Takes the time of the first datagram that has the rate looked for, on a thread of its own.
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

    int port() const { return ntohs(m_address.sin_port); }
    void lookFor(int rate) {
        m_seen = -1.0;
        m_rate = rate;
    }
    double seen() const { return m_seen; }

private:
    void run() {
        unsigned char frame[512];
        while (!m_stop) {
            const ssize_t n = recv(m_socket, frame, sizeof frame, 0);
            const double now = nowMs();
            const bool single = n == 11 && frame[4] == 0x70;
            const bool periodic = n == 44 && frame[37] == 0x70;
            if ((single && frame[6] == m_rate) || (periodic && frame[38] == m_rate)) {
                if (m_seen < 0) {
                    m_seen = now;
                }
            }
        }
    }

    int m_socket = -1;
    sockaddr_in m_address{};
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_rate{-1};
    std::atomic<double> m_seen{-1.0};
    std::thread m_thread;
};

bool runUntil(const std::function<bool()>& condition, int deadline_ms = 5000) {
    const QDeadlineTimer deadline(deadline_ms);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 1);
    }
    return true;
}
void runFor(double ms) {
    const double until = nowMs() + ms;
    runUntil([until] { return nowMs() >= until; }, 60000);
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
void print(const char* what, const std::vector<double>& v) {
    const Summary s = summarise(v);
    std::printf("%-52s p50 %.4f ms, p99 %.4f ms, max %.4f ms (%zu)\n", what, s.p50, s.p99, s.max, v.size());
    std::fflush(stdout);
}

SDL_Joystick* plugIn(int axes, int buttons) {
    SDL_VirtualJoystickDesc desc{};
    desc.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
    desc.type = SDL_JOYSTICK_TYPE_FLIGHT_STICK;
    desc.naxes = static_cast<Uint16>(axes);
    desc.nbuttons = static_cast<Uint16>(buttons);
    desc.nhats = 1;
    desc.vendor_id = 0x1209;  // without one SDL forgets the product
    desc.product_id = 0x2109;
    desc.name = "Virtual stick";
    return SDL_JoystickOpen(SDL_JoystickAttachVirtualEx(&desc));
}

double timed(const std::function<void()>& work) {
    const double begin = nowMs();
    work();
    return nowMs() - begin;
}

void measureAbsent() {
    sorvane::JoystickDevice device({platform::joystickCaps, platform::joystickState});
    const sorvane::JoystickCallbacks nothing = {[](int, bool) {}, [](int, bool) {}, [](int, float) {},
                                                [](int) {}, [](bool, int, int, int) {}};
    std::printf("first poll, with the beginning of SDL's part: %.2f ms\n",
                timed([&] { device.poll(nothing); }));
    std::vector<double> took;
    for (int i = 0; i < 5000; ++i) {
        took.push_back(timed([&] { device.poll(nothing); }));
    }
    print("a poll, 16 ids and no controller:", took);
}

// The whole tick, as the window's timer runs it.
double tick(Korvath& window) {
    QTimerEvent event(KorvathAccess{window}.tickTimer());
    return timed([&] { QCoreApplication::sendEvent(&window, &event); });
}

void measureTick(Korvath& window, bool page_shown) {
    Ui::dialogSettings& ui = *KorvathAccess{window}.settings().ui;
    if (page_shown) {
        window.OnFileSettings();
        ui.widget_title->setCurrentRow(3);
        runFor(500);
    }
    SDL_Joystick* stick = plugIn(6, 32);
    std::vector<double> with, without;
    tick(window);
    for (int i = 0; i < 400; ++i) {
        for (int axis = 0; axis < 6; ++axis) {
            SDL_JoystickSetVirtualAxis(stick, axis, i % 2 == 0 ? 32767 : -32768);
        }
        SDL_JoystickSetVirtualButton(stick, i % 32, i % 2 == 0 ? SDL_PRESSED : SDL_RELEASED);
        SDL_JoystickSetVirtualButton(stick, (i + 31) % 32, SDL_RELEASED);
        with.push_back(tick(window));
        runFor(2);
    }
    ui.checkBox_12->setChecked(false);
    tick(window);
    for (int i = 0; i < 400; ++i) {
        without.push_back(tick(window));
        runFor(2);
    }
    ui.checkBox_12->setChecked(true);
    SDL_JoystickDetachVirtual(0);
    SDL_JoystickClose(stick);
    tick(window);
    print(page_shown ? "a tick, 6 axes and 32 buttons, page shown:" : "a tick, 6 axes and 32 buttons:", with);
    print("the same tick, controller disabled:", without);
}

void measureMoves(FarEnd& far, const char* what, int moves) {
    SDL_Joystick* stick = plugIn(6, 12);
    runFor(500);
    std::mt19937 random(1);
    std::vector<double> out, back;
    for (int i = 0; i < moves; ++i) {
        runFor(150 + std::uniform_real_distribution<>(0, 100)(random));
        far.lookFor(kRate);
        double start = nowMs();
        SDL_JoystickSetVirtualAxis(stick, 0, 32767);
        if (runUntil([&] { return far.seen() >= 0; })) {
            out.push_back(far.seen() - start);
        }
        runFor(150 + std::uniform_real_distribution<>(0, 100)(random));
        far.lookFor(0);
        start = nowMs();
        SDL_JoystickSetVirtualAxis(stick, 0, 0);
        if (runUntil([&] { return far.seen() >= 0; })) {
            back.push_back(far.seen() - start);
        }
    }
    SDL_JoystickDetachVirtual(0);
    SDL_JoystickClose(stick);
    runFor(300);
    std::printf("%s\n", what);
    print("  stick out to its rate on the wire:", out);
    print("  stick back to the stop on the wire:", back);
}

void measure(bool single, int moves) {
    const QString path = QCoreApplication::applicationDirPath() + "/appCfg.ini";
    QFile::remove(path);
    {
        QSettings file(path, QSettings::IniFormat);
        file.setValue("common/play_video_on_start", false);
        file.setValue("common/send_single", single);
        file.setValue("common/send_period_ms", kPeriodMs);
        file.setValue("common/js_enable", true);
    }
    {
        FarEnd far;
        Korvath window;
        setInstance(&window);
        window.initFirstStage();
        window.initSecondStage();
        qApp->installEventFilter(&window);
        const KorvathAccess access{window};
        MyAppConfig::CommandMap roles;
        roles[0x2109] = QVariantList{1, 2, 0, 0, 0, 0};
        access.settings().m_config->js_rocker_cmd_map = roles;
        Ui::connection& dialog = access.dialog();
        dialog.cbb_ctrlConnIpAddr->setText("127.0.0.1");
        dialog.cbb_ctrlConnIpPort->setText(QString::number(far.port()));
        dialog.cbb_ctrlConnLocalPort->setText("0");
        dialog.comboBox->addItem("127.0.0.1");
        dialog.comboBox->setCurrentIndex(dialog.comboBox->count() - 1);
        window.OnUdpConnect();
        runFor(1500);
        if (single) {
            measureTick(window, false);
        }
        measureMoves(far, single ? "single mode" : "periodic mode, 40 ms", moves);
        if (single) {
            measureTick(window, true);
        }
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
    const int moves = argc > 1 ? std::atoi(argv[1]) : 100;
    measureAbsent();
    measure(true, moves);
    measure(false, moves);
    std::_Exit(0);
}
