// What the two command pages, the gestures, the stick and the map send, and the timers that end it.
#pragma once

#include <QTimer>
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

    // A held button: sends what the catalogue says for its object name; unknown names and null send nothing.
    void pressed(QObject* button);
    void released(QObject* button);
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

    // Rates of a drag on picture 1 or 2. A rate that a busy line cannot take yet is sent once it can, unless
    // a newer one comes or the drag ends.
    void slewBegins(int window);
    void slew(std::int16_t x, std::int16_t y);
    void slewEnded(int window);
    // The middle button on the first picture.
    void videoSwitchPressed();
    void videoSwitchReleased();

    // 100 ms later the last command ends.
    void startStopTimer();
    void onStopTimer();
    // True when the id was one of the zoom's timers.
    bool onZoomTimer(int id);

    // stopCommand(), unless another movement stands by now.
    void endUnlessHeld(std::uint16_t code);
    // Ends whatever stands and sees its stop out; before the link closes or the window goes.
    void endAll();
    // The protocol mode is not that of the last command any more.
    bool modeIsNew() const;
    // The protocol mode may have been switched: what stands ends in the mode in which it began.
    void modeChanged();
    // The same when no widget can be asked any more.
    void abandon();

    // Lets go the holds that are neither a button nor on a picture. May be empty.
    std::function<void(const void* but)> let_go_more;

private:
    void run(sorvane::ControlKind kind, const char* object, int value, const void* holder = nullptr);
    bool linkOpen() const;
    void killZoomTimers();
    void letGo(const void* but);
    const void* picture(int window) const;

    const MainForm& m_form;
    QObject& m_timers;
    CommandSender& m_sender;
    CommandPagesFields m_fields;
    CommandQuestions m_questions;
    QTimer m_rateWaits;
    std::int16_t m_rateX = 0;  // of the drag, the newest
    std::int16_t m_rateY = 0;
};
