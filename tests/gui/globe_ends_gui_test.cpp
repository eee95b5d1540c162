// A press on a globe against the ways in which a hand, the window or the link can end it. Judged from
// outside, by a pod that turns to a place for as long as the periodic frames send it there. A single command
// has no end on the wire: of it the pod sees that nothing follows.
#include <QWindow>
#include <algorithm>

#include "ends_rows.h"
#include "tests/map/map_scene.h"

namespace {

// Deep sea: the ground is the ellipsoid, whatever heights are loaded.
constexpr Place kSea = {150, 20};
constexpr double kRange_m = 1e6;
// A frame of two globes comes in between, on any machine; what never ends does not end by then either.
constexpr int kStopMs = 10000;
constexpr int kSceneMs = 40000;

// Begin::widget says on which globe.
const char* const kStrip = "strip";
const char* const kPage = "page";

bool exposed(QMapWidget* map) {
    const QWindow* surface = MapAccess{*map}.surface()->windowHandle();
    return surface != nullptr && surface->isExposed();
}

// On the screen: above the strip the pages of buttons, or the globe of the pages with the strip.
QMapWidget* bringUp(EndsScene& s, bool strip) {
    KorvathAccess in = s.in();
    if (in.m_map1() == nullptr || in.m_map2() == nullptr || s.ui().widget_5->isHidden()) {
        s.ui().action_map->trigger();
        if (!EndsScene::waitFor([&] { return in.m_map1() != nullptr && in.m_map2() != nullptr; }, kSceneMs)) {
            return nullptr;
        }
    }
    s.ui().tabWidget->setCurrentWidget(strip ? s.ui().tab_test : s.ui().widget_map);
    QMapWidget* const map = strip ? in.m_map2() : in.m_map1();
    return EndsScene::waitFor([map] { return exposed(map); }, kSceneMs) ? map : nullptr;
}

// The hand of the row before may have turned the globe.
bool lookAtSea(QMapWidget* map) {
    const MapAccess to{*map};
    to.m_manipulator()->setViewpoint(globe::Viewpoint("", kSea.lon, kSea.lat, 0, 0, -90, kRange_m), 0.0);
    const unsigned int before = to.frames();
    to.m_viewer()->requestRedraw();
    return EndsScene::waitFor([&] { return to.frames() > before; }, kSceneMs);
}

// Each time elsewhere: the second press of a double click is none.
QPoint nextPlace(const QMapWidget* map) {
    static int times = 0;
    ++times;
    return map->rect().center() + QPoint(10 * (times % 9) - 40, times % 2 * 20);
}

// Until the place under the pointer is the one that stands there: a surface that has just been made anew sees
// no pointer, so it comes again.
bool hoverOver(EndsScene& s, QMapWidget* map, const QPoint& at) {
    const MapAccess to{*map};
    const Place expected = placeUnder(kSea, kRange_m, at, map->size());
    int step = 0;
    return EndsScene::waitFor(
        [&] {
            s.hand.move(map->mapToGlobal(at) + QPoint(++step % 2, 0));
            return std::fabs(to.m_cursor_lon() - expected.lon) < 0.05 &&
                   std::fabs(to.m_cursor_lat() - expected.lat) < 0.05;
        },
        kSceneMs);
}

QWidget* pressByMouse(EndsScene& s, const Begin& b) {
    QMapWidget* const map = bringUp(s, b.widget == kStrip);
    if (map == nullptr || !lookAtSea(map) || !hoverOver(s, map, nextPlace(map))) {
        return nullptr;
    }
    s.hand.press();
    return map;
}

QWidget* pressByFinger(EndsScene& s, const Begin& b) {
    QMapWidget* const map = bringUp(s, b.widget == kStrip);
    if (map == nullptr || !lookAtSea(map)) {
        return nullptr;
    }
    s.hand.fingerDown(1, map->window(), map->mapToGlobal(nextPlace(map)));
    return map;
}

std::vector<Begin> begins(bool periodic) {
    std::vector<Begin> all;
    for (const char* place : {kStrip, kPage}) {
        const std::string where = std::string(" on the ") + place;
        all.push_back({"globe by mouse" + where, Begin::kMouse, periodic, true, false, place, pressByMouse});
        all.push_back(
            {"globe by finger" + where, Begin::kFinger, periodic, true, false, place, pressByFinger});
    }
    return all;
}

// --- ends of a globe's own ---

QPushButton* stripToggle(Row& r) {
    return r.scene.window->findChild<QPushButton*>(QStringLiteral("m_bottom_map_btn"));
}

void toggleStrip(Row& r) { stripToggle(r)->click(); }

void fingerOnTheOtherGlobe(Row& r) {
    QMapWidget* const other = r.begin.widget == kStrip ? r.scene.in().m_map1() : r.scene.in().m_map2();
    r.scene.ui().tabWidget->setCurrentWidget(r.scene.ui().widget_map);
    if (!EndsScene::waitFor([other] { return exposed(other); }, kSceneMs)) {
        r.trouble += "the other globe does not show; ";
        return;
    }
    const quint64 before = r.scene.pod.motion().movements;
    r.scene.hand.fingerDown(2, other->window(), EndsScene::centre(other));
    r.scene.pod.until([before](const Motion& m) { return m.movements > before + 2; }, EndsScene::kAppearMs);
}

common_dlg* locateDialog(Row& r) { return MapAccess{*qobject_cast<QMapWidget*>(r.widget)}.m_locate_dlg(); }

void openLocateDialog(Row& r) {
    r.scene.hand.press(3);
    r.scene.hand.release(3);
    if (!EndsScene::waitFor([&r] { return locateDialog(r)->isVisible(); }, kSceneMs)) {
        r.trouble += "no dialog; ";
    }
}

void closeLocateDialog(Row& r) { locateDialog(r)->hide(); }

struct Chosen {
    const char* name;
    bool strip, page;
    bool single;  // in single mode too
};
// Of the table's ends, those that can reach a globe, and its own.
constexpr Chosen kChosen[] = {
    {"release", true, true, true},
    {"release outside the control", true, false, false},
    {"release outside the window", true, false, true},
    {"a list opened by key", true, false, true},
    {"a menu", true, false, false},
    {"a message box", true, false, false},
    {"another application", true, false, true},
    {"minimised", true, false, false},
    {"hidden window", true, false, true},
    {"disabled control", true, false, false},
    {"hidden control", true, true, true},
    {"page changed", false, true, false},
    {"control pane closed", false, true, false},
    {"the strip hidden", true, false, true},
    {"the locate dialog", true, false, false},
    {"touch cancelled", true, true, true},
    {"a second finger holds another", true, false, false},
    {"a second finger taps another", true, false, false},
    {"a second finger stays longer", true, false, false},
    {"a second finger on the other globe", false, true, false},
    {"a wheel between", true, false, false},
    {"a right click between", true, false, false},
    {"a click between", true, false, false},
    {"a middle click between", true, false, false},
    {"a drag between", true, false, false},
    {"the other protocol mode", true, false, false},
    {"the link closed", true, false, false},
    {"a release under a menu", true, false, false},
    {"a release that another program gets", true, false, false},
    {"a release that only another program gets", true, false, true},
    {"the window closed", true, false, false},
};

// The command is out and has no end of its own. The globe must know that the hand is gone, and nothing may
// follow.
End quiet(End end) {
    end.run = [run = end.run, stops = end.stops](Row& r) {
        const MapAccess map{*qobject_cast<QMapWidget*>(r.widget)};
        const auto pressed = [&] {
            return !EndsScene::waitFor([&] { return !map.m_left_pressed(); }, kStopMs);
        };
        const quint64 before = r.scene.pod.motion().commands;
        run(r);
        if (stops && pressed()) {
            r.trouble += "pressed with the hand still there; ";
        }
        r.liftAndSettle();
        if (pressed()) {
            r.trouble += "pressed after the hand was gone; ";
        }
        const Motion after = r.scene.pod.motion();
        if (after.commands != before) {
            r.trouble += "more was sent: " + after.text + "; ";
        }
    };
    return end;
}

std::vector<End> ends(bool periodic) {
    const auto held = [](const Begin&) { return true; };
    const auto by_mouse = [](const Begin& b) { return b.kind == Begin::kMouse; };
    const auto by_finger = [](const Begin& b) { return b.kind == Begin::kFinger; };
    std::vector<End> known = allEnds();
    for (End& end : known) {
        // What the table keeps to its buttons.
        if (end.name == "hidden control" || end.name == "page changed" || end.name == "control pane closed") {
            end.applies = held;
        }
        // With the mouse's other button held it is the globe's own, see "the locate dialog".
        if (end.name == "a right click between") {
            end.applies = by_finger;
        }
    }
    known.push_back({"the strip hidden", false, true, held, toggleStrip, toggleStrip});
    known.push_back({"the locate dialog", false, false, by_mouse, openLocateDialog, closeLocateDialog});
    known.push_back(
        {"a second finger on the other globe", false, false, held, fingerOnTheOtherGlobe, nullptr});
    std::vector<End> chosen;
    for (const Chosen& c : kChosen) {
        const auto at =
            std::find_if(known.begin(), known.end(), [&c](const End& end) { return end.name == c.name; });
        if (at == known.end()) {
            ADD_FAILURE() << "no end '" << c.name << "'";
            continue;
        }
        if (!periodic && !c.single) {
            continue;
        }
        End end = periodic ? *at : quiet(*at);
        end.applies = [c, applies = end.applies](const Begin& b) {
            return (b.widget == kStrip ? c.strip : c.page) && applies(b);
        };
        chosen.push_back(std::move(end));
    }
    return chosen;
}

class GlobeEnds : public EndsRows {
protected:
    void runGlobes(bool periodic) {
        setMode(!periodic);
        setPatience(kStopMs);
        usePod({"--places-held"});
        runTable(begins(periodic), ends(periodic));
    }
};

TEST_F(GlobeEnds, InPeriodicMode) { runGlobes(true); }

TEST_F(GlobeEnds, InSingleMode) { runGlobes(false); }

}  // namespace
