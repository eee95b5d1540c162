#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "receiver.h"
#include "two_addresses.h"

namespace tavrik::test {
namespace {

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

TEST(Http, ShowsATransportStream) {
    for (const bool by_name : {false, true}) {
        HttpCamera camera;
        TestEncoder encoder(EncoderSettings{});
        Receiver receiver;
        const std::string url = by_name ? withTwoAddresses(camera.url()) : camera.url();
        const int handle =
            feedOpen(url.c_str(), 0, receiver.onFrame(), nullptr, "", true, "", receiver.onSei(), 1);
        ASSERT_GT(handle, 0);
        const Bytes sei = seiNal(Codec::kH264, {4, 5, 6});
        EXPECT_TRUE(stream(
            [&](int n) {
                camera.send(
                    muxTransportStream(Codec::kH264, {withSei(Codec::kH264, encoder.encode(n), sei)}, true));
            },
            [&] { return receiver.numbers().size() >= 20 && !receiver.sei().empty(); }, 5))
            << url;
        feedClose(handle);
        const std::vector<int> numbers = receiver.numbers();
        for (std::size_t i = 1; i < numbers.size(); ++i) {
            EXPECT_GT(numbers[i], numbers[i - 1]);
        }
    }
}

}  // namespace
}  // namespace tavrik::test
