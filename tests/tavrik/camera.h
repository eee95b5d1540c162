// A film sent picture by picture over one of the ways a stream may come, and a folder for what is recorded.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "receiver.h"
#include "rtsp_server.h"
#include "tavrik/tavrik.h"
#include "wire_forms.h"

namespace tavrik::test {

// A directory of the test's own, gone at its end.
class Folder {
public:
    explicit Folder(const std::string& name)
        : m_path(testing::TempDir() + "capture_" + std::to_string(::getpid()) + "_" + name) {
        std::filesystem::remove_all(m_path);
        std::filesystem::create_directories(m_path);
    }
    ~Folder() {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

template <class Condition>
bool becomes(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Promised within 1 s; the machine of a test may be five times as slow.
inline void closeInTime(int handle) {
    const auto start = std::chrono::steady_clock::now();
    feedClose(handle);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

enum class Line { kUdp, kRtsp };

class Camera {
public:
    // ticks: from picture to picture over RTSP, 1/90000 s.
    Camera(const Film& film, std::size_t count, Line line, const WireForm& form, std::uint32_t ticks = 3600)
        : m_film(film), m_ticks(ticks) {
        if (line == Line::kRtsp) {
            RtspServer::Settings settings;
            settings.codec = film.settings.codec;
            m_server = std::make_unique<RtspServer>(settings);
        } else {
            m_pictures = datagramsOf(film, count, form);
            m_port = freeUdpPort();
            m_sender = std::make_unique<UdpSender>(m_port);
        }
    }
    int open(Receiver& receiver) {
        m_receiver = &receiver;
        const std::string url = m_server != nullptr ? m_server->url() : "";
        const int handle = feedOpen(url.c_str(), m_port, receiver.onFrame(), nullptr, "", m_server != nullptr,
                                    "", nullptr, 1);
        if (m_server != nullptr) {
            m_server->waitForPlay(kPatienceMs);
        }
        return handle;
    }
    // The next pictures up to that number, at the pace of a quick camera, that of the receiver where it is
    // slower.
    void sendUpTo(std::size_t end) {
        for (; m_next < end; ++m_next) {
            awaitReceiver();
            if (m_server != nullptr) {
                m_server->sendPicture(m_film.unit(m_next), static_cast<std::uint32_t>(m_next) * m_ticks);
            } else {
                for (const Bytes& datagram : m_pictures[m_next]) {
                    m_sender->send(datagram, datagram.size());
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(4));
        }
    }

private:
    // On a busy machine the system would drop datagrams that nobody has read yet.
    void awaitReceiver() {
        constexpr std::size_t kMostAhead = 20;
        if (m_receiver != nullptr && m_sender != nullptr && m_next > kMostAhead) {
            m_receiver->waitFor([&] { return m_receiver->m_numbers.size() + kMostAhead >= m_next; }, 5000);
        }
    }

    const Film& m_film;
    Receiver* m_receiver = nullptr;
    std::uint32_t m_ticks;
    std::vector<Datagrams> m_pictures;
    std::unique_ptr<UdpSender> m_sender;
    std::unique_ptr<RtspServer> m_server;
    int m_port = 0;
    std::size_t m_next = 0;
};

}  // namespace tavrik::test
