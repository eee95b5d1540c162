#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "tavrik/datagram_socket.h"

namespace tavrik {
namespace {

constexpr int kReceiveBuffer = 8 << 20;

bool bindTo(int fd, std::uint32_t ip, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(ip);
    return ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

void growReceiveBuffer(int fd) {
#ifdef SO_RCVBUFFORCE
    if (::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof(kReceiveBuffer)) == 0) {
        return;
    }
#endif
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof(kReceiveBuffer));
}

bool joinOn(int fd, std::uint32_t group, std::uint32_t on) {
    ip_mreq request{};
    request.imr_multiaddr.s_addr = htonl(group);
    request.imr_interface.s_addr = htonl(on);
    return ::setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof(request)) == 0;
}

bool joinGroup(int fd, const DatagramAddress& address) {
    const bool joined = joinOn(fd, address.sender, address.m_interface);
    return (address.m_interface == INADDR_ANY && joinOn(fd, address.sender, INADDR_LOOPBACK)) || joined;
}

}  // namespace

bool DatagramSocket::open(const DatagramAddress& address) {
    close();
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        return false;
    }
    growReceiveBuffer(fd);
    const bool group = isMulticast(address.sender);
    bool bound = false;
    if (group) {
        // Several programs may watch one group; bound to the group, the port's other datagrams stay out.
        const int on = 1;
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        bound = bindTo(fd, address.sender, address.port);
    } else {
        bound = bindTo(fd, address.m_interface, address.port) ||
                (errno == EADDRNOTAVAIL && bindTo(fd, INADDR_ANY, address.port));
    }
    if (!bound || (group && !joinGroup(fd, address))) {
        ::close(fd);
        return false;
    }
    m_handle = fd;
    return true;
}

void DatagramSocket::close() {
    const std::intptr_t handle = m_handle.exchange(kNone);
    if (handle != kNone) {
        ::close(static_cast<int>(handle));
    }
}

bool DatagramSocket::readable() const {
    pollfd waiting{static_cast<int>(m_handle.load()), POLLIN, 0};
    return ::poll(&waiting, 1, 0) > 0 && (waiting.revents & POLLIN) != 0;
}

int DatagramSocket::receive(std::uint8_t* to, std::size_t capacity) {
    const int fd = static_cast<int>(m_handle.load());
    for (;;) {
        const ssize_t got = ::recv(fd, to, capacity, 0);
        if (got >= 0) {
            return static_cast<int>(got);
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return 0;
        }
        if (errno != EINTR && errno != ECONNREFUSED) {
            return -1;
        }
    }
}

bool DatagramSocket::wait(int timeout_ms) {
    pollfd waiting{static_cast<int>(m_handle.load()), POLLIN, 0};
    return ::poll(&waiting, 1, timeout_ms) >= 0 || errno == EINTR;
}

}  // namespace tavrik
