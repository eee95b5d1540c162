// A camera whose stream is an answer over HTTP.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "receiver.h"

namespace tavrik::test {

// Answers one GET with a transport stream that never ends.
class HttpCamera {
public:
    HttpCamera() : m_listener(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        socklen_t size = sizeof(address);
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
        m_port = ntohs(address.sin_port);
        ::listen(m_listener, 4);
        m_thread = std::thread([this] { serve(); });
    }
    ~HttpCamera() {
        ::shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        ::close(m_listener);
        if (m_client >= 0) {
            ::close(m_client);
        }
    }
    bool waitForRequest() const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
        while (!m_ready && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return m_ready;
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(m_port) + "/live.ts"; }
    void send(const Bytes& bytes) {
        if (m_ready) {
            ::send(m_client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        }
    }

private:
    void serve() {
        m_client = ::accept(m_listener, nullptr, nullptr);
        if (m_client < 0) {
            return;
        }
        std::string request;
        char byte = 0;
        while (request.find("\r\n\r\n") == std::string::npos && ::recv(m_client, &byte, 1, 0) == 1) {
            request += byte;
        }
        const std::string answer = "HTTP/1.0 200 OK\r\nContent-Type: video/mp2t\r\n\r\n";
        ::send(m_client, answer.data(), answer.size(), MSG_NOSIGNAL);
        m_ready = true;
    }

    int m_listener;
    int m_port = 0;
    int m_client = -1;
    std::atomic<bool> m_ready{false};
    std::thread m_thread;
};

}  // namespace tavrik::test
