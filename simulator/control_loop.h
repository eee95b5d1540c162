// The pod's controller: lets the pod's time pass, reads commands, sends reports and feeds, listens to the
// operator's console and to signals. One thread, one poll.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "simulator/command_log.h"
#include "simulator/options.h"
#include "simulator/pod/pod.h"
#include "simulator/pod/profile.h"
#include "simulator/stream/event_log.h"
#include "simulator/stream/transport.h"
#include "simulator/stream/web_server.h"
#include "simulator/wire/fault_injector.h"
#include "simulator/wire/nav_echo.h"
#include "simulator/wire/wire.h"

namespace podsim {

class ControlLoop {
public:
    // `on_video_faults` is called on the loop's thread whenever they change. References outlive the loop.
    ControlLoop(const Options& options, Pod& pod, EventLog& log,
                std::function<void(const FaultSettings&)> on_video_faults);
    ~ControlLoop();
    ControlLoop(const ControlLoop&) = delete;
    ControlLoop& operator=(const ControlLoop&) = delete;

    // Opens every port. False with a reason.
    bool open(std::string& error);
    // " udp=127.0.0.1:8000 pty=/dev/pts/3": what was opened, a blank before each.
    std::string addresses() const;
    // Runs until a signal of `signal_fd` (a signalfd), the end of --duration or "quit" ends it.
    // `console_fd` is read for commands until its end; -1: none.
    void run(int signal_fd, int console_fd);
    // Closes every port; links to pseudo terminals go.
    void closeLines();
    // A short line about the state, for the console.
    void setStatusText(std::function<std::string()> text) { m_statusText = std::move(text); }
    // Called on the loop's thread when the restart of a channel's stream is asked for.
    void setRestart(std::function<void(int channel, const RestartSettings&)> restart) {
        m_restart = std::move(restart);
    }

private:
    struct Line {
        std::unique_ptr<Transport> transport;
        wire::CommandParser parser;
        std::int64_t heard_ns = 0;
    };

    bool addLine(std::unique_ptr<Transport> transport);
    int pollTimeoutMs(std::int64_t now) const;
    void pollOnce(int signal_fd);
    void onSignal(int signal_fd);
    void onConsole();
    void onConsoleLine(const std::string& line);
    void onFaultLine(const std::string& line);
    void onRestartLine(const std::string& line);
    std::string motionText() const;
    void setFault(const FaultSwitch& fault);
    void faultsChanged();
    void onCommand(const wire::Command& command, const Line& line);
    void sendUpgradeAnswers();
    void answer(const wire::Command& command);
    std::string webPage(const std::string& path, const std::string& query);
    void giveUpStale(std::int64_t now);
    void advancePod(std::int64_t now);
    void sendTelemetry(std::int64_t now);
    void sendFeeds(std::int64_t now);
    void logMotion(std::int64_t now);
    void logTracker(const Snapshot& state, std::int64_t now);
    void logObjects(const Snapshot& s);

    const Options& m_options;
    Pod& m_pod;
    EventLog& m_log;
    CommandLog m_commandLog;
    std::function<void(const FaultSettings&)> m_onVideoFaults;
    std::function<std::string()> m_statusText;
    std::function<void(int, const RestartSettings&)> m_restart;
    std::vector<std::unique_ptr<Line>> m_lines;
    std::unique_ptr<Transport> m_ins;
    std::unique_ptr<WebServer> m_web;
    NavEcho m_echo;
    int m_navSocket = -1;
    sockaddr_in m_navTo{};
    FaultSettings m_telemetryFaults;
    FaultSettings m_videoFaults;
    FaultInjector m_injector;
    int m_consoleFd = -1;
    std::string m_consoleText;
    bool m_stopping = false;
    ProfileScript m_profile;

    std::int64_t m_steppedNs = 0;
    std::int64_t m_nextReportNs = 0;
    std::int64_t m_nextFeedNs = 0;
    std::int64_t m_nextMotionNs = 0;
    bool m_wasMoving = false;
    int m_lastTrackState = -1;
    int m_lastLocked = -1;
    std::int64_t m_trackLoggedNs = 0;
    std::uint64_t m_reports = 0;
};

}  // namespace podsim
