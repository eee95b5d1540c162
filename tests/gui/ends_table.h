// The table of ends: every way to begin something on the pod against every way in which the hand, the window
// or the link can end it. A new control or a new end is one line of its list.
#pragma once

#include <QPointer>
#include <functional>
#include <vector>

#include "ends_scene.h"

// A way to begin. `start` leaves the button or the finger down where the kind says so.
struct Begin {
    enum Kind {
        kMouse,   // a mouse button stays down
        kFinger,  // finger 1 stays down
        kOver     // over at once: a turn of the wheel, a choice
    };
    std::string name;
    Kind kind;
    bool moves;      // the pod moves by it; else its command is seen
    bool thorough;   // against every end; else against those that are common
    bool on_button;  // of the control pages, `widget` names it
    std::string widget;
    // The widget that was used; null when it could not be.
    std::function<QWidget*(EndsScene&, const Begin&)> start;

    bool held() const { return kind != kOver; }
};

// One run of one begin against one end.
struct Row {
    EndsScene& scene;
    const Begin& begin;
    QPointer<QWidget> widget;
    QString trouble;  // what the end itself found wrong

    // The hand is taken away and the pod stands; what is wrong goes to `trouble`. For ends that keep an event
    // loop of their own.
    void liftAndSettle();
};

struct End {
    std::string name;
    bool common;  // against the begins that are not thorough, too
    bool stops;   // ends a hold by itself: the pod stands before the hand is gone
    std::function<bool(const Begin&)> applies;
    std::function<void(Row&)> run;
    // Back to a window that can be used, null: nothing; what the scene's raise() does by itself is left to
    // it.
    std::function<void(Row&)> undo;
};

std::vector<Begin> allBegins();
std::vector<End> allEnds();
// For a period of a second: what comes soon after the release, before any tick has seen it.
std::vector<End> endsAfterTheRelease();
