// podsim: the pod that answers when no pod is there.
#include <fcntl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "simulator/control_loop.h"
#include "simulator/options.h"
#include "simulator/pod/pod.h"
#include "simulator/pod/text.h"
#include "simulator/stream/channel.h"
#include "simulator/stream/clock.h"
#include "simulator/stream/event_log.h"
#include "simulator/stream/rtsp_server.h"

namespace podsim {
namespace {

constexpr const char* kVersion = "0.1.0";

int fail(const std::string& reason) {
    std::fprintf(stderr, "podsim: %s\n", reason.c_str());
    return 1;
}

// A program started without standard streams would get its sockets under their numbers.
void ensureStandardStreams() {
    for (int fd = 0; fd < 3; ++fd) {
        if (fcntl(fd, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0) {
            return;
        }
    }
}

// Signals arrive through a descriptor; they must be blocked before any thread exists.
int openSignals() {
    signal(SIGPIPE, SIG_IGN);
    signal(SIGTTIN, SIG_IGN);  // a background job's read then fails, it does not stop the pod
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2}) {
        sigaddset(&set, number);
    }
    sigprocmask(SIG_BLOCK, &set, nullptr);
    return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

PodConfig podConfigOf(const Options& o, const RecordedRoute& route) {
    PodConfig config;
    config.seed = static_cast<std::uint32_t>(o.seed);
    config.frame_width = o.channels[0].encoder.width;
    config.frame_height = o.channels[0].encoder.height;
    if (o.has_position) {
        config.latitude_deg = o.latitude_deg;
        config.longitude_deg = o.longitude_deg;
    }
    config.start_utc_ms = utcMicroseconds() / 1000;
    config.latched = o.latched;
    config.places_held = o.places_held;
    config.plan = o.flight;
    config.route = route;
    return config;
}

// The second channel matters only where RTSP or an output of its own shows it.
bool channelUsed(const Options& o, int index) {
    const ChannelOptions& c = o.channels[index];
    return o.rtsp_port != kNoPort || !c.ts_to.empty() || !c.raw_to.empty() || !c.blocks_to.empty();
}

std::string videoAddresses(const Options& o, const RtspServer* rtsp) {
    std::string text;
    for (int i = 0; i < kChannels; ++i) {
        const std::string n = std::to_string(i);
        if (rtsp) {
            text += " rtsp" + n + "=rtsp://" + o.rtsp_address + ":" + std::to_string(rtsp->port()) +
                    "/live/track" + n;
        }
        if (!o.channels[i].ts_to.empty()) {
            text += " ts" + n + "=" + o.channels[i].ts_to;
        }
        if (!o.channels[i].raw_to.empty()) {
            text += " raw" + n + "=" + o.channels[i].raw_to;
        }
        if (!o.channels[i].blocks_to.empty()) {
            text += " blocks" + n + "=" + o.channels[i].blocks_to;
        }
    }
    return text;
}

// What a channel's clip is decides what the channel offers.
bool adoptClips(Options& o, std::string& error) {
    for (ChannelOptions& channel : o.channels) {
        if (channel.clip.empty()) {
            continue;
        }
        const auto clip = ClipSource::open(channel.clip, error);
        if (!clip) {
            return false;
        }
        clip->adopt(channel.encoder);
    }
    return true;
}

bool readRoute(const std::string& path, RecordedRoute& route, std::string& error) {
    if (path.empty()) {
        return true;
    }
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!file || !(text << file.rdbuf())) {
        error = path + ": cannot be read, or is empty";
        return false;
    }
    if (!route.parse(text.str(), error)) {
        error = path + ": " + error;
        return false;
    }
    return true;
}

class Program {
public:
    Program(const Options& options, const RecordedRoute& route)
        : m_options(options),
          m_pod(podConfigOf(options, route)),
          m_loop(options, m_pod, m_log, [this](const FaultSettings& f) { setVideoFaults(f); }) {}

    int run(int signal_fd) {
        if (!m_options.event_log.empty() && !m_log.open(m_options.event_log)) {
            return fail(m_options.event_log + ": " + std::strerror(errno));
        }
        m_log.event("start", std::string("version=") + kVersion + " pid=" + std::to_string(getpid()));
        m_pod.setLog([this](const std::string& name, const std::string& detail) {
            m_log.event("pod", "name=" + name + " detail=\"" + detail + "\"");
        });
        std::string error;
        if (!m_loop.open(error) || !startVideo(error)) {
            stopVideo();
            return fail(error);
        }
        m_loop.setStatusText([this] { return status(); });
        m_loop.setRestart(
            [this](int channel, const RestartSettings& settings) { m_channels[channel]->restart(settings); });
        const std::string addresses = m_loop.addresses() + videoAddresses(m_options, m_rtsp.get());
        std::printf("podsim ready%s\n", addresses.c_str());
        std::fflush(stdout);
        m_log.event("ready", addresses.empty() ? addresses : addresses.substr(1));
        m_loop.run(signal_fd, STDIN_FILENO);
        m_loop.closeLines();
        m_log.event("stop", "");
        boundTheEnd();
        const bool served = m_rtsp != nullptr;
        stopVideo();
        // Threads of the media framework may still be inside a request that knows our objects.
        if (served) {
            _exit(0);
        }
        return 0;
    }

private:
    bool startVideo(std::string& error) {
        for (int i = 0; i < kChannels; ++i) {
            m_channels[i] = std::make_unique<Channel>(i, m_options.channels[i],
                                                      m_options.seed + 100u * (i + 1u), m_pod, m_log);
        }
        if (m_options.rtsp_port != kNoPort) {
            std::vector<RtspServer::Mount> mounts;
            for (int i = 0; i < kChannels; ++i) {
                const ChannelOptions& c = m_options.channels[i];
                mounts.push_back({"/live/track" + std::to_string(i), c.encoder.codec, c.sound});
            }
            m_rtsp =
                std::make_unique<RtspServer>(std::move(mounts), [this](int i) { m_channels[i]->wake(); });
            if (!m_rtsp->start(m_options.rtsp_address, m_options.rtsp_port, error)) {
                m_rtsp.reset();
                return false;
            }
        }
        for (int i = 0; i < kChannels; ++i) {
            if (channelUsed(m_options, i) && !m_channels[i]->start(m_rtsp.get(), error)) {
                error = "channel " + std::to_string(i) + ": " + error;
                return false;
            }
        }
        return true;
    }

    // The media framework may take seconds to let go of viewers that have stopped reading. By now everything
    // else is closed and written, so the process need not wait for it.
    static void boundTheEnd() {
        std::thread([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(600));
            _exit(0);
        }).detach();
    }

    // Channels first, since they push into the server; the server may still wake channels that have stopped.
    void stopVideo() {
        for (auto& channel : m_channels) {
            if (channel) {
                channel->stop();
            }
        }
        if (m_rtsp) {
            m_rtsp->stop();
        }
    }

    void setVideoFaults(const FaultSettings& faults) {
        for (auto& channel : m_channels) {
            if (channel) {
                channel->setFaults(faults);
            }
        }
    }

    std::string status() const {
        const Snapshot s = m_pod.snapshot();
        std::string text =
            formatText("yaw=%.2f pitch=%.2f servo=%d track=%d", s.frame_yaw_deg, s.frame_pitch_deg,
                       static_cast<int>(s.servo_state), static_cast<int>(s.track_state));
        if (s.target_valid) {
            text += formatText(" look=%.7f,%.7f", s.target_latitude_deg, s.target_longitude_deg);
        }
        for (int i = 0; i < kChannels; ++i) {
            text += formatText(" frames%d=%u watched%d=%d", i, m_channels[i]->framesSent(), i,
                               m_rtsp && m_rtsp->watched(i) ? 1 : 0);
        }
        return text;
    }

    const Options& m_options;
    EventLog m_log;
    Pod m_pod;
    std::unique_ptr<Channel> m_channels[kChannels];
    std::unique_ptr<RtspServer> m_rtsp;
    ControlLoop m_loop;
};

int mainProgram(const std::vector<std::string>& arguments) {
    ensureStandardStreams();
    Options options;
    std::string error;
    if (!parseOptions(arguments, options, error)) {
        std::fprintf(stderr, "podsim: %s\n", error.c_str());
        return 2;
    }
    if (options.help) {
        std::fputs(helpText().c_str(), stdout);
        return 0;
    }
    if (options.version) {
        std::printf("podsim %s\n", kVersion);
        return 0;
    }
    RecordedRoute route;
    if (!adoptClips(options, error) || !readRoute(options.route, route, error)) {
        return fail(error);
    }
    const int signal_fd = openSignals();
    Program program(options, route);
    return program.run(signal_fd);
}

}  // namespace
}  // namespace podsim

int main(int argc, char** argv) { return podsim::mainProgram({argv + 1, argv + argc}); }
