// Saves one report after the other below its argument, and tells the number of each behind it, until it is
// killed.
#include <QCoreApplication>
#include <cstdio>

#include "app/config/my_app_config.h"
#include "telemetry/telemetry_log.h"

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        return 2;
    }
    MyAppConfig config(QString::fromLocal8Bit(argv[1]) + "/none.ini");
    config.default_telemetry_saving_directory = QString::fromLocal8Bit(argv[1]);
    config.telemetry_saving_option = 15;
    QObject timers;
    int timer = 0;
    bool saving = false;
    TelemetryLog log(timers, TelemetryLogFields{timer, saving}, config,
                     TelemetryLogActions{[] { return sorvane::CalendarTime{2026, 3, 9, 7, 5, 2, 40}; },
                                         [] { return true; }, [] {}});
    sorvane::TelemetryRecord record;
    for (int i = 1; i <= 30000; ++i) {
        record.track_x = static_cast<std::int16_t>(i);
        log.take(record);
        std::printf("%d\n", i);
        std::fflush(stdout);
    }
    return 0;
}
