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

constexpr int kPatienceMs = 20000;

class Receiver {
public:
    FrameCallback onFrame() {
        return [this](AVFrame* frame, float fps, int bitrate) {
            const int number = readNumber(frame);
            AVFrame* kept = keep_ ? av_frame_clone(frame) : nullptr;
            const std::lock_guard<std::mutex> lock(mutex_);
            if (kept != nullptr) kept_.emplace_back(kept);
            numbers_.push_back(number);
            times_.push_back(std::chrono::steady_clock::now());
            fps_ = fps;
            bitrate_ = bitrate;
            changed_.notify_all();
        };
    }
    SeiCallback onSei() {
        return [this](void* data, int size, int kind) {
            const auto* bytes = static_cast<const std::uint8_t*>(data);
            const std::lock_guard<std::mutex> lock(mutex_);
            sei_.emplace_back(bytes, bytes + size);
            sei_kind_ = kind;
            changed_.notify_all();
        };
    }
    AudioCallback onAudio() {
        return [this](unsigned char* data, int size, int rate, int channels) {
            const std::lock_guard<std::mutex> lock(mutex_);
            sound_.insert(sound_.end(), data, data + size);
            rate_ = rate;
            channels_ = channels;
            changed_.notify_all();
        };
    }

    template <class Condition>
    bool waitFor(Condition condition, int timeout_ms = kPatienceMs) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_until(
            lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms), condition);
    }
    bool waitForFrames(std::size_t count) {
        return waitFor([&] { return numbers_.size() >= count; });
    }
    bool waitForNumber(int number) {
        return waitFor([&] {
            for (const int n : numbers_) {
                if (n == number) return true;
            }
            return false;
        });
    }

    std::vector<int> numbers() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return numbers_;
    }
    std::vector<std::chrono::steady_clock::time_point> times() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return times_;
    }
    std::vector<Bytes> sei() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return sei_;
    }
    Bytes sound() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return sound_;
    }
    void releaseKept() {
        std::vector<FramePtr> kept;
        const std::lock_guard<std::mutex> lock(mutex_);
        kept.swap(kept_);
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<int> numbers_;
    std::vector<std::chrono::steady_clock::time_point> times_;
    std::vector<FramePtr> kept_;
    std::vector<Bytes> sei_;
    Bytes sound_;
    int sei_kind_ = -1;
    int rate_ = 0;
    int channels_ = 0;
    float fps_ = 0;
    int bitrate_ = 0;
    std::atomic<bool> keep_{false};
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
        : fd_(::socket(AF_INET, SOCK_DGRAM, 0)) {
        address_.sin_family = AF_INET;
        address_.sin_port = htons(static_cast<std::uint16_t>(port));
        ::inet_pton(AF_INET, to.c_str(), &address_.sin_addr);
        in_addr loopback{};
        loopback.s_addr = htonl(INADDR_LOOPBACK);
        ::setsockopt(fd_, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof(loopback));
    }
    ~UdpSender() { ::close(fd_); }
    UdpSender(const UdpSender&) = delete;
    UdpSender& operator=(const UdpSender&) = delete;

    // In datagrams of `piece` bytes.
    void send(const Bytes& bytes, std::size_t piece = 1316) {
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            ::sendto(fd_, bytes.data() + at, std::min(piece, bytes.size() - at), 0,
                     reinterpret_cast<const sockaddr*>(&address_), sizeof(address_));
        }
    }

private:
    int fd_;
    sockaddr_in address_{};
};

// Calls `send` with 0, 1, 2 ... at the pace of a camera until `done`; false after a generous deadline.
template <class Send, class Done>
bool stream(Send send, Done done, int period_ms = 20) {
    const auto start = std::chrono::steady_clock::now();
    for (int number = 0; !done(); ++number) {
        if (std::chrono::steady_clock::now() > start + std::chrono::milliseconds(kPatienceMs)) return false;
        send(number);
        std::this_thread::sleep_until(start + std::chrono::milliseconds(period_ms) * (number + 1));
    }
    return true;
}

}  // namespace tavrik::test
