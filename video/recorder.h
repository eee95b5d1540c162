// Recording of the open channels: which file begins when, how often it is followed by the next, and the tips
// that blink meanwhile. The bytes are written by the stream library.
#pragma once

#include <QObject>
#include <QString>
#include <array>
#include <functional>

#include "base/calendar_time.h"

class MyAppConfig;
class MyTipDialog;
class QAction;
class QPushButton;

// A channel as recording sees it; the fields are the window's.
struct RecordedChannel {
    const bool& open;
    bool& recording;
    const bool& snapping;
    MyTipDialog* const& tip;      // null until the window has made it
    std::function<int()> handle;  // of its stream
};

// The window's fields.
struct RecorderFields {
    int& split_timer;  // ids of timers of the window, 0 for none
    int& blink_timer;
    int& seconds;             // since the recording began
    QString& dir;             // of the latest recording
    QString& file;            // path of the latest recording
    const int& replay_state;  // 0: none
};

// What the operator presses; both stay with the window.
struct RecorderControls {
    QAction& record;   // checkable: recording
    QPushButton& raw;  // its text tells what a click does
};

// All must be set.
struct RecorderActions {
    std::function<sorvane::CalendarTime()> local_clock;
    std::function<void()> place_tips;
    std::function<void()> state_changed;  // the status bar
    std::function<void()> ended;          // by the operator: the notice
};

// Everything handed in outlives it. GUI thread.
class Recorder : public QObject {
    Q_OBJECT

public:
    using Channels = std::array<RecordedChannel, 2>;

    // timers: the object that owns the two timers.
    Recorder(QObject& timers, Channels channels, const RecorderFields& fields,
             const RecorderControls& controls, const MyAppConfig& config, RecorderActions actions);

    // Begins a file of the stream; format is a sorvane::CaptureFormat. 0, or -1 when the directory cannot be
    // made. Whether the library could begin is not known.
    int begin(int handle, int format);
    // The action has been triggered: its check says whether to record.
    void onAction();
    // The raw button was clicked: its text swaps first, whatever comes of it. Leaves action and status alone.
    void onRawButton();
    void onSplitTimer();
    void onBlinkTimer();
    // Sets what a new language of the form has overwritten.
    void retranslate();
    // The window closes: recordings end without a notice, and nothing blinks any more.
    void close();

private:
    bool anyOpen() const;
    void start(int format);
    void endAll();
    void stop();
    void stopTimer(int& id);
    static bool active(const RecordedChannel& channel) { return channel.recording || channel.snapping; }

    QObject& m_timers;
    const Channels m_channels;
    RecorderFields m_fields;
    RecorderControls m_controls;
    const MyAppConfig& m_config;
    const RecorderActions m_actions;
    bool m_rawRuns = false;  // as the raw button's text has it
};
