// winsock2.h has to come before anything that includes windows.h.
#include <winsock2.h>
#include <ws2tcpip.h>

#include "tavrik/datagram_socket.h"

namespace tavrik {
namespace {

constexpr int kReceiveBuffer = 8 << 20;

bool startNetwork() {
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}

bool bindTo(SOCKET s, std::uint32_t ip, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(ip);
    return ::bind(s, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

bool setOption(SOCKET s, int level, int name, const void* value, int size) {
    return ::setsockopt(s, level, name, static_cast<const char*>(value), size) == 0;
}

bool joinOn(SOCKET s, std::uint32_t group, std::uint32_t on) {
    ip_mreq request{};
    request.imr_multiaddr.s_addr = htonl(group);
    request.imr_interface.s_addr = htonl(on);
    return setOption(s, IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof(request));
}

bool joinGroup(SOCKET s, const DatagramAddress& address) {
    const bool joined = joinOn(s, address.sender, address.m_interface);
    return (address.m_interface == INADDR_ANY && joinOn(s, address.sender, INADDR_LOOPBACK)) || joined;
}

}  // namespace

bool DatagramSocket::open(const DatagramAddress& address) {
    close();
    if (!startNetwork()) {
        return false;
    }
    const SOCKET s = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (s == INVALID_SOCKET) {
        return false;
    }
    setOption(s, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof(kReceiveBuffer));
    const bool group = isMulticast(address.sender);
    bool ready = false;
    if (group) {
        // A group is no address to bind to here: the port is bound on every interface and the group joined.
        const int on = 1;
        setOption(s, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        ready = bindTo(s, INADDR_ANY, address.port) && joinGroup(s, address);
    } else {
        ready = bindTo(s, address.m_interface, address.port) ||
                (WSAGetLastError() == WSAEADDRNOTAVAIL && bindTo(s, INADDR_ANY, address.port));
    }
    if (!ready) {
        ::closesocket(s);
        return false;
    }
    m_handle = static_cast<std::intptr_t>(s);
    return true;
}

void DatagramSocket::close() {
    const std::intptr_t handle = m_handle.exchange(kNone);
    if (handle != kNone) {
        ::closesocket(static_cast<SOCKET>(handle));
    }
}

bool DatagramSocket::readable() const {
    WSAPOLLFD waiting{static_cast<SOCKET>(m_handle.load()), POLLRDNORM, 0};
    return ::WSAPoll(&waiting, 1, 0) > 0 && (waiting.revents & POLLRDNORM) != 0;
}

int DatagramSocket::receive(std::uint8_t* to, std::size_t capacity) {
    if (!readable()) {
        return 0;
    }
    const SOCKET s = static_cast<SOCKET>(m_handle.load());
    const int got = ::recv(s, reinterpret_cast<char*>(to), static_cast<int>(capacity), 0);
    if (got >= 0) {
        return got;
    }
    // A sender that refuses our earlier datagram, or a datagram cut short, is no fault of the socket.
    const int error = WSAGetLastError();
    return error == WSAECONNRESET || error == WSAEMSGSIZE ? 0 : -1;
}

bool DatagramSocket::wait(int timeout_ms) {
    WSAPOLLFD waiting{static_cast<SOCKET>(m_handle.load()), POLLRDNORM, 0};
    return ::WSAPoll(&waiting, 1, timeout_ms) >= 0;
}

}  // namespace tavrik
