// The notice that a picture or a recording has been written.
#pragma once

#include <QDialog>
#include <QTimer>
#include <memory>

namespace Ui {
class CompNotifyDlgUi;
}  // namespace Ui

// Hides itself after five seconds. Takes no activation, neither when it is shown nor when its buttons are
// pressed: that would end the hold of a button in the window below. GUI thread.
class MyCompNotifyDlg : public QDialog {
    Q_OBJECT

public:
    enum Mode { kSnapshot = 1, kRecording = 2 };

    MyCompNotifyDlg(Mode mode, QWidget* parent);
    ~MyCompNotifyDlg() override;

    // Shows the text, broken where the label ends, in the lower right corner of `window`.
    void showAt(const QRect& window, const QString& text);

signals:
    // What the operator wants to see.
    void directoryWanted();
    void fileWanted();

private:
    const std::unique_ptr<Ui::CompNotifyDlgUi> m_form;
    QTimer m_hideTimer;
};
