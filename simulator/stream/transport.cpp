#include "simulator/stream/transport.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace podsim {
namespace {

std::string lastError(const std::string& what) { return what + ": " + std::strerror(errno); }

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
    UdpTransport(int fd, std::vector<sockaddr_in> peers, bool fixed)
        : m_fd(fd), m_peers(std::move(peers)), m_fixed(fixed) {}
    ~UdpTransport() override { close(m_fd); }

    void appendPollFds(std::vector<pollfd>& fds) const override { fds.push_back({m_fd, POLLIN, 0}); }

    void onReady(const pollfd& ready, const ByteSink& sink) override {
        if (ready.fd != m_fd) {
            return;
        }
        std::uint8_t buffer[65536];
        // Bounded, so that a flood cannot keep the loop here.
        for (int i = 0; i < 64; ++i) {
            sockaddr_in from{};
            socklen_t size = sizeof from;
            const ssize_t n =
                recvfrom(m_fd, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &size);
            if (n < 0) {
                return;
            }
            if (!m_fixed) {
                m_peers.assign(1, from);
            }
            sink(buffer, static_cast<std::size_t>(n));
        }
    }

    void send(const std::uint8_t* data, std::size_t n) override {
        // A refusal (nobody bound there) is no concern of the pod's.
        for (const sockaddr_in& peer : m_peers) {
            sendto(m_fd, data, n, MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&peer), sizeof peer);
        }
    }

    const char* kind() const override { return "udp"; }
    std::string address() const override { return endpointText(boundAddress(m_fd)); }

private:
    int m_fd;
    std::vector<sockaddr_in> m_peers;
    bool m_fixed;
};

class TcpTransport final : public Transport {
public:
    explicit TcpTransport(int listener) : m_listener(listener) {}
    ~TcpTransport() override {
        dropClient();
        close(m_listener);
    }

    void appendPollFds(std::vector<pollfd>& fds) const override {
        fds.push_back({m_listener, POLLIN, 0});
        if (m_client < 0) {
            return;
        }
        const short wanted = static_cast<short>(m_pending.empty() ? POLLIN : POLLIN | POLLOUT);
        fds.push_back({m_client, wanted, 0});
    }

    void onReady(const pollfd& ready, const ByteSink& sink) override {
        if (ready.fd == m_listener) {
            accept();
        } else if (m_client >= 0 && ready.fd == m_client) {
            if (ready.revents & POLLOUT) {
                flush();
            }
            if (ready.revents & (POLLIN | POLLHUP | POLLERR)) {
                receive(sink);
            }
        }
    }

    void send(const std::uint8_t* data, std::size_t n) override {
        if (m_client < 0 || m_pending.size() + n > kQueueLimit) {
            return;
        }
        m_pending.insert(m_pending.end(), data, data + n);
        flush();
    }

    void hangUp() override { dropClient(); }
    const char* kind() const override { return "tcp"; }
    std::string address() const override { return endpointText(boundAddress(m_listener)); }

private:
    static constexpr std::size_t kQueueLimit = 65536;

    void accept() {
        const int fd = accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            return;
        }
        dropClient();
        const int on = 1;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_client = fd;
    }

    void receive(const ByteSink& sink) {
        std::uint8_t buffer[16384];
        const ssize_t n = recv(m_client, buffer, sizeof buffer, 0);
        if (n > 0) {
            sink(buffer, static_cast<std::size_t>(n));
        } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
            dropClient();
        }
    }

    void flush() {
        while (!m_pending.empty()) {
            const ssize_t n = ::send(m_client, m_pending.data(), m_pending.size(), MSG_NOSIGNAL);
            if (n <= 0) {
                if (n < 0 && errno != EAGAIN && errno != EINTR) {
                    dropClient();
                }
                return;
            }
            m_pending.erase(m_pending.begin(), m_pending.begin() + n);
        }
    }

    void dropClient() {
        if (m_client >= 0) {
            close(m_client);
        }
        m_client = -1;
        m_pending.clear();
    }

    int m_listener;
    int m_client = -1;
    std::vector<std::uint8_t> m_pending;
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
    if (colon == std::string::npos) {
        return false;
    }
    const std::string port = text.substr(colon + 1);
    if (port.empty() || port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    return std::atoi(port.c_str()) > 0 && makeEndpoint(text.substr(0, colon), std::atoi(port.c_str()), out);
}

std::string endpointText(const sockaddr_in& endpoint) {
    char address[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &endpoint.sin_addr, address, sizeof address);
    return std::string(address) + ":" + std::to_string(ntohs(endpoint.sin_port));
}

std::vector<sockaddr_in> portOfThisMachine(int port) {
    // A stock installation has its own name at 127.0.1.1, and no interface tells that.
    sockaddr_in own{};
    std::vector<sockaddr_in> found;
    if (makeEndpoint("127.0.1.1", port, own)) {
        found.push_back(own);
    }
    ifaddrs* interfaces = nullptr;
    if (getifaddrs(&interfaces) != 0) {
        return found;
    }
    for (const ifaddrs* i = interfaces; i != nullptr; i = i->ifa_next) {
        if (i->ifa_addr != nullptr && i->ifa_addr->sa_family == AF_INET) {
            std::memcpy(&own, i->ifa_addr, sizeof own);
            own.sin_port = htons(static_cast<std::uint16_t>(port));
            found.push_back(own);
        }
    }
    freeifaddrs(interfaces);
    return found;
}

std::unique_ptr<Transport> makeUdpTransport(const std::string& bind_address, int port,
                                            const std::string& peer, std::string& error,
                                            const std::vector<sockaddr_in>& until_heard) {
    sockaddr_in to{};
    if (!peer.empty() && !parseEndpoint(peer, to)) {
        error = "'" + peer + "' is no ADDRESS:PORT";
        return nullptr;
    }
    const int fd = boundSocket(SOCK_DGRAM, bind_address, port, "udp", error);
    if (fd < 0) {
        return nullptr;
    }
    const bool fixed = !peer.empty();
    return std::make_unique<UdpTransport>(fd, fixed ? std::vector<sockaddr_in>{to} : until_heard, fixed);
}

std::unique_ptr<Transport> makeTcpTransport(const std::string& bind_address, int port, std::string& error) {
    const int fd = boundSocket(SOCK_STREAM, bind_address, port, "tcp", error);
    if (fd < 0) {
        return nullptr;
    }
    if (listen(fd, 4) != 0) {
        error = lastError("tcp");
        close(fd);
        return nullptr;
    }
    return std::make_unique<TcpTransport>(fd);
}

}  // namespace podsim
