// A recorded file played on the first picture: which file, its bar with pause and stop, the time that is
// left.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <cstdint>
#include <functional>

class MyTransDlg;
class PicturePresenter;
class QAction;
class QMyVideoWidget;
class QWidget;
class ReplayPanel;

// The window's fields.
struct ReplayFields {
    int& state;      // 0 none, 1 playing, 2 paused
    QTimer*& timer;  // the countdown's tick, only while playing; the window's destructor deletes it first
    std::int64_t& left_ms;  // of the replay
    bool& playing;          // the first channel is open
    bool& recording;        // and records
    MyTransDlg*& panel;     // a ReplayPanel; null until the window has made it
};

// What a replay works with; all of it outlives the replay.
struct ReplayParts {
    QAction& action;  // checkable: a recording is open
    QMyVideoWidget& widget;
    PicturePresenter& presenter;
    QObject& events;  // gets the pictures
};

// All must be set.
struct ReplayActions {
    std::function<QString()> choose_file;  // waits for the operator; empty for none
    std::function<void()> refuse;          // tells the operator that the first channel is open
    std::function<void()> opening;         // the texts of the channels' buttons
    std::function<void()> place_panel;
    std::function<void()> state_changed;  // the status bar
    std::function<void()> activate_window;
    std::function<std::uint8_t()> decoder;  // for the stream library
    std::function<void()> tick;             // of the countdown
};

// GUI thread.
class Replay : public QObject {
    Q_OBJECT

public:
    Replay(const ReplayParts& parts, const ReplayFields& fields, ReplayActions actions);

    // The action has been triggered: its check says whether to open a recording or to end it.
    void onAction();
    // Pauses a replay that plays, goes on with one that is paused.
    void onPlayButton();
    void onStopButton();
    void onTick();
    // The stream library's hooks, as events 1002 and 1003 bring them. A start that comes once the window has
    // closed is ignored.
    void onStarted();
    void onEnded();
    // The window closes.
    void close();

private:
    void open();
    void closeSession();
    void enterPlaying(bool resuming);
    void deleteTimer();
    void showLeft();
    ReplayPanel* panel() const;

    ReplayParts m_parts;
    ReplayFields m_fields;
    const ReplayActions m_actions;
    // The session's own handle: the surface's is overwritten when the first channel is opened meanwhile.
    int m_handle = 0;
    bool m_sessionOpen = false;  // to be closed exactly once: a closed handle stands for the running pull
    bool m_closed = false;
};

// Asks for the file of a recording, from `directory` on; empty when the operator chose none.
QString chooseRecording(QWidget& window, const QString& directory);
// Tells that the first channel must be closed before.
void refuseReplay(QWidget& window);
