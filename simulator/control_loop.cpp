#include "simulator/control_loop.h"

#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <csignal>

#include "simulator/pod/calendar.h"
#include "simulator/pod/text.h"
#include "simulator/stream/clock.h"
#include "simulator/upgrade_line.h"
#include "simulator/wire/answers.h"
#include "simulator/wire/encoder_web.h"
#include "simulator/wire/report.h"

namespace podsim {
namespace {

constexpr std::int64_t kMs = 1'000'000;
constexpr std::int64_t kStep_ns = 10 * kMs;
constexpr std::int64_t kPartialPatience_ns = 100 * kMs;
constexpr std::size_t kConsoleLineLimit = 4096;

}  // namespace

ControlLoop::ControlLoop(const Options& options, Pod& pod, EventLog& log,
                         std::function<void(const FaultSettings&)> on_video_faults)
    : m_options(options),
      m_pod(pod),
      m_log(log),
      m_commandLog(log),
      m_onVideoFaults(std::move(on_video_faults)),
      m_telemetryFaults(options.telemetry_faults),
      m_videoFaults(options.video_faults),
      m_injector(options.seed),
      m_profile(options.profile) {
    for (const UpgradeFault& fault : options.upgrade_faults) {
        m_pod.addUpgradeFault(fault);
    }
}

ControlLoop::~ControlLoop() {
    if (m_navSocket >= 0) {
        close(m_navSocket);
    }
}

bool ControlLoop::addLine(std::unique_ptr<Transport> transport) {
    if (!transport) {
        return false;
    }
    auto line = std::make_unique<Line>();
    line->transport = std::move(transport);
    m_lines.push_back(std::move(line));
    return true;
}

bool ControlLoop::open(std::string& error) {
    const Options& o = m_options;
    if (o.udp_port != kNoPort && !addLine(makeUdpTransport(o.bind_address, o.udp_port, o.peer, error,
                                                           portOfThisMachine(kStationPort)))) {
        return false;
    }
    if (o.tcp_port != kNoPort && !addLine(makeTcpTransport(o.bind_address, o.tcp_port, error))) {
        return false;
    }
    if (o.pty && !addLine(makePtyTransport(o.pty_link, error))) {
        return false;
    }
    if (o.ins_pty) {
        m_ins = makePtyTransport(o.ins_link, error);
        if (!m_ins) {
            return false;
        }
    }
    if (o.web_port != kNoPort) {
        m_web = WebServer::open(
            o.bind_address, o.web_port,
            [this](const std::string& path, const std::string& query) { return webPage(path, query); },
            error);
        if (!m_web) {
            return false;
        }
    }
    if (!o.nav_to.empty()) {
        m_navSocket = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (m_navSocket < 0 || !parseEndpoint(o.nav_to, m_navTo)) {
            error = "--nav-udp: cannot send to '" + o.nav_to + "'";
            return false;
        }
    }
    return true;
}

std::string ControlLoop::addresses() const {
    std::string text;
    for (const auto& line : m_lines) {
        text += std::string(" ") + line->transport->kind() + "=" + line->transport->address();
    }
    if (m_ins) {
        text += " ins=" + m_ins->address();
    }
    if (m_web) {
        text += " web=" + m_web->address();
    }
    return text;
}

void ControlLoop::run(int signal_fd, int console_fd) {
    m_consoleFd = console_fd;
    const std::int64_t start = monotonicNs();
    m_steppedNs = m_nextReportNs = m_nextFeedNs = m_nextMotionNs = start;
    faultsChanged();
    while (!m_stopping) {
        pollOnce(signal_fd);
        const std::int64_t now = monotonicNs();
        giveUpStale(now);
        advancePod(now);
        sendTelemetry(now);
        sendFeeds(now);
        logMotion(now);
        if (m_options.duration_s > 0 && static_cast<double>(now - start) >= m_options.duration_s * 1e9) {
            m_stopping = true;
        }
    }
    m_commandLog.finish();
}

void ControlLoop::closeLines() {
    m_lines.clear();
    m_ins.reset();
    m_web.reset();
}

int ControlLoop::pollTimeoutMs(std::int64_t now) const {
    std::int64_t next = m_steppedNs + kStep_ns;
    if (m_options.telemetry_hz > 0) {
        next = std::min(next, m_nextReportNs);
    }
    if (const auto due = m_injector.nextDue()) {
        next = std::min(next, *due);
    }
    return static_cast<int>(std::clamp<std::int64_t>((next - now + kMs - 1) / kMs, 0, 100));
}

void ControlLoop::pollOnce(int signal_fd) {
    std::vector<pollfd> fds;
    fds.push_back({signal_fd, POLLIN, 0});
    for (const auto& line : m_lines) {
        line->transport->appendPollFds(fds);
    }
    if (m_web) {
        m_web->appendPollFds(fds);
    }
    // Last, so that an answer knows the commands that came before the question.
    if (m_consoleFd >= 0) {
        fds.push_back({m_consoleFd, POLLIN, 0});
    }
    if (poll(fds.data(), fds.size(), pollTimeoutMs(monotonicNs())) <= 0) {
        return;
    }
    for (const pollfd& fd : fds) {
        if (fd.revents == 0) {
            continue;
        }
        if (fd.fd == signal_fd) {
            onSignal(signal_fd);
        } else if (fd.fd == m_consoleFd) {
            onConsole();
        } else {
            for (auto& line : m_lines) {
                line->transport->onReady(fd, [&](const std::uint8_t* data, std::size_t n) {
                    line->heard_ns = monotonicNs();
                    line->parser.feed(data, n, [&](const wire::Command& c) { onCommand(c, *line); });
                });
            }
            if (m_web) {
                m_web->onReady(fd);
            }
        }
    }
}

void ControlLoop::onSignal(int signal_fd) {
    signalfd_siginfo info{};
    if (read(signal_fd, &info, sizeof info) != sizeof info) {
        return;
    }
    FaultSwitch fault;
    fault.name = "silence";
    if (info.ssi_signo == SIGUSR1) {
        fault.value = m_telemetryFaults.silence ? 0 : 1;
        setFault(fault);
    } else if (info.ssi_signo == SIGUSR2) {
        fault.stream = FaultSwitch::Stream::kVideo;
        fault.value = m_videoFaults.silence ? 0 : 1;
        setFault(fault);
    } else {
        m_stopping = true;
    }
}

void ControlLoop::onConsole() {
    char buffer[1024];
    const ssize_t n = read(m_consoleFd, buffer, sizeof buffer);
    if (n <= 0) {
        // The end of the input, or a terminal that belongs to another job, is no reason to stop.
        m_consoleFd = -1;
        return;
    }
    m_consoleText.append(buffer, static_cast<std::size_t>(n));
    for (std::size_t end; (end = m_consoleText.find('\n')) != std::string::npos;) {
        std::string line = m_consoleText.substr(0, end);
        m_consoleText.erase(0, end + 1);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        onConsoleLine(line);
    }
    if (m_consoleText.size() > kConsoleLineLimit) {
        m_consoleText.clear();
    }
}

void ControlLoop::onConsoleLine(const std::string& line) {
    if (line.empty()) {
        return;
    }
    if (line == "quit") {
        m_stopping = true;
    } else if (line == "help") {
        std::printf(
            "fault STREAM.NAME=VALUE | faults | faults clear | restart N [CODEC] [WxH] | disconnect | status "
            "| "
            "motion | upgrade | upgrade-fault KIND@FRAME | quit\n");
    } else if (line == "disconnect") {
        for (auto& each : m_lines) {
            each->transport->hangUp();
        }
        m_log.event("disconnect", "");
    } else if (line == "status") {
        std::printf("reports=%" PRIu64 " %s\n", m_reports, m_statusText ? m_statusText().c_str() : "");
    } else if (line == "motion") {
        std::printf("%s\n", motionText().c_str());
    } else if (line.compare(0, 7, "upgrade") == 0) {
        std::printf("%s", upgradeConsole(line, m_pod).c_str());
    } else if (line.compare(0, 5, "fault") == 0) {
        onFaultLine(line);
    } else if (line.compare(0, 8, "restart ") == 0) {
        onRestartLine(line);
    } else {
        std::printf("no command '%s'; help tells them\n", line.c_str());
    }
    std::fflush(stdout);
}

void ControlLoop::onFaultLine(const std::string& line) {
    if (line == "faults" || line == "faults clear") {
        if (line == "faults clear") {
            m_telemetryFaults = {};
            m_videoFaults = {};
            faultsChanged();
        }
        std::printf("telemetry: %s; video: %s\n", describeFaults(m_telemetryFaults).c_str(),
                    describeFaults(m_videoFaults).c_str());
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
}

void ControlLoop::onRestartLine(const std::string& line) {
    int channel = 0;
    RestartSettings settings;
    if (!parseRestart(line.substr(8), channel, settings)) {
        std::printf("restart: a channel, then perhaps h264 or h265 and a size from 512x288 to 1920x1088\n");
    } else if (m_restart) {
        m_restart(channel, settings);
    }
}

std::string ControlLoop::motionText() const {
    const Snapshot s = m_pod.snapshot();
    return formatText("motion az=%.3f el=%.3f zoom0=%d focus0=%d zoom1=%d focus1=%d commands=%" PRIu64
                      " movements=%" PRIu64 " frames=%" PRIu64 " standing=%d",
                      s.hand_az_dps, s.hand_el_dps, s.vl_zoom_direction, s.vl_focus_direction,
                      s.ir_zoom_direction, s.ir_focus_direction, s.commands, s.movements, s.frames,
                      s.standing_code);
}

void ControlLoop::setFault(const FaultSwitch& fault) {
    applyFault(fault, fault.stream == FaultSwitch::Stream::kTelemetry ? m_telemetryFaults : m_videoFaults);
    faultsChanged();
}

void ControlLoop::faultsChanged() {
    m_injector.set(m_telemetryFaults);
    m_onVideoFaults(m_videoFaults);
    m_log.event("faults", "telemetry=\"" + describeFaults(m_telemetryFaults) + "\" video=\"" +
                              describeFaults(m_videoFaults) + "\"");
}

void ControlLoop::onCommand(const wire::Command& c, const Line& line) {
    m_commandLog.onCommand(c, line.transport->kind());
    if (c.has_nav) {
        const NavInput nav = navInputOf(c.nav);
        if (!m_echo.isEcho(nav, monotonicNs())) {
            m_pod.setNav(nav);
        }
    }
    if (c.code == wire::kNavBlockCode) {
        return;
    }
    const bool fixed = c.frame == wire::Command::Frame::kFixed;
    m_pod.apply(c.code, c.payload.data(), c.payload.size(), fixed ? c.rate_code : -1, c.rate_azimuth,
                c.rate_pitch);
    sendUpgradeAnswers();
    answer(c);
}

void ControlLoop::answer(const wire::Command& c) {
    std::vector<wire::Bytes> frames;
    if (c.code == wire::kAskCode) {
        frames = answersTo(c.payload, m_pod.snapshot());
    } else if (c.code == wire::kRelayCode) {
        frames = moduleAnswers(c.payload, m_pod.snapshot());
    }
    for (const wire::Bytes& frame : frames) {
        m_injector.push(frame, monotonicNs());
    }
}

std::string ControlLoop::webPage(const std::string& path, const std::string& query) {
    constexpr std::uint16_t kEncoderCode = 98;
    if (path != "/") {
        return {};
    }
    const std::vector<wire::Bytes> commands = encoderCommandsOf(query);
    m_log.event("web", formatText("commands=%d", static_cast<int>(commands.size())));
    for (const wire::Bytes& command : commands) {
        m_pod.apply(kEncoderCode, command.data(), command.size(), -1, 0, 0);
    }
    return encoderPage(m_pod.snapshot());
}

void ControlLoop::sendUpgradeAnswers() {
    constexpr int kFrameTaken = 6, kSucceeded = 11;
    for (const Upgrade::Answer& answer : m_pod.takeUpgradeAnswers()) {
        if (answer.state == kSucceeded && !m_options.flash_folder.empty() &&
            !writeFlash(m_options.flash_folder, answer.module, m_pod.flashImage(answer.module))) {
            m_log.event("flash-error", m_options.flash_folder);
        }
        if (answer.state != kFrameTaken) {
            m_log.event("upgrade", formatText("module=%d state=%d", answer.module, answer.state));
        }
        m_injector.push(upgradeFrame(answer), monotonicNs());
    }
}

void ControlLoop::giveUpStale(std::int64_t now) {
    for (auto& line : m_lines) {
        if (line->parser.held() == 0 || now - line->heard_ns < kPartialPatience_ns) {
            continue;
        }
        line->parser.giveUpPartial([&](const wire::Command& c) { onCommand(c, *line); });
    }
}

void ControlLoop::advancePod(std::int64_t now) {
    if (now - m_steppedNs < kStep_ns) {
        return;
    }
    const double passed_s = std::min(1.0, static_cast<double>(now - m_steppedNs) * 1e-9);
    m_profile.step(m_pod, passed_s);
    m_pod.step(passed_s);
    m_steppedNs = now;
    sendUpgradeAnswers();
}

void ControlLoop::sendTelemetry(std::int64_t now) {
    if (m_options.telemetry_hz > 0 && now >= m_nextReportNs) {
        m_nextReportNs = nextBeat(m_nextReportNs, 1'000'000'000LL / m_options.telemetry_hz, now);
        const wire::Report report = reportOf(m_pod.snapshot());
        m_injector.push(
            m_options.variable_reports ? wire::buildVariableReport(report) : wire::buildFixedReport(report),
            now);
        ++m_reports;
    }
    while (auto packet = m_injector.pop(now)) {
        for (auto& line : m_lines) {
            line->transport->send(packet->data(), packet->size());
        }
    }
}

void ControlLoop::sendFeeds(std::int64_t now) {
    if ((!m_ins && m_navSocket < 0) || now < m_nextFeedNs) {
        return;
    }
    m_nextFeedNs = nextBeat(m_nextFeedNs, 1'000'000'000LL / m_options.feed_hz, now);
    const Snapshot state = m_pod.snapshot();
    if (m_ins) {
        const std::int64_t utc_us = utcMicroseconds();
        const auto frame = wire::buildInsFrame(insStateOf(state, utc_us));
        m_ins->send(frame.data(), frame.size());
        NavInput said = navInputOf(navBlockOf(state));
        const CalendarTime time = toCalendar(utc_us / 1000);
        said.minute = time.minute;
        said.second = time.second;
        said.hundredths = time.millisecond / 10;
        m_echo.told(said, state.nav_external, now);
    }
    if (m_navSocket >= 0) {
        const wire::NavBlock block = navBlockOf(state);
        m_echo.told(navInputOf(block), state.nav_external, now);
        const auto frame = wire::buildInterfaceFrame(block);
        sendto(m_navSocket, frame.data(), frame.size(), MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&m_navTo), sizeof m_navTo);
    }
}

}  // namespace podsim
