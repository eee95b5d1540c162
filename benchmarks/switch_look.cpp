// Time from a choice of theme or language to the end of the repainting that follows, with both panes and the
// settings dialog open.
//   scripts/with_display build/benchmarks/switch_look [SWITCHES]
// Run it where the run-time tree lies (res, translations). Asserts nothing.
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QPushButton>
#include <QSettings>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "app/korvath.h"
#include "app/process_services.h"
#include "settings/player_settings_dlg.h"
#include "ui_korvath.h"
#include "ui_settings.h"

struct KorvathAccess {
    Korvath& window;
    PlayerSettingsDlg& settings() const { return *window.m_settings; }
};

namespace {

// Rounds of the event loop without a paint for so long end a switch.
constexpr int kQuietMs = 30;

class PaintCounter : public QObject {
public:
    int paints = 0;
    bool eventFilter(QObject* obj, QEvent* e) override {
        paints += e->type() == QEvent::Paint ? 1 : 0;
        return QObject::eventFilter(obj, e);
    }
};

void runFor(int ms) {
    QElapsedTimer clock;
    clock.start();
    while (!clock.hasExpired(ms)) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
}

// Milliseconds until the display has taken the last paint of the switch.
double switchOnce(PaintCounter& counter, const std::function<void()>& choose) {
    QElapsedTimer clock;
    QElapsedTimer quiet;
    clock.start();
    choose();
    qint64 end_ns = clock.nsecsElapsed();
    for (quiet.start(); !quiet.hasExpired(kQuietMs);) {
        counter.paints = 0;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        if (counter.paints == 0) {
            continue;
        }
        QGuiApplication::sync();
        end_ns = clock.nsecsElapsed();
        quiet.start();
    }
    return static_cast<double>(end_ns) / 1e6;
}

void measure(const char* what, QComboBox* box, int switches) {
    PaintCounter counter;
    qApp->installEventFilter(&counter);
    std::vector<double> took;
    for (int i = 0; i < switches; ++i) {
        // Past the end of the command that a language sends.
        runFor(200);
        took.push_back(switchOnce(counter, [box] { box->setCurrentIndex(1 - box->currentIndex()); }));
    }
    qApp->removeEventFilter(&counter);
    std::sort(took.begin(), took.end());
    std::printf("%s, %zu switches: p50 %.1f ms, p99 %.1f ms, max %.1f ms\n", what, took.size(),
                took[took.size() / 2], took[std::min(took.size() - 1, took.size() * 99 / 100)], took.back());
}

}  // namespace

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const int switches = std::max(1, argc > 1 ? std::atoi(argv[1]) : 40);
    const QString path = QCoreApplication::applicationDirPath() + "/appCfg.ini";
    QFile::remove(path);
    QSettings(path, QSettings::IniFormat).setValue("common/play_video_on_start", false);
    {
        Korvath window;
        setInstance(&window);
        window.initFirstStage();
        window.initSecondStage();
        qApp->installEventFilter(&window);
        runFor(1000);
        window.OnButtonCtrlPaneClicked();
        window.OnButtonStatPaneClicked();
        window.OnFileSettings();
        auto& form = *KorvathAccess{window}.settings().ui;
        form.stackedWidget->setCurrentWidget(form.page_common);
        runFor(1000);
        measure("theme", form.cbb_selTheme, switches);
        measure("language", form.cbb_selLang, switches);
        window.close();
        setInstance(nullptr);
    }
    QFile::remove(path);
    std::fflush(stdout);
    std::_Exit(0);
}
