// The push button whose command runs as long as it is held.
#pragma once

#include <QPointer>
#include <QPushButton>

#include "widgets/hold_watch.h"

// Reports each press and each release by mouse or finger as event 1000 or 1001 to its target; it sends no
// command itself. GUI thread.
//
// Exactly one 1001 follows each 1000, whatever ends the hold: the release, what widgets/hold_watch.h names, a
// cancelled touch, the button's end. The operator's own release reports nothing more then.
class QMyCmdBtn : public QPushButton {
    Q_OBJECT

public:
    explicit QMyCmdBtn(QWidget* parent = nullptr);
    explicit QMyCmdBtn(const QString& text, QWidget* parent = nullptr);
    ~QMyCmdBtn() override;

    // cmd_id is free for the owner. target receives the events, null means the main window; it is not owned
    // and may die first.
    void setCommand(int cmd_id, QObject* target);
    int commandId() const { return cmd_id; }

    // Between 1000 and 1001.
    bool isHeld() const { return m_held; }
    // Sends the release now, if a press is out; for whoever takes the hold away.
    void endHold();

protected:
    bool event(QEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void keyReleaseEvent(QKeyEvent* e) override;

private:
    void press(Qt::MouseButton button);
    void release();
    void report(int type);
    bool touchBegin(QEvent* e);
    void mousePress(QEvent* e);
    void mouseRelease(QEvent* e);

    int cmd_id = 0;
    QPointer<QObject> target;
    bool touching = false;  // the press came from touch; the mouse events synthesised from it are ignored
    bool m_held = false;
    QPointer<QObject> m_receiver;  // got the 1000 and gets the 1001
    HoldWatch m_watch{*this, [this] { endHold(); }};
};
