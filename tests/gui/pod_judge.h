// podsim as a process, asked what moves: the judge of what the station does to a pod.
#pragma once

#include <QProcess>
#include <functional>

// The answer to "motion". Angles in degrees a second.
struct Motion {
    bool told = false;  // false: no answer
    double az = 0, el = 0;
    int zoom[2] = {0, 0}, focus[2] = {0, 0};
    quint64 commands = 0, movements = 0, frames = 0;
    int standing = 0;
    QString text;

    bool still() const {
        return told && az == 0 && el == 0 && zoom[0] == 0 && zoom[1] == 0 && focus[0] == 0 && focus[1] == 0;
    }
};

// Waiting runs the event loop of the calling thread, so the station goes on meanwhile. GUI thread.
class PodJudge {
public:
    ~PodJudge();

    // A latched pod without video that answers to 127.0.0.1:`peer_port`. False with a reason in problem().
    bool start(int peer_port, const QStringList& more = {});
    void stop();
    int port() const { return m_port; }
    // What the "podsim ready" line tells for a name, "udp" or "pty".
    QString address(const QString& name) const;
    QString problem() const { return m_problem; }

    Motion motion();
    // Asks until the condition holds; the last answer either way.
    Motion until(const std::function<bool(const Motion&)>& condition, int deadline_ms);
    // Sends every stop there is, past the station, and an idle periodic frame.
    void brake() const;

private:
    bool readLine(QByteArray& line, int deadline_ms);

    QProcess m_process;
    QByteArray m_pending;
    QString m_ready, m_problem;
    int m_port = 0;
};
