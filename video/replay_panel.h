// The small bar over videoWin1 with play, pause, stop and the time left of a replay.
#pragma once

#include "widgets/my_trans_dlg.h"

class QPushButton;

// Starts hidden; the main window places and shows it while a replay runs. GUI thread.
class ReplayPanel : public MyTransDlg {
    Q_OBJECT

public:
    explicit ReplayPanel(QWidget* parent);

    QPushButton* m_btnPlay;  // checked: playing, shows pause
    QPushButton* m_btnStop;
    QLabel* m_labelPlayTime;
};
