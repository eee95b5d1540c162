// The panes that float over the picture: status pane, its toggle, the toggle and the page selectors of the
// control pages, the replay bar's place.
#pragma once

#include <QObject>
#include <functional>

class MyTransDlg;
class QMainWindow;
class QPushButton;
struct MainForm;

// The window's fields; null until they are created.
struct PaneFields {
    MyTransDlg*& stat_pane;
    MyTransDlg*& state_tab;
    MyTransDlg*& ctrl_pane;
    MyTransDlg*& ctrl_select;
    QPushButton*& btn_stat_pane;
    QPushButton*& btn_ctrl_pane;
    MyTransDlg*& pane_play_ctrl;
    int& pane_timer;          // id of a timer of the window, 0 for none
    const int& replay_state;  // 0: no replay
};

// Window, form and fields outlive it. GUI thread.
class FloatingPanes : public QObject {
    Q_OBJECT

public:
    // language: index of the chosen language, 0 Chinese.
    FloatingPanes(QMainWindow& window, const MainForm& form, const PaneFields& fields,
                  std::function<int()> language);

    // The status page moves from its place in the form to a pane of its own; the window deletes that pane.
    void createStatPane();
    void createPageSelectors();
    // The two toggles; they come up with showOnce().
    void createToggles();
    // A window manager keeps a tool window above its main window only if it knows the main window when the
    // tool window appears: to be called when the main window is on the screen. True the one time that they
    // come up.
    bool showOnce();

    // Chinese captions stand upright on buttons; other languages need the length of a vertical tab. To be
    // called after each change of language: the toggles' names follow too.
    void rebuildPageSelectors();
    void placeStatPane();
    void placeToggles();
    void placeReplayPanel();
    // Places the toggles until the window system has answered; ends its timer then.
    void onPaneTimer();
    void startPaneTimer();

    void toggleControlPages();
    void toggleStatPane();

private:
    void nameToggles();

    QMainWindow& m_window;
    const MainForm& m_form;
    PaneFields m_fields;
    std::function<int()> m_language;
    bool m_shown = false;
};
