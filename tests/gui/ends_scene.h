// The stage of the table of ends: the real window, linked over loopback to a latched pod, and a hand.
#pragma once

#include <QPointer>
#include <QUdpSocket>

#include "hand.h"
#include "korvath_fixture.h"
#include "pod_judge.h"

class EndsScene : public KorvathTest {
public:
    // Five times what a right station needs at most: two periods, a tenth of a second, the pod's slowing down
    // and the half second after which a gyro rate ends by itself.
    static constexpr int kStopDeadlineMs = 2500;
    static constexpr int kPeriodMs = 40;
    static constexpr int kAppearMs = 10000;

    void setMode(bool single, int period_ms = kPeriodMs);
    // How long a stop may take, in place of kStopDeadlineMs.
    void setPatience(int stop_ms) { m_stop_ms = stop_ms; }
    // More options of podsim, before it starts.
    void usePod(const QStringList& options) { m_pod_options = options; }
    bool single() const { return m_single; }
    int period() const { return m_period_ms; }

    // Window and pod stand, the link is open, the control pages are shown and both pictures. Builds anew what
    // is missing. False: problem() tells why.
    bool raise();
    // The first of it alone.
    bool startPod();
    // Shown, active and in its place; false after the deadline.
    bool showWindow();
    // How it stands, for a message.
    QString windowState() const;
    void closeWindow();
    // After a row that went wrong: nothing of it is left.
    void startOver();
    QString problem() const { return m_problem; }

    // The link goes over that serial port from now on, at 9600 baud, not over UDP.
    void useSerial(const QString& port) { m_serial_port = port; }

    bool linkOpen() const { return in().m_linkState() == (m_serial_port.isEmpty() ? kLinkUdp : kLinkSerial); }
    void toggleLink();
    void chooseMode(bool single);

    // A control of the two pages, brought into sight; null when there is none.
    QWidget* control(const char* name);
    static QPoint centre(const QWidget* widget);
    // A place of a picture that no pane covers.
    QPoint spot(int picture_number) const;
    QWidget* picture(int number) const;

    using KorvathTest::in;
    using KorvathTest::stop;
    using KorvathTest::ui;
    using KorvathTest::waitFor;
    using KorvathTest::window;

    // Goes on from `from` until the pod moves: a few pixels only arm a drag, and moves may come in bundles.
    void dragUntilMoving(const std::function<void(const QPoint&)>& move_to, const QPoint& from);

    // Still and with an idle frame (periodic mode, open link) within the deadline.
    Motion waitStill(int deadline_ms);
    Motion waitStill() { return waitStill(m_stop_ms); }
    // Within the deadline it stands as it should, and goes on so for longer than two periods. The last
    // answer.
    bool comesToRest(Motion& last, int deadline_ms);
    bool comesToRest(Motion& last) { return comesToRest(last, m_stop_ms); }
    bool atRest(const Motion& m) const;

    Hand hand;
    PodJudge pod;

protected:
    void TearDown() override;
    void TestBody() override {}

private:
    bool openWindow();
    bool connectLink();
    bool picturesSettle();
    bool fail(const QString& why);

    bool m_single = true;
    int m_period_ms = kPeriodMs;
    int m_stop_ms = kStopDeadlineMs;
    QStringList m_pod_options;
    int m_station_port = 0;
    QPair<QPoint, QPoint> m_spots;  // of the pictures, as last seen
    QString m_serial_port, m_problem;
};
