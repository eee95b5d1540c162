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
};
