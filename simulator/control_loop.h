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
#include "simulator/stream/event_log.h"
#include "simulator/stream/transport.h"
#include "simulator/wire/fault_injector.h"
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
    void setStatusText(std::function<std::string()> text) { status_text_ = std::move(text); }

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
    void setFault(const FaultSwitch& fault);
    void faultsChanged();
    void onCommand(const wire::Command& command, const Line& line);
    void giveUpStale(std::int64_t now);
    void advancePod(std::int64_t now);
    void sendTelemetry(std::int64_t now);
    void sendFeeds(std::int64_t now);
    void logMotion(std::int64_t now);
    void logTracker(const Snapshot& state, std::int64_t now);
    void logObjects(const Snapshot& s);

    const Options& options_;
    Pod& pod_;
    EventLog& log_;
    CommandLog command_log_;
    std::function<void(const FaultSettings&)> on_video_faults_;
    std::function<std::string()> status_text_;
    std::vector<std::unique_ptr<Line>> lines_;
    std::unique_ptr<Transport> ins_;
    int nav_socket_ = -1;
    sockaddr_in nav_to_{};
    FaultSettings telemetry_faults_;
    FaultSettings video_faults_;
    FaultInjector injector_;
    int console_fd_ = -1;
    std::string console_text_;
    bool stopping_ = false;

    std::int64_t stepped_ns_ = 0;
    std::int64_t next_report_ns_ = 0;
    std::int64_t next_feed_ns_ = 0;
    std::int64_t next_motion_ns_ = 0;
    bool was_moving_ = false;
    int last_track_state_ = -1;
    int last_locked_ = -1;
    std::int64_t track_logged_ns_ = 0;
    std::uint64_t reports_ = 0;
};

}  // namespace podsim
