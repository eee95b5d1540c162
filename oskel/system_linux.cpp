#include <fcntl.h>
#include <linux/errqueue.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cstring>

#include "oskel/system.h"

namespace oskel::system {
namespace {

void closeOnExec(int descriptor) { ::fcntl(descriptor, F_SETFD, FD_CLOEXEC); }

std::size_t count(int descriptor, unsigned long what) {
    int bytes = 0;
    return ::ioctl(descriptor, what, &bytes) == 0 && bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

}  // namespace

std::string serialDevice(const std::string& port_name) {
    if (port_name.empty()) {
        return {};
    }
    const std::string path = port_name.find('/') == std::string::npos ? "/dev/" + port_name : port_name;
    // Opening is not harmless for everything that has a path: a FIFO, say, would let its writer run on.
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISCHR(status.st_mode)) {
        return {};
    }
    return path;
}

std::size_t unsent(asio::serial_port& line) { return count(line.native_handle(), TIOCOUTQ); }

std::size_t unsent(asio::ip::udp::socket& socket) { return count(socket.native_handle(), SIOCOUTQ); }

void reportFailures(asio::ip::udp::socket& socket) {
    const int on = 1;
    // Each fails without harm on a socket of the other family.
    ::setsockopt(socket.native_handle(), IPPROTO_IP, IP_RECVERR, &on, sizeof on);
    ::setsockopt(socket.native_handle(), IPPROTO_IPV6, IPV6_RECVERR, &on, sizeof on);
}

asio::error_code takeReport(asio::ip::udp::socket& socket) {
    // Room for the report and for the address of the host that it comes from.
    alignas(cmsghdr) unsigned char control[256];
    msghdr message{};
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (::recvmsg(socket.native_handle(), &message, MSG_ERRQUEUE | MSG_DONTWAIT) < 0) {
        return {};
    }
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
        const bool is_report = (part->cmsg_level == IPPROTO_IP && part->cmsg_type == IP_RECVERR) ||
                               (part->cmsg_level == IPPROTO_IPV6 && part->cmsg_type == IPV6_RECVERR);
        if (is_report) {
            sock_extended_err report{};
            std::memcpy(&report, CMSG_DATA(part), sizeof report);
            return {static_cast<int>(report.ee_errno), asio::system_category()};
        }
    }
    return asio::error::message_size;
}

std::size_t unsent(asio::ip::tcp::socket& socket) { return count(socket.native_handle(), SIOCOUTQNSD); }

std::size_t unacknowledged(asio::ip::tcp::socket& socket) { return count(socket.native_handle(), SIOCOUTQ); }

void discard(asio::serial_port& line) { ::tcflush(line.native_handle(), TCIOFLUSH); }

std::size_t writeNow(asio::serial_port& line, const std::uint8_t* data, std::size_t size) {
    const ssize_t taken = ::write(line.native_handle(), data, size);
    return taken > 0 ? static_cast<std::size_t>(taken) : 0;
}

void keepFromChildren(asio::ip::udp::socket& socket) { closeOnExec(socket.native_handle()); }

void keepFromChildren(asio::ip::tcp::socket& socket) { closeOnExec(socket.native_handle()); }

void keepFromChildren(asio::serial_port& line) { closeOnExec(line.native_handle()); }

void takeJoinedGroupsOnly(asio::ip::udp::socket& socket) {
    const int off = 0;
    ::setsockopt(socket.native_handle(), IPPROTO_IP, IP_MULTICAST_ALL, &off, sizeof off);
    // The IPv6 twin exists since Linux 4.20; on an IPv4 socket it fails without harm.
    ::setsockopt(socket.native_handle(), IPPROTO_IPV6, IPV6_MULTICAST_ALL, &off, sizeof off);
}

void nameThisThread(const char* name) { ::pthread_setname_np(::pthread_self(), name); }

}  // namespace oskel::system
