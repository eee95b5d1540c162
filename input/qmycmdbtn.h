// The push button whose command runs as long as it is held.
#pragma once

#include <QPushButton>

// Reports one press (event 1000) and one release (event 1001) per gesture, from the mouse or a finger, to a
// target; it sends no command itself. However the hold ends (released, hidden, disabled, destroyed, touch
// cancelled, a modal box, activation gone to another application), 1001 follows each 1000 exactly once. GUI
// thread.
class QMyCmdBtn : public QPushButton {
    Q_OBJECT

public:
    explicit QMyCmdBtn(QWidget* parent = nullptr);
    explicit QMyCmdBtn(const QString& text, QWidget* parent = nullptr);
    ~QMyCmdBtn() override;

    // cmd_id is free for the owner; target receives the events, null means the main window. The target is not
    // owned.
    void setCommand(int cmd_id, QObject* target);
    int commandId() const { return cmd_id; }

    bool isHeld() const { return m_held; }
    // Sends the release now, if a press is out; for whoever takes the hold away.
    void endHold();

protected:
    bool event(QEvent* e) override;
    // Watches the application while held, for endings that reach other objects.
    bool eventFilter(QObject* obj, QEvent* e) override;

private:
    void init();
    void press();
    void report(int type);

    int cmd_id = 0;
    QObject* target = nullptr;
    bool touching = false;  // the press came from touch; the mouse events synthesised from it are ignored
    bool m_held = false;
};
