#include "simulator/control_loop.h"

#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <csignal>

#include "simulator/pod/text.h"
#include "simulator/pod/views.h"
#include "simulator/stream/clock.h"
#include "simulator/wire/report.h"

namespace podsim {
namespace {

constexpr std::int64_t kMs = 1'000'000;
constexpr std::int64_t kStep_ns = 10 * kMs;
constexpr std::int64_t kMotionLog_ns = 100 * kMs;
constexpr std::int64_t kPartialPatience_ns = 100 * kMs;
constexpr std::size_t kConsoleLineLimit = 4096;

// The next beat after `now`; beats that were missed are left out.
std::int64_t nextBeat(std::int64_t last, std::int64_t period, std::int64_t now) {
    const std::int64_t next = last + period;
    return next > now - period ? next : now;
}

}  // namespace

ControlLoop::ControlLoop(const Options& options, Pod& pod, EventLog& log,
                         std::function<void(const FaultSettings&)> on_video_faults)
    : options_(options),
      pod_(pod),
      log_(log),
      command_log_(log),
      on_video_faults_(std::move(on_video_faults)),
      telemetry_faults_(options.telemetry_faults),
      video_faults_(options.video_faults),
      injector_(options.seed) {}

ControlLoop::~ControlLoop() {
    if (nav_socket_ >= 0) close(nav_socket_);
}

bool ControlLoop::addLine(std::unique_ptr<Transport> transport) {
    if (!transport) return false;
    auto line = std::make_unique<Line>();
    line->transport = std::move(transport);
    lines_.push_back(std::move(line));
    return true;
}

bool ControlLoop::open(std::string& error) {
    const Options& o = options_;
    if (o.udp_port != kNoPort && !addLine(makeUdpTransport(o.bind_address, o.udp_port, o.peer, error)))
        return false;
    if (o.tcp_port != kNoPort && !addLine(makeTcpTransport(o.bind_address, o.tcp_port, error))) return false;
    if (o.pty && !addLine(makePtyTransport(o.pty_link, error))) return false;
    if (o.ins_pty) {
        ins_ = makePtyTransport(o.ins_link, error);
        if (!ins_) return false;
    }
    if (!o.nav_to.empty()) {
        nav_socket_ = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (nav_socket_ < 0 || !parseEndpoint(o.nav_to, nav_to_)) {
            error = "--nav-udp: cannot send to '" + o.nav_to + "'";
            return false;
        }
    }
    return true;
}

std::string ControlLoop::addresses() const {
    std::string text;
    for (const auto& line : lines_) {
        text += std::string(" ") + line->transport->kind() + "=" + line->transport->address();
    }
    if (ins_) text += " ins=" + ins_->address();
    return text;
}

void ControlLoop::run(int signal_fd, int console_fd) {
    console_fd_ = console_fd;
    const std::int64_t start = monotonicNs();
    stepped_ns_ = next_report_ns_ = next_feed_ns_ = next_motion_ns_ = start;
    faultsChanged();
    while (!stopping_) {
        pollOnce(signal_fd);
        const std::int64_t now = monotonicNs();
        giveUpStale(now);
        advancePod(now);
        sendTelemetry(now);
        sendFeeds(now);
        logMotion(now);
        if (options_.duration_s > 0 && static_cast<double>(now - start) >= options_.duration_s * 1e9)
            stopping_ = true;
    }
    command_log_.finish();
}

void ControlLoop::closeLines() {
    lines_.clear();
    ins_.reset();
}

int ControlLoop::pollTimeoutMs(std::int64_t now) const {
    std::int64_t next = stepped_ns_ + kStep_ns;
    if (options_.telemetry_hz > 0) next = std::min(next, next_report_ns_);
    if (const auto due = injector_.nextDue()) next = std::min(next, *due);
    return static_cast<int>(std::clamp<std::int64_t>((next - now + kMs - 1) / kMs, 0, 100));
}

void ControlLoop::pollOnce(int signal_fd) {
    std::vector<pollfd> fds;
    fds.push_back({signal_fd, POLLIN, 0});
    if (console_fd_ >= 0) fds.push_back({console_fd_, POLLIN, 0});
    for (const auto& line : lines_) {
        line->transport->appendPollFds(fds);
    }
    if (poll(fds.data(), fds.size(), pollTimeoutMs(monotonicNs())) <= 0) return;
    for (const pollfd& fd : fds) {
        if (fd.revents == 0) continue;
        if (fd.fd == signal_fd) {
            onSignal(signal_fd);
        } else if (fd.fd == console_fd_) {
            onConsole();
        } else {
            for (auto& line : lines_) {
                line->transport->onReady(fd, [&](const std::uint8_t* data, std::size_t n) {
                    line->heard_ns = monotonicNs();
                    line->parser.feed(data, n, [&](const wire::Command& c) { onCommand(c, *line); });
                });
            }
        }
    }
}

void ControlLoop::onSignal(int signal_fd) {
    signalfd_siginfo info{};
    if (read(signal_fd, &info, sizeof info) != sizeof info) return;
    FaultSwitch fault;
    fault.name = "silence";
    if (info.ssi_signo == SIGUSR1) {
        fault.value = telemetry_faults_.silence ? 0 : 1;
        setFault(fault);
    } else if (info.ssi_signo == SIGUSR2) {
        fault.stream = FaultSwitch::Stream::kVideo;
        fault.value = video_faults_.silence ? 0 : 1;
        setFault(fault);
    } else {
        stopping_ = true;
    }
}

void ControlLoop::onConsole() {
    char buffer[1024];
    const ssize_t n = read(console_fd_, buffer, sizeof buffer);
    if (n <= 0) {
        // The end of the input, or a terminal that belongs to another job, is no reason to stop.
        console_fd_ = -1;
        return;
    }
    console_text_.append(buffer, static_cast<std::size_t>(n));
    for (std::size_t end; (end = console_text_.find('\n')) != std::string::npos;) {
        std::string line = console_text_.substr(0, end);
        console_text_.erase(0, end + 1);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        onConsoleLine(line);
    }
    if (console_text_.size() > kConsoleLineLimit) console_text_.clear();
}

void ControlLoop::onConsoleLine(const std::string& line) {
    if (line.empty()) return;
    if (line == "quit") {
        stopping_ = true;
    } else if (line == "help") {
        std::printf("fault STREAM.NAME=VALUE | faults | faults clear | disconnect | status | quit\n");
    } else if (line == "disconnect") {
        for (auto& each : lines_) {
            each->transport->hangUp();
        }
        log_.event("disconnect", "");
    } else if (line == "status") {
        std::printf("reports=%" PRIu64 " %s\n", reports_, status_text_ ? status_text_().c_str() : "");
    } else if (line == "faults" || line == "faults clear") {
        if (line == "faults clear") {
            telemetry_faults_ = {};
            video_faults_ = {};
            faultsChanged();
        }
        std::printf("telemetry: %s; video: %s\n", describeFaults(telemetry_faults_).c_str(),
                    describeFaults(video_faults_).c_str());
    } else if (line.compare(0, 6, "fault ") == 0) {
        std::string error;
        if (const auto fault = parseFault(line.substr(6), error)) {
            setFault(*fault);
        } else {
            std::printf("fault: %s\n", error.c_str());
        }
    } else {
        std::printf("no command '%s'; help tells them\n", line.c_str());
    }
    std::fflush(stdout);
}

void ControlLoop::setFault(const FaultSwitch& fault) {
    applyFault(fault, fault.stream == FaultSwitch::Stream::kTelemetry ? telemetry_faults_ : video_faults_);
    faultsChanged();
}

void ControlLoop::faultsChanged() {
    injector_.set(telemetry_faults_);
    on_video_faults_(video_faults_);
    log_.event("faults", "telemetry=\"" + describeFaults(telemetry_faults_) + "\" video=\"" +
                             describeFaults(video_faults_) + "\"");
}

void ControlLoop::onCommand(const wire::Command& c, const Line& line) {
    command_log_.onCommand(c, line.transport->kind());
    if (c.has_nav) pod_.setNav(navInputOf(c.nav));
    if (c.code == wire::kNavBlockCode) return;
    const bool fixed = c.frame == wire::Command::Frame::kFixed;
    pod_.apply(c.code, c.payload.data(), c.payload.size(), fixed ? c.rate_code : -1, c.rate_azimuth,
               c.rate_pitch);
}

void ControlLoop::giveUpStale(std::int64_t now) {
    for (auto& line : lines_) {
        if (line->parser.held() == 0 || now - line->heard_ns < kPartialPatience_ns) continue;
        line->parser.giveUpPartial([&](const wire::Command& c) { onCommand(c, *line); });
    }
}

void ControlLoop::advancePod(std::int64_t now) {
    if (now - stepped_ns_ < kStep_ns) return;
    pod_.step(std::min(1.0, static_cast<double>(now - stepped_ns_) * 1e-9));
    stepped_ns_ = now;
}

void ControlLoop::sendTelemetry(std::int64_t now) {
    if (options_.telemetry_hz > 0 && now >= next_report_ns_) {
        next_report_ns_ = nextBeat(next_report_ns_, 1'000'000'000LL / options_.telemetry_hz, now);
        const wire::Report report = reportOf(pod_.snapshot());
        injector_.push(
            options_.variable_reports ? wire::buildVariableReport(report) : wire::buildFixedReport(report),
            now);
        ++reports_;
    }
    while (auto packet = injector_.pop(now)) {
        for (auto& line : lines_) {
            line->transport->send(packet->data(), packet->size());
        }
    }
}

void ControlLoop::sendFeeds(std::int64_t now) {
    if ((!ins_ && nav_socket_ < 0) || now < next_feed_ns_) return;
    next_feed_ns_ = nextBeat(next_feed_ns_, 1'000'000'000LL / options_.feed_hz, now);
    const Snapshot state = pod_.snapshot();
    if (ins_) {
        const auto frame = wire::buildInsFrame(insStateOf(state, utcMicroseconds()));
        ins_->send(frame.data(), frame.size());
    }
    if (nav_socket_ >= 0) {
        const auto frame = wire::buildInterfaceFrame(navBlockOf(state));
        sendto(nav_socket_, frame.data(), frame.size(), MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&nav_to_), sizeof nav_to_);
    }
}

void ControlLoop::logMotion(std::int64_t now) {
    if (!log_.isOpen() || now < next_motion_ns_) return;
    next_motion_ns_ = nextBeat(next_motion_ns_, kMotionLog_ns, now);
    const Snapshot s = pod_.snapshot();
    const bool moving = std::fabs(s.rate_az_dps) > 1e-3 || std::fabs(s.rate_el_dps) > 1e-3;
    if (moving || was_moving_) {
        log_.event("servo", formatText("state=%d yaw=%.3f pitch=%.3f rate_az=%.3f rate_el=%.3f moving=%d",
                                       static_cast<int>(s.servo_state), s.frame_yaw_deg, s.frame_pitch_deg,
                                       s.rate_az_dps, s.rate_el_dps, moving ? 1 : 0));
    }
    was_moving_ = moving;
    logTracker(s, now);
    logObjects(s);
}

// What can be clicked: id=x,y,width,height of each object in sight, pixels of the main picture from its top
// left.
void ControlLoop::logObjects(const Snapshot& s) {
    std::string text;
    for (const VisibleObject& object : visibleObjects(s, s.frame_width, s.frame_height, kMainChannel)) {
        if (object.occluded) continue;
        text += formatText("%s%d=%.1f,%.1f,%.1f,%.1f", text.empty() ? "" : " ", object.id, object.x_px,
                           object.y_px, object.width_px, object.height_px);
    }
    log_.event("objects", text);
}

void ControlLoop::logTracker(const Snapshot& s, std::int64_t now) {
    const int state = static_cast<int>(s.track_state);
    const bool changed = state != last_track_state_ || s.locked_object_id != last_locked_;
    if (!changed && (s.track_state == TrackState::Idle || now - track_logged_ns_ < kMotionLog_ns)) return;
    last_track_state_ = state;
    last_locked_ = s.locked_object_id;
    track_logged_ns_ = now;
    const BoxCentre box = boxCentreOf(s);
    std::string text = formatText("state=%d x=%.1f y=%.1f w=%.1f h=%.1f object=%d", state, box.x, box.y,
                                  s.target_width_px, s.target_height_px, s.locked_object_id);
    for (const VisibleObject& object : visibleObjects(s, s.frame_width, s.frame_height, kMainChannel)) {
        if (object.id != s.locked_object_id) continue;
        text +=
            formatText(" object_x=%.1f object_y=%.1f occluded=%d", object.x_px, object.y_px, object.occluded);
    }
    log_.event("track", text);
}

}  // namespace podsim
