// The station as it runs, with its two maps, for benchmarks/map_goals and benchmarks/picture_latency.
//   station_maps show    what the first pictures of the maps take, and the memory before and behind them
//   station_maps tour    flies both maps to twenty places: when their tiles are there, and the memory
//   station_maps fixes   what fixes at 50 Hz cost with a track of 100,000 points
//   station_maps move    both maps fly for ever; "picture_window" gets the place of the first picture
// Run by those scripts from a run-time tree of their own; prints "NAME VALUE" a line. Asserts nothing.
#include <QApplication>
#include <QFile>
#include <QTimer>
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "app/events/my_event.h"
#include "app/korvath.h"
#include "app/process_services.h"
#include "globe/graphics_window_qt.h"
#include "map/qmapwidget.h"
#include "ui_korvath.h"
#include "widgets/ui_fonts.h"

struct KorvathAccess {
    Korvath& window;
    Ui::KorvathClass& ui() const { return *window.ui; }
    std::array<QMapWidget*, 2> maps() const { return {window.m_map1, window.m_map2}; }
};

struct MapAccess {
    QMapWidget& map;
    osgViewer::Viewer& viewer() const { return *map.m_viewer; }
    globe::EarthManipulator& camera() const { return *map.m_manipulator; }
    globe::MapNode& earth() const { return *map.m_map_node; }
    std::size_t trackPoints() const { return map.m_track.size(); }
    bool exposed() const {
        return static_cast<globe::GraphicsWindowQt*>(map.m_camera->getGraphicsContext())->isExposed();
    }
    unsigned frames() const { return map.m_viewer->getFrameStamp()->getFrameNumber(); }
    bool atRest() const {
        return !map.m_manipulator->isSettingViewpoint() && !map.m_map_node->isLoading() &&
               !map.m_viewer->checkNeedToDoFrame();
    }
};

namespace {

constexpr int kTurn_ms = 5;
constexpr int kCalm_ms = 1500;
constexpr double kCalm = 0.05;  // of a core
constexpr int kPatience_ms = 120000;
constexpr int kTrackPoints = 100000;
constexpr int kFix_ms = 20;

double nowMs() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double threadMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

void tell(const std::string& name, double value) {
    std::printf("%s %.3f\n", name.c_str(), value);
    std::fflush(stdout);
}

// Megabytes: resident, and of these its own alone.
void tellMemory(const std::string& when) {
    QFile file(QStringLiteral("/proc/self/smaps_rollup"));
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    double resident = 0.0;
    double own = 0.0;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words.size() < 2) {
            continue;
        }
        const double mb = words[1].toDouble() / 1024.0;
        resident += words[0] == "Rss:" ? mb : 0.0;
        own += words[0] == "Private_Dirty:" || words[0] == "Private_Clean:" ? mb : 0.0;
    }
    tell("resident_" + when, resident);
    tell("own_" + when, own);
}

// Sleeps until there is something to do, and a few milliseconds at most.
void turn() {
    static QTimer* const metronome = [] {
        auto* timer = new QTimer(qApp);
        timer->start(kTurn_ms);
        return timer;
    }();
    Q_UNUSED(metronome)
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// What does not come leaves nothing to tell.
void giveUpAfter(double end_ms) {
    if (nowMs() > end_ms) {
        std::fprintf(stderr, "station_maps: waited in vain\n");
        std::_Exit(1);
    }
}

void waitFor(const std::function<bool()>& there) {
    const double end = nowMs() + kPatience_ms;
    while (!there()) {
        giveUpAfter(end);
        turn();
    }
}

void runFor(int ms) {
    for (const double end = nowMs() + ms; nowMs() < end;) {
        turn();
    }
}

double processMs() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// The window has its first pictures and what is read behind them.
void waitForCalm() {
    const double end = nowMs() + kPatience_ms;
    double used = 0.0;
    do {
        giveUpAfter(end);
        used = processMs();
        runFor(kCalm_ms);
    } while (processMs() - used > kCalm * kCalm_ms);
}

// Shows both maps; told is when the first picture of each was handed to the screen.
void showMaps(const KorvathAccess& in) {
    const double begin = nowMs();
    const double used = threadMs();
    in.ui().action_map->trigger();
    std::array<double, 2> first{};
    waitFor([&] {
        bool both = true;
        for (std::size_t i = 0; i < 2; ++i) {
            QMapWidget* const map = in.maps()[i];
            // The frame of the constructor goes nowhere.
            if (first[i] == 0.0 && map != nullptr && MapAccess{*map}.exposed() &&
                MapAccess{*map}.frames() > 1) {
                first[i] = nowMs() - begin;
            }
            both = both && first[i] > 0.0;
        }
        return both;
    });
    tell("first_frame_1", first[0]);
    tell("first_frame_2", first[1]);
    tell("first_frames_thread", threadMs() - used);
}

bool arrived(const KorvathAccess& in) {
    const std::array<QMapWidget*, 2> maps = in.maps();
    return std::none_of(maps.begin(), maps.end(),
                        [](QMapWidget* map) { return MapAccess{*map}.camera().isSettingViewpoint(); });
}

void waitAtRest(const KorvathAccess& in) {
    waitFor([&] {
        const std::array<QMapWidget*, 2> maps = in.maps();
        return std::all_of(maps.begin(), maps.end(),
                           [](QMapWidget* map) { return MapAccess{*map}.atRest(); });
    });
}

struct Place {
    double lon, lat, range_m;
};

// Cities, mountains, coasts, a pole and the date line, from far and near.
constexpr Place kTour[] = {
    {112.44, 33.75, 2e3}, {139.75, 35.68, 8e5}, {86.92, 27.99, 1.2e5}, {-90.25, 29.98, 5e4},
    {0.0, 90.0, 3e6},     {180.0, -17.0, 1e6},  {-80.28, 25.82, 2e5},  {113.9, 22.54, 3e4},
    {8.0, 46.5, 3e5},     {-70.0, -33.0, 1e5},  {31.2, 30.0, 6e5},     {151.2, -33.9, 1e4},
    {-43.2, -22.9, 5e4},  {18.4, -34.0, 4e5},   {37.6, 55.75, 2e6},    {-122.4, 37.8, 8e4},
    {103.8, 1.35, 2e5},   {-21.9, 64.1, 1e6},   {77.2, 28.6, 5e3},     {112.44, 33.75, 4.4e7}};

void send(const KorvathAccess& in, const Place& place, double flight_s) {
    for (QMapWidget* map : in.maps()) {
        MapAccess{*map}.camera().setViewpoint(
            globe::Viewpoint("", place.lon, place.lat, 0.0, 0.0, -60.0, place.range_m), flight_s);
        MapAccess{*map}.viewer().requestRedraw();
    }
}

void tellShow(const KorvathAccess& in) {
    tellMemory("before");
    showMaps(in);
    waitAtRest(in);
    tellMemory("shown");
}

void tellTour(const KorvathAccess& in) {
    constexpr double kFlight_s = 2.0;
    tellMemory("before");
    showMaps(in);
    waitAtRest(in);
    // Without a flight nothing is loaded on the way.
    for (const Place& place : kTour) {
        const double begin = nowMs();
        send(in, place, 0.0);
        waitAtRest(in);
        tell("jump", nowMs() - begin);
    }
    for (const Place& place : kTour) {
        send(in, place, kFlight_s);
        waitFor([&] { return arrived(in); });
        const double begin = nowMs();
        waitAtRest(in);
        tell("settle", nowMs() - begin);
    }
    tellMemory("tour");
}

// Fixes of a racetrack with the noise of a receiver, as bodies of the inertial unit's frame.
class Aircraft {
public:
    explicit Aircraft(Korvath& window) : m_window(window) {}

    void nextFix() {
        const int phase = m_count++ % 12000;
        if (phase >= 4000 && (phase < 6000 || phase >= 10000)) {
            m_heading += M_PI / 2000.0;
        }
        m_x += 0.9 * std::sin(m_heading);
        m_y += 0.9 * std::cos(m_heading);
        const double noise = 0.2 * std::sin(m_count * 1.7);
        std::array<char, 53> body{};
        const auto put = [&body](std::size_t at, auto value) {
            std::memcpy(body.data() + at, &value, sizeof value);
        };
        put(10, static_cast<float>(std::fmod(m_heading * 180.0 / M_PI, 360.0)));
        put(22, static_cast<std::int32_t>(1e7 * (33.75 + (m_y + noise) / 111000.0)));
        put(26, static_cast<std::int32_t>(1e7 * (112.44 + (m_x + 0.01 * m_count) / 92500.0)));
        put(30, std::int32_t{1500000});
        void* block = std::malloc(body.size());
        std::memcpy(block, body.data(), body.size());
        QMyEvent event(EVT_INS_FRAME, nullptr, block, static_cast<int>(body.size()));
        QCoreApplication::sendEvent(&m_window, &event);
    }

private:
    Korvath& m_window;
    int m_count = 0;
    double m_x = 0.0;
    double m_y = 0.0;
    double m_heading = 0.0;
};

struct FixCost {
    double handled_ms = 0.0;  // a fix, until the window has taken it
    double thread_ms = 0.0;   // of the GUI thread, a fix, with everything else that it does meanwhile
    double frames = 0.0;      // of both maps, a fix
};

// At the pace of the unit; without an aircraft what the thread does anyway.
FixCost fly(const KorvathAccess& in, Aircraft* aircraft, int seconds) {
    const int count = seconds * 1000 / kFix_ms;
    const auto frames = [&in] {
        return MapAccess{*in.maps()[0]}.frames() + MapAccess{*in.maps()[1]}.frames();
    };
    const unsigned drawn = frames();
    const double used = threadMs();
    const double begin = nowMs();
    double handled = 0.0;
    for (int i = 0; i < count; ++i) {
        if (aircraft != nullptr) {
            const double before = threadMs();
            aircraft->nextFix();
            handled += threadMs() - before;
        }
        while (nowMs() < begin + (i + 1) * kFix_ms) {
            turn();
        }
    }
    return {handled / count, (threadMs() - used) / count, static_cast<double>(frames() - drawn) / count};
}

void tellFlight(const KorvathAccess& in, const std::string& name, Aircraft* aircraft) {
    const FixCost cost = fly(in, aircraft, 10);
    tell(name + "_handled", cost.handled_ms);
    tell(name + "_thread", cost.thread_ms);
    tell(name + "_frames", cost.frames);
}

void tellFixes(const KorvathAccess& in) {
    showMaps(in);
    waitAtRest(in);
    for (QMapWidget* map : in.maps()) {
        MapAccess{*map}.camera().setViewpoint(globe::Viewpoint("", 112.44, 33.75, 0.0, 0.0, -60.0, 2e4));
        MapAccess{*map}.viewer().requestRedraw();
    }
    waitAtRest(in);
    Aircraft aircraft(in.window);
    tellFlight(in, "rest", nullptr);
    tellFlight(in, "short", &aircraft);
    while (MapAccess{*in.maps()[0]}.trackPoints() < kTrackPoints) {
        for (int i = 0; i < 500; ++i) {
            aircraft.nextFix();
        }
        turn();
    }
    runFor(2000);
    tellFlight(in, "long", &aircraft);
    tell("points", static_cast<double>(MapAccess{*in.maps()[0]}.trackPoints()));
}

void tellPicture(const KorvathAccess& in) {
    const QWidget& picture = *in.ui().videoWin1;
    const QPoint at = picture.mapToGlobal(QPoint(0, 0));
    QFile file(QStringLiteral("picture_window"));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QStringLiteral("%1 %2 %3 %4\n")
                       .arg(at.x())
                       .arg(at.y())
                       .arg(picture.width())
                       .arg(picture.height())
                       .toUtf8());
    }
}

// Until the program is ended. Each map flies on as soon as it has arrived.
void moveForEver(const KorvathAccess& in) {
    waitFor([&] { return in.window.linkState() != 0; });
    showMaps(in);
    runFor(1000);
    tellPicture(in);
    std::array<std::size_t, 2> at = {0, std::size(kTour) / 2};
    for (;;) {
        for (std::size_t i = 0; i < 2; ++i) {
            const MapAccess map{*in.maps()[i]};
            if (!map.camera().isSettingViewpoint()) {
                const Place& place = kTour[++at[i] % std::size(kTour)];
                map.camera().setViewpoint(
                    globe::Viewpoint("", place.lon, place.lat, 0.0, 0.0, -60.0, place.range_m), 5.0);
                map.viewer().requestRedraw();
            }
        }
        turn();
    }
}

int run(const std::string& what, const KorvathAccess& in) {
    if (what != "move") {
        waitForCalm();
    }
    if (what == "show") {
        tellShow(in);
    } else if (what == "tour") {
        tellTour(in);
    } else if (what == "fixes") {
        tellFixes(in);
    } else if (what == "move") {
        moveForEver(in);
    } else {
        std::fprintf(stderr, "usage: station_maps show|tour|fixes|move\n");
        return 2;
    }
    return 0;
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
    int status = 0;
    QTimer::singleShot(0, &window, [&] {
        status = run(argc > 1 ? argv[1] : "", KorvathAccess{window});
        QCoreApplication::quit();
    });
    QApplication::exec();
    std::fflush(stdout);
    std::_Exit(status);
}
