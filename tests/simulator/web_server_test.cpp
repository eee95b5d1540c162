// The server of the encoder's page with clients of every manner.
#include "simulator/stream/web_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <thread>

namespace podsim {
namespace {

class WebServerTest : public ::testing::Test {
protected:
    WebServerTest() {
        std::string error;
        server = WebServer::open(
            "127.0.0.1", 0,
            [](const std::string& path, const std::string& query) {
                return path == "/" ? "page " + query + std::string(300000, '.') : std::string();
            },
            error);
        EXPECT_NE(server, nullptr) << error;
        const std::string address = server->address();
        port = std::stoi(address.substr(address.rfind(':') + 1));
        loop = std::thread([this] {
            while (!done) {
                std::vector<pollfd> fds;
                server->appendPollFds(fds);
                poll(fds.data(), fds.size(), 10);
                for (const pollfd& fd : fds) {
                    if (fd.revents != 0) {
                        server->onReady(fd);
                    }
                }
            }
        });
    }
    ~WebServerTest() override {
        done = true;
        loop.join();
    }
    int client() const {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        to.sin_port = htons(static_cast<std::uint16_t>(port));
        EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
        timeval patience{10, 0};
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        return fd;
    }
    static std::string readAll(int fd) {
        std::string text;
        char buffer[65536];
        for (ssize_t n; (n = recv(fd, buffer, sizeof buffer, 0)) > 0;) {
            text.append(buffer, static_cast<std::size_t>(n));
        }
        close(fd);
        return text;
    }
    std::string ask(const std::string& request) const {
        const int fd = client();
        EXPECT_EQ(send(fd, request.data(), request.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(request.size()));
        return readAll(fd);
    }
    static std::string bodyOf(const std::string& answer) {
        return answer.substr(answer.find("\r\n\r\n") + 4);
    }

    std::unique_ptr<WebServer> server;
    int port = 0;
    std::atomic<bool> done{false};
    std::thread loop;
};

TEST_F(WebServerTest, ServesItsPageWhole) {
    const std::string answer = ask("GET /?codec=1 HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(answer.substr(0, 15), "HTTP/1.1 200 OK");
    EXPECT_NE(answer.find("Content-Length: 300012\r\n"), std::string::npos);
    EXPECT_EQ(bodyOf(answer), "page codec=1" + std::string(300000, '.'));
    EXPECT_EQ(bodyOf(ask("GET / HTTP/1.1\r\n\r\n")).substr(0, 6), "page .");
}

TEST_F(WebServerTest, OthersAreRefused) {
    EXPECT_EQ(ask("GET /other HTTP/1.1\r\n\r\n").substr(0, 12), "HTTP/1.1 404");
    EXPECT_EQ(ask("POST / HTTP/1.1\r\n\r\n").substr(0, 12), "HTTP/1.1 405");
    EXPECT_EQ(ask("\r\n\r\n").substr(0, 12), "HTTP/1.1 405");
    EXPECT_EQ(ask(std::string(9000, 'x')), "") << "a request without an end";
}

TEST_F(WebServerTest, ARequestInPiecesAndViewersThatOnlyStandAround) {
    std::vector<int> idle;
    for (int i = 0; i < 20; ++i) {
        idle.push_back(client());
    }
    const int fd = client();
    for (const char c : std::string("GET / HTTP/1.1\r\n\r\n")) {
        ASSERT_EQ(send(fd, &c, 1, MSG_NOSIGNAL), 1);
    }
    EXPECT_EQ(readAll(fd).substr(0, 12), "HTTP/1.1 200");
    for (const int other : idle) {
        close(other);
    }
    EXPECT_EQ(ask("GET / HTTP/1.1\r\n\r\n").substr(0, 12), "HTTP/1.1 200");
}

TEST_F(WebServerTest, APortInUseIsTold) {
    std::string error;
    EXPECT_EQ(WebServer::open("127.0.0.1", port, nullptr, error), nullptr);
    EXPECT_NE(error.find("web port"), std::string::npos);
}

}  // namespace
}  // namespace podsim
