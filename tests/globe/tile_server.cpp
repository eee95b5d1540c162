#include "tests/globe/tile_server.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace globe_test {
namespace {

constexpr int kLook_ms = 10;

void send(int socket, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t sent = ::send(socket, text.data() + done, text.size() - done, MSG_NOSIGNAL);
        if (sent <= 0) {
            return;
        }
        done += static_cast<std::size_t>(sent);
    }
}

std::string head(const std::string& status, std::size_t length) {
    return "HTTP/1.1 " + status + "\r\nAccept-Ranges: bytes\r\nContent-Length: " + std::to_string(length) +
           "\r\n";
}

// The part that a request asks for ("Range: bytes=0-99"), if it asks for one.
bool rangeOf(const std::string& request, std::size_t size, std::size_t* first, std::size_t* last) {
    const std::string mark = "Range: bytes=";
    const auto at = request.find(mark);
    if (at == std::string::npos) {
        return false;
    }
    char* end = nullptr;
    *first = std::strtoul(request.c_str() + at + mark.size(), &end, 10);
    *last = *end == '-' ? std::strtoul(end + 1, nullptr, 10) : 0;
    *last = std::min(*last == 0 ? size - 1 : *last, size - 1);
    return *first <= *last;
}

}  // namespace

TileServer::TileServer() {
    m_socket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof name;
    if (bind(m_socket, reinterpret_cast<const sockaddr*>(&name), length) != 0 || listen(m_socket, 64) != 0 ||
        getsockname(m_socket, reinterpret_cast<sockaddr*>(&name), &length) != 0) {
        std::abort();
    }
    m_port = ntohs(name.sin_port);
    m_thread = std::thread([this] { run(); });
}

TileServer::~TileServer() {
    m_end = true;
    m_thread.join();
    close(m_socket);
}

std::string TileServer::address() const { return "http://127.0.0.1:" + std::to_string(m_port); }

void TileServer::serve(const std::string& body) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_body = body;
}

void TileServer::serve(const std::string& path, const std::string& body) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bodies[path] = body;
}

void TileServer::answer(Answer answer) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answer = answer;
}

void TileServer::answer(const std::string& part, Answer answer) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[part] = answer;
}

void TileServer::onRequest(std::function<void(const std::string&)> call) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_on_request = std::move(call);
}

void TileServer::run() {
    std::vector<Client> clients;
    while (!m_end) {
        std::vector<pollfd> polled = {{m_socket, POLLIN, 0}};
        for (const Client& client : clients) {
            polled.push_back({client.socket, POLLIN, 0});
        }
        poll(polled.data(), polled.size(), kLook_ms);
        for (std::size_t i = clients.size(); i-- > 0;) {
            if (polled[i + 1].revents != 0 && !hear(clients[i])) {
                close(clients[i].socket);
                clients.erase(clients.begin() + static_cast<std::ptrdiff_t>(i));
                --m_clients;
            }
        }
        if (polled[0].revents != 0) {
            Client client;
            client.socket = accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
            clients.push_back(client);
            ++m_clients;
        }
    }
    for (const Client& client : clients) {
        close(client.socket);
    }
}

bool TileServer::hear(Client& client) {
    char bytes[4096];
    const ssize_t count = recv(client.socket, bytes, sizeof bytes, 0);
    if (count <= 0) {
        m_hanging -= client.hangs ? 1 : 0;
        return false;
    }
    client.heard.append(bytes, static_cast<std::size_t>(count));
    const auto end = client.heard.find("\r\n\r\n");
    if (end == std::string::npos) {
        return true;
    }
    const std::string request = client.heard.substr(0, end);
    client.heard.erase(0, end + 4);
    return reply(client, request);
}

bool TileServer::reply(Client& client, const std::string& request) {
    const auto from = request.find(' ') + 1;
    const std::string path = request.substr(from, request.find(' ', from) - from);
    const bool head_alone = request.rfind("HEAD", 0) == 0;
    ++m_requests;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_on_request) {
        m_on_request(path);
    }
    const std::string* body = bodyOf(path);
    const Answer answer = answerTo(path);
    switch (body == nullptr && answer == Answer::kBody ? Answer::kNotFound : answer) {
        case Answer::kBody:
            break;
        case Answer::kNotFound:
            send(client.socket, head("404 Not Found", 0) + "\r\n");
            return true;
        case Answer::kNoContent:
            send(client.socket, "HTTP/1.1 204 No Content\r\n\r\n");
            return true;
        case Answer::kForbidden:
            send(client.socket, head("403 Forbidden", 0) + "\r\n");
            return true;
        case Answer::kUnavailable:
            send(client.socket, head("503 Service Unavailable", 0) + "\r\n");
            return true;
        case Answer::kClose:
            return false;
        case Answer::kHang:
            client.hangs = true;
            ++m_hanging;
            return true;
    }
    std::size_t first = 0;
    std::size_t last = body->size() - 1;
    std::string text = head("200 OK", body->size()) + "\r\n";
    if (rangeOf(request, body->size(), &first, &last)) {
        text = head("206 Partial Content", last - first + 1) + "Content-Range: bytes " +
               std::to_string(first) + "-" + std::to_string(last) + "/" + std::to_string(body->size()) +
               "\r\n\r\n";
    }
    send(client.socket, head_alone ? text : text + body->substr(first, last - first + 1));
    return true;
}

Answer TileServer::answerTo(const std::string& path) const {
    const auto found = std::find_if(m_answers.begin(), m_answers.end(), [&path](const auto& answer) {
        return path.find(answer.first) != std::string::npos;
    });
    return found != m_answers.end() ? found->second : m_answer;
}

const std::string* TileServer::bodyOf(const std::string& path) const {
    for (const auto& [begin, body] : m_bodies) {
        if (path.rfind(begin, 0) == 0) {
            return &body;
        }
    }
    return m_body.empty() ? nullptr : &m_body;
}

std::string plainPicture(int red, int green, int blue) {
    constexpr int kSide = 16;
    std::string bytes = "P6 16 16 255\n";
    for (int i = 0; i < kSide * kSide; ++i) {
        bytes += {static_cast<char>(red), static_cast<char>(green), static_cast<char>(blue)};
    }
    return bytes;
}

}  // namespace globe_test
