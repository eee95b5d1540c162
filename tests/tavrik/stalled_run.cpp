#include "stalled_run.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "receiver.h"
#include "rtsp_server.h"
#include "tests/fakes/chaos_proxy.h"

namespace tavrik::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPeriod = std::chrono::milliseconds(40);
constexpr std::uint32_t kTicks = 3600;
constexpr int kPicturesAStall = 6;
constexpr int kCatchUp = 4;
constexpr auto kGiveUp = std::chrono::seconds(3);  // without a picture, well above the longest stall

// Uniform over bytes, and over the logarithm of the length.
std::vector<chaos::Pause> drawPauses(std::uint64_t seed, std::size_t total_bytes, std::size_t pictures) {
    std::mt19937_64 random(seed);
    const double mean = static_cast<double>(total_bytes) / static_cast<double>(pictures) * kPicturesAStall;
    const auto chance = [&random] { return static_cast<double>(random() >> 11) / 9007199254740992.0; };
    std::vector<chaos::Pause> pauses;
    for (double at = 0; at < static_cast<double>(total_bytes);) {
        const double after = 1 + chance() * 2 * mean;
        const double ms = std::exp(chance() * std::log(500.0));
        pauses.push_back({static_cast<std::size_t>(after), std::chrono::milliseconds(std::lround(ms))});
        at += after;
    }
    return pauses;
}

class BusyThreads {
public:
    explicit BusyThreads(int count) {
        for (int i = 0; i < count; ++i) {
            m_threads.emplace_back([this] {
                for (volatile std::uint64_t n = 0; !m_stop; n = n + 1) {
                }
            });
        }
    }
    ~BusyThreads() {
        m_stop = true;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }

private:
    std::atomic<bool> m_stop{false};
    std::vector<std::thread> m_threads;
};

class Screen {
public:
    FrameCallback onFrame() {
        return [this](AVFrame* frame, float, int) {
            const std::uint32_t sum = sumOf(frame);
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_sums.push_back(sum);
            m_latest = Clock::now();
            m_changed.notify_all();
        };
    }
    // False once nothing has come for kGiveUp.
    bool waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_latest = Clock::now();
        while (m_sums.size() < count && Clock::now() < m_latest + kGiveUp) {
            m_changed.wait_until(lock, m_latest + kGiveUp);
        }
        return m_sums.size() >= count;
    }
    std::vector<std::uint32_t> sums() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_sums;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::uint32_t> m_sums;
    Clock::time_point m_latest;
};

int peerPort(int socket) {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    ::getpeername(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

// A stalling line of datagrams to one port.
class DatagramLine {
public:
    DatagramLine(int port, std::size_t total_bytes, const RunSettings& settings)
        : m_port(port),
          m_proxy(0, static_cast<std::uint16_t>(port), settings.seed),
          m_sender(m_proxy.port()) {
        if (!settings.stalls) {
            return;
        }
        chaos::Faults faults;
        const auto ms = static_cast<std::size_t>(kPeriod.count()) * settings.pictures;
        faults.rate = kCatchUp * total_bytes * 1000 / ms;
        m_proxy.setFaults(faults, {});
        m_proxy.setPauses(drawPauses(settings.seed, total_bytes, settings.pictures), {});
    }
    void send(const Bytes& datagram) { m_sender.send(datagram, datagram.size()); }
    void report(RunResult& result) const {
        result.stalls += m_proxy.toTarget().pauses;
        result.dropped += droppedAt(m_port);
        result.dropped_before += droppedAt(m_proxy.port());
    }

private:
    int m_port;
    chaos::UdpProxy m_proxy;
    UdpSender m_sender;
};

template <class Send>
void play(std::size_t count, Send send) {
    auto due = Clock::now();
    for (std::size_t n = 0; n < count; ++n) {
        std::this_thread::sleep_until(due);
        send(n);
        // A machine that comes late makes the camera slower; bursts are the line's matter.
        due = std::max(due + kPeriod, Clock::now() + kPeriod / 2);
    }
}

RunResult overUdp(const Film& film, const RunSettings& settings, std::size_t count, Screen& screen) {
    const std::vector<Datagrams> pictures = datagramsOf(film, count, settings.form);
    std::size_t total = 0;
    for (const Datagrams& datagrams : pictures) {
        for (const Bytes& datagram : datagrams) {
            total += datagram.size();
        }
    }
    const int port = freeUdpPort();
    const int handle = feedOpen("", port, screen.onFrame(), nullptr, "127.0.0.1", false, "", nullptr, 1);
    if (handle <= 0) {
        throw std::runtime_error("the stream does not open");
    }
    RunResult result;
    {
        DatagramLine line(port, total, settings);
        play(count, [&](std::size_t n) {
            for (const Bytes& datagram : pictures[n]) {
                line.send(datagram);
            }
        });
        screen.waitFor(count);
        line.report(result);
    }
    feedClose(handle);
    return result;
}

RunResult overRtsp(const Film& film, const RunSettings& settings, std::size_t count, Screen& screen) {
    const bool udp = settings.way == Way::kRtspUdp;
    std::size_t total = 0;
    for (std::size_t n = 0; n < count; ++n) {
        total += film.unit(n).size();
    }
    std::map<int, DatagramLine> lines;  // by the server's sockets
    RtspServer::Settings how;
    how.codec = film.settings.codec;
    how.audio = settings.sound;
    if (udp) {
        how.datagrams = [&](int socket, const Bytes& packet) {
            lines.try_emplace(socket, peerPort(socket), total, settings).first->second.send(packet);
        };
    }
    RtspServer server(how);
    const std::string url = server.url();
    const std::size_t colon = url.rfind(':');
    const std::size_t slash = url.find('/', colon);
    chaos::TcpProxy proxy(0, static_cast<std::uint16_t>(std::stoi(url.substr(colon + 1))), settings.seed);
    const std::string through = url.substr(0, colon + 1) + std::to_string(proxy.port()) + url.substr(slash);
    const auto sound = [](unsigned char*, int, int, int) {};
    const int handle =
        feedOpen(through.c_str(), 0, screen.onFrame(), settings.sound ? AudioCallback(sound) : nullptr, "",
                 true, udp ? "rtsp_transport=udp" : "", nullptr, 1);
    if (handle <= 0 || !server.waitForPlay(kPatienceMs)) {
        throw std::runtime_error("the stream does not open");
    }
    if (settings.stalls && !udp) {
        proxy.setPauses({}, drawPauses(settings.seed, total, count));
    }
    play(count, [&](std::size_t n) {
        server.sendPicture(film.unit(n), static_cast<std::uint32_t>(n) * kTicks);
        if (settings.sound) {
            server.sendSound(Bytes(320, 0x80), static_cast<std::uint32_t>(n) * 320);
        }
    });
    screen.waitFor(count);
    RunResult result;
    result.stalls = proxy.toClient().pauses;
    for (const auto& [socket, line] : lines) {
        line.report(result);
    }
    feedClose(handle);
    return result;
}

}  // namespace

std::string RunResult::text() const {
    return comparison.text() + " stalls=" + std::to_string(stalls) + " dropped=" + std::to_string(dropped) +
           " dropped_before=" + std::to_string(dropped_before);
}

RunResult runStalled(const Film& film, const RunSettings& settings) {
    const BusyThreads busy(settings.busy_threads);
    Screen screen;
    const std::size_t count = settings.pictures + (settings.ends_by_itself ? 0 : kTailPictures);
    RunResult result = settings.way == Way::kUdp ? overUdp(film, settings, count, screen)
                                                 : overRtsp(film, settings, count, screen);
    result.comparison = compare(film, screen.sums(), settings.pictures, count);
    return result;
}

std::uint64_t droppedAt(int port) {
    std::ifstream table("/proc/net/udp");
    std::string row;
    std::uint64_t dropped = 0;
    while (std::getline(table, row)) {
        std::istringstream fields(row);
        std::string number, local, field;
        fields >> number >> local;
        const std::size_t colon = local.find(':');
        if (colon == std::string::npos || std::strtol(local.c_str() + colon + 1, nullptr, 16) != port) {
            continue;
        }
        while (fields >> field) {
        }
        dropped += std::strtoull(field.c_str(), nullptr, 10);
    }
    return dropped;
}

std::uint64_t fromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr && *text != '\0' ? std::strtoull(text, nullptr, 10) : otherwise;
}

}  // namespace tavrik::test
