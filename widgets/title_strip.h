// What works in the title strip of a window without a frame: the window's own buttons and its tool bars.
#pragma once

#include <QList>
#include <QObject>

class QAction;
class QHelpEvent;
class QIcon;
class QMenu;
class QToolBar;
class QToolButton;
class QWidget;

// Widgets of the strip; they outlive the object.
struct TitleStripWidgets {
    QWidget& strip;   // in a row: what stands beside the tool bars, and `host`
    QWidget& host;    // empty; takes the tool bars
    QToolBar& icons;  // gives way in a narrow window
    QToolBar& kept;   // does not
    QToolButton& minimise;
    QToolButton& maximise;
    QToolButton& close;
};

// Icons and the maximise tip follow the state of the window and its style sheet. Every button of the tool
// bars takes the keyboard. Icons that a narrow window has no room for go, from the last on, into a menu;
// their shortcuts live on, and their tips name them. GUI thread.
class TitleStrip : public QObject {
    Q_OBJECT

public:
    TitleStrip(QWidget& window, const TitleStripWidgets& widgets);

    // A button at the end of the kept tool bar that opens a menu of these actions; it belongs to the bar.
    QToolButton* addMenuButton(const QList<QAction*>& actions, const QIcon& icon);

    // Tips in the language of now.
    void retranslate();

protected:
    bool eventFilter(QObject* object, QEvent* e) override;

private:
    void connectWindowButtons();
    void showState();
    void setTips();
    static bool showKeyTip(const QObject* object, const QHelpEvent& e);
    void makeRoom();
    void takeKeyboard();
    int room() const;

    QWidget& m_window;
    TitleStripWidgets m_w;
    QList<QAction*> m_actions;  // of `icons`, in order, also those in the menu
    QToolButton* m_more;
    QToolButton* m_menuButton = nullptr;
    int m_shown = -1;  // how many of them stand in the bar
    bool m_fitting = false;
};

// Gives a window that is about to be shown maximised the size that restoring brings: smaller than the
// screen's free area, in its middle.
void placeForRestore(QWidget& window);
