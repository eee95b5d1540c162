// The tip over a picture while its channel records or takes snapshots.
#pragma once

#include "widgets/my_trans_dlg.h"

class QLabel;

// Floats over its video widget; starts hidden, never takes activation. GUI thread.
class MyTipDialog : public MyTransDlg {
    Q_OBJECT

public:
    explicit MyTipDialog(QWidget* parent);

    // Which of the two icons are shown.
    void setSnapping(bool on);
    void setRecording(bool on);
    bool isRecording() const;
    // The text beside the icons, such as the time recorded so far.
    void setText(const QString& text);

private:
    QLabel* label_snap;
    QLabel* label_rec;
    QLabel* label_text;
};
