// Base of every dialog that draws its own title strip.
#pragma once

#include <QDialog>

class QAbstractButton;

// A dialog without a window frame. A press of any button on its title widget hands the move to the system. It
// opens in the middle of its parent's window and whole on the screen. GUI thread.
class common_dlg : public QDialog {
    Q_OBJECT

public:
    explicit common_dlg(QWidget* parent = nullptr);
    ~common_dlg() override;

    // The strip that moves the dialog, normally a child of it; call once, after the form is built. Until then
    // the dialog cannot be moved.
    void setTitleWidget(QWidget* widget);
    // Gives the button its icon; a click on it closes the dialog. A child of the dialog.
    void setCloseButton(QAbstractButton* button);

    bool eventFilter(QObject* obj, QEvent* e) override;
    void setVisible(bool visible) override;

private:
    void place();

    QWidget* m_title = nullptr;
};
