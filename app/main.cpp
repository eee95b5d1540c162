#include <QApplication>
#include <cstdlib>

#include "app/korvath.h"
#include "app/process_services.h"
#include "platform/process.h"
#include "platform/termination.h"
#include "widgets/close_requests.h"
#include "widgets/run_tree.h"
#include "widgets/ui_fonts.h"

namespace {

void setAttributes() {
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}

// What every start reads; icons stand or fall with the sheets beside them.
void nameMissing() {
    nameMissingFiles({"./res/common.qss", "./res/night.qss", "./res/setting_day.qss",
                      "./res/setting_night.qss", "./res/icon_app.png", "./translations/Translation_en.qm",
                      "./translations/qtbase_zh_CN.qm", "./earth/XEarth.earth",
                      QCoreApplication::applicationDirPath() + "/fonts/msyh.ttc"});
}

bool g_running = false;

// The toolkit calls exit() from the midst of the event loop when the display goes away.
void onExit() {
    if (g_running) {
        instance()->abandon();
    }
}

int run() {
    std::atexit(onExit);
    g_running = true;
    const int status = QApplication::exec();
    g_running = false;
    return status;
}

}  // namespace

int main(int argc, char* argv[]) {
    setAttributes();
    QApplication::setFont(applicationFont());
    platform::installCrashHandler();
    platform::surviveLostReaders();
#ifndef SORVANE_SANITIZED
    // The libraries' own clean-up is not relied on. A sanitizer reports at exit, so it needs the long way.
    std::atexit([] { platform::exitAtOnce(); });
#endif
    QApplication application(argc, argv);
    installFontSubstitutes();
    nameMissing();
    Korvath window;
    setInstance(&window);
    window.initFirstStage();
    window.initSecondStage();
    application.installEventFilter(&window);
    closeOnRequests(window);
    return run();
}
