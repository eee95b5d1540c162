// What the two command pages, the gestures, the stick and the map send, and the timers that end it.
#pragma once

#include <cstdint>
#include <functional>

#include "link/command_catalogue.h"
#include "link/link_state.h"

class CommandSender;
class ControlForm;
class QObject;
class QWidget;
struct MainForm;

// The window's fields that the commands read and the timers that they start.
struct CommandPagesFields {
    CommandTimerList& zoom_timers;  // pending 200 ms stop timers of setZoom
    int& stop_timer;
    const std::int32_t& link_state;
    const bool& tracking;
    const bool& frame_release;
};

// What the commands ask of their surroundings, each time anew. All must be set.
struct CommandQuestions {
    std::function<int()> display_mode;         // of the last report
    std::function<const QWidget*()> settings;  // the settings dialog; null before it exists
    std::function<const QWidget*()> osd_page;  // its page of the on-screen display
};

// Form, fields, sender and `timers` outlive this object. GUI thread.
class CommandPages {
public:
    // `timers` is the object whose timer ids the fields hold.
    CommandPages(const MainForm& form, QObject& timers, CommandSender& sender,
                 const CommandPagesFields& fields, CommandQuestions questions);

    // A held button: sends what the catalogue says for its object name; unknown names and null do nothing.
    void pressed(QObject* button);
    // A choice of the operator; `control` is an object name of link/control_names.h.
    void chosen(const char* control, int index);
    void switched(const char* control, bool on);

    // The wheel on picture 1 or 2; command 1 zooms in, 2 out. Nothing without a link. Successive notches keep
    // the zoom running; it stops 200 ms after the last.
    void setZoom(int window, int command);
    // Picture coordinates: pixels right of and above the centre of the encoded picture.
    void trackPoint(std::int16_t x, std::int16_t y);
    void stopTracking();
    void toggleTracking();
    void zoomBySource(bool in);
    void osdNext();

    // 100 ms later stopCommand(0) runs once.
    void startStopTimer();
    void onStopTimer();
    // True when the id was one of the zoom's timers.
    bool onZoomTimer(int id);

    // Ends what still runs before the timers die; for the closing of the window. `end_holds` ends the held
    // buttons and drags.
    void endAll(const std::function<void()>& end_holds);

private:
    void run(sorvane::ControlKind kind, const char* object, int value);
    void zoomUntilQuiet(const sorvane::Command& command);

    const MainForm& m_form;
    QObject& m_timers;
    CommandSender& m_sender;
    CommandPagesFields m_fields;
    CommandQuestions m_questions;
};
