// Base of everything that floats over the picture: panes, their toggles, tips.
#pragma once

#include <QLabel>

// A frameless tool window with a translucent ground. It never takes activation: a floating pane that did
// would end the hold of a button in the window below it. Without a compositor the ground is opaque. GUI
// thread.
class MyTransDlg : public QLabel {
    Q_OBJECT

public:
    explicit MyTransDlg(QWidget* parent = nullptr);

    // Sets the geometry and holds to it: a window manager that takes a new window over has it elsewhere for a
    // moment, and a report of that moment would stand as the last word. A place that is refused again and
    // again is given up.
    void place(const QRect& wanted);

protected:
    bool event(QEvent* e) override;

private:
    QRect m_wanted;
    int m_asksLeft = 0;
};
