#include "simulator/stream/transport.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace podsim {
namespace {

std::string lastError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

sockaddr_in boundAddress(int fd) {
    sockaddr_in bound{};
    socklen_t size = sizeof bound;
    getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &size);
    return bound;
}

// A bound non-blocking socket, or -1 with a reason.
int boundSocket(int type, const std::string& address, int port, const char* name, std::string& error) {
    sockaddr_in local{};
    if (!makeEndpoint(address, port, local)) {
        error = std::string(name) + ": '" + address + "' is no IPv4 address";
        return -1;
    }
    const int fd = socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        error = lastError(name);
        return -1;
    }
    if (type == SOCK_STREAM) {
        const int on = 1;
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    }
    if (bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        error = lastError(std::string(name) + " port " + endpointText(local));
        close(fd);
        return -1;
    }
    return fd;
}

class UdpTransport final : public Transport {
public:
    UdpTransport(int fd, const sockaddr_in& peer, bool fixed)
        : fd_(fd), peer_(peer), has_peer_(fixed), fixed_(fixed) {}
    ~UdpTransport() override { close(fd_); }

    void appendPollFds(std::vector<pollfd>& fds) const override { fds.push_back({fd_, POLLIN, 0}); }

    void onReady(const pollfd& ready, const ByteSink& sink) override {
        if (ready.fd != fd_) return;
        std::uint8_t buffer[65536];
        // Bounded, so that a flood cannot keep the loop here.
        for (int i = 0; i < 64; ++i) {
            sockaddr_in from{};
            socklen_t size = sizeof from;
            const ssize_t n =
                recvfrom(fd_, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &size);
            if (n < 0) return;
            if (!fixed_) {
                peer_ = from;
                has_peer_ = true;
            }
            sink(buffer, static_cast<std::size_t>(n));
        }
    }

    void send(const std::uint8_t* data, std::size_t n) override {
        if (!has_peer_) return;
        // A refusal (nobody bound there) is no concern of the pod's.
        sendto(fd_, data, n, MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&peer_), sizeof peer_);
    }

    const char* kind() const override { return "udp"; }
    std::string address() const override { return endpointText(boundAddress(fd_)); }

private:
    int fd_;
    sockaddr_in peer_;
    bool has_peer_;
    bool fixed_;
};

class TcpTransport final : public Transport {
public:
    explicit TcpTransport(int listener) : listener_(listener) {}
    ~TcpTransport() override {
        dropClient();
        close(listener_);
    }

    void appendPollFds(std::vector<pollfd>& fds) const override {
        fds.push_back({listener_, POLLIN, 0});
        if (client_ < 0) return;
        const short wanted = static_cast<short>(pending_.empty() ? POLLIN : POLLIN | POLLOUT);
        fds.push_back({client_, wanted, 0});
    }

    void onReady(const pollfd& ready, const ByteSink& sink) override {
        if (ready.fd == listener_) {
            accept();
        } else if (client_ >= 0 && ready.fd == client_) {
            if (ready.revents & POLLOUT) flush();
            if (ready.revents & (POLLIN | POLLHUP | POLLERR)) receive(sink);
        }
    }

    void send(const std::uint8_t* data, std::size_t n) override {
        if (client_ < 0 || pending_.size() + n > kQueueLimit) return;
        pending_.insert(pending_.end(), data, data + n);
        flush();
    }

    void hangUp() override { dropClient(); }
    const char* kind() const override { return "tcp"; }
    std::string address() const override { return endpointText(boundAddress(listener_)); }

private:
    static constexpr std::size_t kQueueLimit = 65536;

    void accept() {
        const int fd = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) return;
        dropClient();
        const int on = 1;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        client_ = fd;
    }

    void receive(const ByteSink& sink) {
        std::uint8_t buffer[16384];
        const ssize_t n = recv(client_, buffer, sizeof buffer, 0);
        if (n > 0) {
            sink(buffer, static_cast<std::size_t>(n));
        } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
            dropClient();
        }
    }

    void flush() {
        while (!pending_.empty()) {
            const ssize_t n = ::send(client_, pending_.data(), pending_.size(), MSG_NOSIGNAL);
            if (n <= 0) {
                if (n < 0 && errno != EAGAIN && errno != EINTR) dropClient();
                return;
            }
            pending_.erase(pending_.begin(), pending_.begin() + n);
        }
    }

    void dropClient() {
        if (client_ >= 0) close(client_);
        client_ = -1;
        pending_.clear();
    }

    int listener_;
    int client_ = -1;
    std::vector<std::uint8_t> pending_;
};

}  // namespace

bool makeEndpoint(const std::string& address, int port, sockaddr_in& out) {
    out = {};
    out.sin_family = AF_INET;
    out.sin_port = htons(static_cast<std::uint16_t>(port));
    return port >= 0 && port <= 65535 && inet_pton(AF_INET, address.c_str(), &out.sin_addr) == 1;
}

bool parseEndpoint(const std::string& text, sockaddr_in& out) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) return false;
    const std::string port = text.substr(colon + 1);
    if (port.empty() || port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos)
        return false;
    return std::atoi(port.c_str()) > 0 && makeEndpoint(text.substr(0, colon), std::atoi(port.c_str()), out);
}

std::string endpointText(const sockaddr_in& endpoint) {
    char address[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &endpoint.sin_addr, address, sizeof address);
    return std::string(address) + ":" + std::to_string(ntohs(endpoint.sin_port));
}

std::unique_ptr<Transport> makeUdpTransport(const std::string& bind_address, int port,
                                            const std::string& peer, std::string& error) {
    sockaddr_in to{};
    if (!peer.empty() && !parseEndpoint(peer, to)) {
        error = "'" + peer + "' is no ADDRESS:PORT";
        return nullptr;
    }
    const int fd = boundSocket(SOCK_DGRAM, bind_address, port, "udp", error);
    if (fd < 0) return nullptr;
    return std::make_unique<UdpTransport>(fd, to, !peer.empty());
}

std::unique_ptr<Transport> makeTcpTransport(const std::string& bind_address, int port, std::string& error) {
    const int fd = boundSocket(SOCK_STREAM, bind_address, port, "tcp", error);
    if (fd < 0) return nullptr;
    if (listen(fd, 4) != 0) {
        error = lastError("tcp");
        close(fd);
        return nullptr;
    }
    return std::make_unique<TcpTransport>(fd);
}

}  // namespace podsim
