// The station as it runs, with the plot open over the picture and reports at 50 Hz of its own, so that
// benchmarks/picture_latency can tell what plotting does to the picture's delay. Run by that script, from a
// run-time tree of its own.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QTimer>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <thread>

#include "analysis/qmyplotdlg.h"
#include "app/events/my_event.h"
#include "app/korvath.h"
#include "app/process_services.h"
#include "ui_korvath.h"
#include "widgets/ui_fonts.h"

namespace {

constexpr auto kPeriod = std::chrono::milliseconds(20);

// Ends with the process.
void feed(QObject& window) {
    auto next = std::chrono::steady_clock::now();
    for (int n = 0;; ++n) {
        std::this_thread::sleep_until(next += kPeriod);
        auto* block = static_cast<sorvane::TelemetryRecord*>(std::malloc(sizeof(sorvane::TelemetryRecord)));
        *block = sorvane::TelemetryRecord();
        block->frame_yaw = static_cast<std::int16_t>(6000 * std::sin(n / 40.0));
        block->frame_pitch = static_cast<std::int16_t>(3000 * std::sin(n / 25.0));
        block->frame_roll = static_cast<std::int16_t>(500 * std::sin(n / 15.0));
        QCoreApplication::postEvent(&window, new QMyEvent(EVT_TELEMETRY, nullptr, block, 0));
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    QApplication::setFont(applicationFont());
    QApplication application(argc, argv);
    installFontSubstitutes();
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    Korvath window;
    setInstance(&window);
    window.initFirstStage();
    window.initSecondStage();
    qApp->installEventFilter(&window);
    // Once the link is open.
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &window, [&] {
        if (window.linkState() == 0) {
            return;
        }
        poll.stop();
        window.OnActionChartAnaTriggered();
        auto* plots = window.findChild<QMyPlotDlg*>();
        plots->findChild<QComboBox*>("comboBox_2")->setCurrentIndex(2);
        plots->findChild<QCheckBox*>("checkBox_frmRoll")->setChecked(true);
        plots->findChild<QPushButton*>("pushButton_start")->click();
        std::thread(feed, std::ref(window)).detach();
    });
    poll.start(200);
    QApplication::exec();
    std::_Exit(0);
}
