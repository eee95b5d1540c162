// What the tests see of a stream: its callbacks recorded, with conditions to wait for.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tavrik/tavrik.h"
#include "test_video.h"

namespace tavrik::test {

// Only a test that fails waits so long; a sanitizer on a busy machine is slow.
constexpr int kPatienceMs = 60000;

class Receiver {
public:
    FrameCallback onFrame() {
        return [this](AVFrame* frame, float fps, int bitrate) {
            const int number = readNumber(frame);
            AVFrame* kept = m_keep ? av_frame_clone(frame) : nullptr;
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (kept != nullptr) {
                m_kept.emplace_back(kept);
            }
            m_numbers.push_back(number);
            m_times.push_back(std::chrono::steady_clock::now());
            m_fps = fps;
            m_bitrate = bitrate;
            m_changed.notify_all();
        };
    }
    SeiCallback onSei() {
        return [this](void* data, int size, int kind) {
            const auto* bytes = static_cast<const std::uint8_t*>(data);
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_sei.emplace_back(bytes, bytes + size);
            m_seiKind = kind;
            m_changed.notify_all();
        };
    }
    AudioCallback onAudio() {
        return [this](unsigned char* data, int size, int rate, int channels) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_sound.insert(m_sound.end(), data, data + size);
            m_rate = rate;
            m_channels = channels;
            m_changed.notify_all();
        };
    }

    template <class Condition>
    bool waitFor(Condition condition, int timeout_ms = kPatienceMs) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_until(
            lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms), condition);
    }
    bool waitForFrames(std::size_t count) {
        return waitFor([&] { return m_numbers.size() >= count; });
    }
    bool waitForNumber(int number) {
        return waitFor([&] {
            for (const int n : m_numbers) {
                if (n == number) {
                    return true;
                }
            }
            return false;
        });
    }

    std::vector<int> numbers() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_numbers;
    }
    std::vector<std::chrono::steady_clock::time_point> times() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_times;
    }
    std::vector<Bytes> sei() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_sei;
    }
    Bytes sound() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_sound;
    }
    void releaseKept() {
        std::vector<FramePtr> kept;
        const std::lock_guard<std::mutex> lock(m_mutex);
        kept.swap(m_kept);
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<int> m_numbers;
    std::vector<std::chrono::steady_clock::time_point> m_times;
    std::vector<FramePtr> m_kept;
    std::vector<Bytes> m_sei;
    Bytes m_sound;
    int m_seiKind = -1;
    int m_rate = 0;
    int m_channels = 0;
    float m_fps = 0;
    int m_bitrate = 0;
    std::atomic<bool> m_keep{false};
};

// A port that was free a moment ago.
inline int freeUdpPort() {
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    socklen_t size = sizeof(address);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    ::close(fd);
    return ntohs(address.sin_port);
}

class UdpSender {
public:
    explicit UdpSender(int port, const std::string& to = "127.0.0.1")
        : m_fd(::socket(AF_INET, SOCK_DGRAM, 0)) {
        m_address.sin_family = AF_INET;
        m_address.sin_port = htons(static_cast<std::uint16_t>(port));
        ::inet_pton(AF_INET, to.c_str(), &m_address.sin_addr);
        in_addr loopback{};
        loopback.s_addr = htonl(INADDR_LOOPBACK);
        ::setsockopt(m_fd, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof(loopback));
    }
    ~UdpSender() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    UdpSender(UdpSender&& other) noexcept : m_fd(other.m_fd), m_address(other.m_address) { other.m_fd = -1; }
    UdpSender(const UdpSender&) = delete;
    UdpSender& operator=(const UdpSender&) = delete;

    // In datagrams of `piece` bytes.
    void send(const Bytes& bytes, std::size_t piece = 1316) {
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            ::sendto(m_fd, bytes.data() + at, std::min(piece, bytes.size() - at), 0,
                     reinterpret_cast<const sockaddr*>(&m_address), sizeof(m_address));
        }
    }

private:
    int m_fd;
    sockaddr_in m_address{};
};

// Calls `send` with 0, 1, 2 ... at the pace of a camera until `done`; false after a generous deadline.
template <class Send, class Done>
bool stream(Send send, Done done, int period_ms = 20) {
    const auto start = std::chrono::steady_clock::now();
    for (int number = 0; !done(); ++number) {
        if (std::chrono::steady_clock::now() > start + std::chrono::milliseconds(kPatienceMs)) {
            return false;
        }
        send(number);
        std::this_thread::sleep_until(start + std::chrono::milliseconds(period_ms) * (number + 1));
    }
    return true;
}

}  // namespace tavrik::test
