#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "receiver.h"

namespace tavrik::test {
namespace {

// Answers one GET with a transport stream that never ends.
class HttpCamera {
public:
    HttpCamera() : listener_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        socklen_t size = sizeof(address);
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ntohs(address.sin_port);
        ::listen(listener_, 4);
        thread_ = std::thread([this] { serve(); });
    }
    ~HttpCamera() {
        ::shutdown(listener_, SHUT_RDWR);
        thread_.join();
        ::close(listener_);
        if (client_ >= 0) ::close(client_);
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/live.ts"; }
    void send(const Bytes& bytes) {
        if (ready_) ::send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

private:
    void serve() {
        client_ = ::accept(listener_, nullptr, nullptr);
        if (client_ < 0) return;
        std::string request;
        char byte = 0;
        while (request.find("\r\n\r\n") == std::string::npos && ::recv(client_, &byte, 1, 0) == 1)
            request += byte;
        const std::string answer = "HTTP/1.0 200 OK\r\nContent-Type: video/mp2t\r\n\r\n";
        ::send(client_, answer.data(), answer.size(), MSG_NOSIGNAL);
        ready_ = true;
    }

    int listener_;
    int port_ = 0;
    int client_ = -1;
    std::atomic<bool> ready_{false};
    std::thread thread_;
};

TEST(Http, ShowsATransportStream) {
    HttpCamera camera;
    TestEncoder encoder(EncoderSettings{});
    Receiver receiver;
    const int handle =
        feedOpen(camera.url().c_str(), 0, receiver.onFrame(), nullptr, "", true, "", receiver.onSei(), 1);
    ASSERT_GT(handle, 0);
    const Bytes sei = seiNal(Codec::H264, {4, 5, 6});
    EXPECT_TRUE(stream(
        [&](int n) {
            camera.send(
                muxTransportStream(Codec::H264, {withSei(Codec::H264, encoder.encode(n), sei)}, true));
        },
        [&] { return receiver.numbers().size() >= 20 && !receiver.sei().empty(); }, 5));
    feedClose(handle);
    const std::vector<int> numbers = receiver.numbers();
    for (std::size_t i = 1; i < numbers.size(); ++i)
        EXPECT_GT(numbers[i], numbers[i - 1]);
}

}  // namespace
}  // namespace tavrik::test
