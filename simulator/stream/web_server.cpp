#include "simulator/stream/web_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "simulator/stream/transport.h"

namespace podsim {
namespace {

constexpr std::size_t kMostClients = 8;
constexpr std::size_t kMostRequest = 8192;
constexpr const char* kRequestEnd = "\r\n\r\n";

std::string withHead(const char* status, const std::string& body) {
    return std::string("HTTP/1.1 ") + status +
           "\r\nContent-Type: text/html; charset=utf-8\r\nCache-Control: no-store\r\nConnection: close\r\n"
           "Content-Length: " +
           std::to_string(body.size()) + kRequestEnd + body;
}

}  // namespace

std::unique_ptr<WebServer> WebServer::open(const std::string& bind_address, int port, Pages pages,
                                           std::string& error) {
    sockaddr_in local{};
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int on = 1;
    if (!makeEndpoint(bind_address, port, local) || fd < 0 ||
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0 || listen(fd, 16) != 0) {
        error = "web port " + endpointText(local) + ": " + std::strerror(errno);
        if (fd >= 0) {
            close(fd);
        }
        return nullptr;
    }
    return std::unique_ptr<WebServer>(new WebServer(fd, std::move(pages)));
}

WebServer::~WebServer() {
    for (const Client& client : m_clients) {
        close(client.fd);
    }
    close(m_listener);
}

std::string WebServer::address() const {
    sockaddr_in bound{};
    socklen_t size = sizeof bound;
    getsockname(m_listener, reinterpret_cast<sockaddr*>(&bound), &size);
    return "http://" + endpointText(bound) + "/";
}

void WebServer::appendPollFds(std::vector<pollfd>& fds) const {
    fds.push_back({m_listener, POLLIN, 0});
    for (const Client& client : m_clients) {
        fds.push_back({client.fd, static_cast<short>(client.answer.empty() ? POLLIN : POLLOUT), 0});
    }
}

void WebServer::onReady(const pollfd& ready) {
    if (ready.fd == m_listener) {
        accept();
        return;
    }
    const auto client = std::find_if(m_clients.begin(), m_clients.end(),
                                     [&ready](const Client& c) { return c.fd == ready.fd; });
    if (client == m_clients.end()) {
        return;
    }
    const bool goes_on = client->answer.empty() ? receive(*client) : send(*client);
    if (!goes_on) {
        close(client->fd);
        m_clients.erase(client);
    }
}

void WebServer::accept() {
    const int fd = accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) {
        return;
    }
    if (m_clients.size() == kMostClients) {
        close(m_clients.front().fd);
        m_clients.erase(m_clients.begin());
    }
    m_clients.push_back({fd, {}, {}});
}

bool WebServer::receive(Client& client) {
    char buffer[2048];
    const ssize_t n = recv(client.fd, buffer, sizeof buffer, 0);
    if (n <= 0) {
        return n < 0 && (errno == EAGAIN || errno == EINTR);
    }
    client.request.append(buffer, static_cast<std::size_t>(n));
    if (client.request.find(kRequestEnd) == std::string::npos) {
        return client.request.size() < kMostRequest;
    }
    client.answer = answerTo(client.request);
    return send(client);
}

bool WebServer::send(Client& client) {
    const ssize_t n = ::send(client.fd, client.answer.data(), client.answer.size(), MSG_NOSIGNAL);
    if (n < 0) {
        return errno == EAGAIN || errno == EINTR;
    }
    client.answer.erase(0, static_cast<std::size_t>(n));
    return !client.answer.empty();
}

std::string WebServer::answerTo(const std::string& request) const {
    std::istringstream words(request);
    std::string method, target;
    words >> method >> target;
    if (method != "GET") {
        return withHead("405 Method Not Allowed", "<p>Only GET is served.</p>\n");
    }
    const std::size_t mark = std::min(target.find('?'), target.size());
    const std::string query = mark < target.size() ? target.substr(mark + 1) : std::string();
    const std::string body = m_pages(target.substr(0, mark), query);
    return body.empty() ? withHead("404 Not Found", "<p>There is no such page.</p>\n")
                        : withHead("200 OK", body);
}

}  // namespace podsim
