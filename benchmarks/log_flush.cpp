// What saving a report costs, both files, beside writing and flushing the same bytes with nothing around it.
//   build/benchmarks/log_flush [REPORTS] [DIRECTORY]
// In turns, several rounds; asserts nothing.
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "app/config/my_app_config.h"
#include "telemetry/log_rules.h"
#include "telemetry/telemetry_log.h"

namespace {

// Microseconds a call: median, 99th percentile.
struct Cost {
    double p50, p99;
};

Cost measure(int calls, const std::function<void(int)>& call) {
    std::vector<double> took;
    took.reserve(static_cast<std::size_t>(calls));
    QElapsedTimer clock;
    for (int i = 0; i < calls; ++i) {
        clock.start();
        call(i);
        took.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e3);
    }
    std::sort(took.begin(), took.end());
    return {took[took.size() / 2], took[took.size() * 99 / 100]};
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    const int reports = std::max(100, argc > 1 ? std::atoi(argv[1]) : 20000);
    QTemporaryDir folder(argc > 2 ? QString::fromLocal8Bit(argv[2]) + "/log_flush-XXXXXX"
                                  : QDir::tempPath() + "/log_flush-XXXXXX");
    const sorvane::CalendarTime now = {2026, 3, 9, 7, 5, 2, 40};
    sorvane::TelemetryRecord record;
    record.frame_yaw = -12345;
    for (int round = 0; round < 5; ++round) {
        MyAppConfig config(folder.filePath("none.ini"));
        config.default_telemetry_saving_directory = folder.filePath(QString("log%1").arg(round));
        config.telemetry_saving_option = 15;
        QObject timers;
        int timer = 0;
        bool saving = false;
        TelemetryLog log(timers, TelemetryLogFields{timer, saving}, config,
                         TelemetryLogActions{[&] { return now; }, [] { return true; }, [] {}});
        log.take(record);
        const Cost saved = measure(reports, [&](int) { log.take(record); });

        const QByteArray raw = QByteArray::fromStdString(sorvane::rawLogRow(record, now));
        const QByteArray row = QByteArray::fromStdString(sorvane::tableLogRow(1000, record, 15, now));
        QFile first(folder.filePath(QString("bare%1.dat").arg(round)));
        QFile second(folder.filePath(QString("bare%1.csv").arg(round)));
        if (!first.open(QIODevice::ReadWrite | QIODevice::Truncate) ||
            !second.open(QIODevice::ReadWrite | QIODevice::Truncate)) {
            return 1;
        }
        const Cost bare = measure(reports, [&](int) {
            first.write(raw);
            first.flush();
            second.write(row);
            second.flush();
        });
        std::printf(
            "round %d: saved p50 %.2f us, p99 %.2f us; bare p50 %.2f us, p99 %.2f us; ratio p50 %.2f, p99 "
            "%.2f\n",
            round + 1, saved.p50, saved.p99, bare.p50, bare.p99, saved.p50 / bare.p50, saved.p99 / bare.p99);
    }
    return 0;
}
