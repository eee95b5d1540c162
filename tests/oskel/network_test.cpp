// Datagrams to and from another host: one that stands behind a network device of a private network namespace.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <netinet/udp.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>

#include "oskel/oskel.h"
#include "tests/oskel/peers.h"

namespace {

using namespace peers;
using oskel::SendTrouble;

const char* const own_ip = "10.77.0.1";
const char* const remote_ip = "10.77.0.9";

std::string systemError(const std::string& what) { return what + ": " + std::strerror(errno); }

// Of an even number of bytes.
std::uint16_t checksum(const Bytes& data) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < data.size(); i += 2) {
        std::uint16_t word = 0;
        std::memcpy(&word, &data[i], sizeof word);
        sum += word;
    }
    sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~((sum & 0xFFFF) + (sum >> 16)));
}

// A host at the far end of a point-to-point device: reads and writes IP packets by hand.
class RemoteHost {
public:
    ~RemoteHost() { ::close(m_device); }

    // Empty, or what the system does not allow.
    std::string attach() {
        m_device = ::open("/dev/net/tun", O_RDWR | O_NONBLOCK);
        if (m_device < 0) {
            return systemError("/dev/net/tun");
        }
        ifreq request{};
        request.ifr_flags = IFF_TUN | IFF_NO_PI;
        std::strcpy(request.ifr_name, "far0");
        if (::ioctl(m_device, TUNSETIFF, &request) != 0) {
            return systemError("TUNSETIFF");
        }
        return bringUp("lo", nullptr) && bringUp("far0", own_ip) ? "" : systemError("addresses");
    }

    // The next UDP datagram that leaves the machine for remote_ip, with its sender; empty after the deadline.
    Bytes receive(std::string& sender_ip, int& sender_port) {
        const auto until = std::chrono::steady_clock::now() + deadline;
        while (std::chrono::steady_clock::now() < until) {
            pollfd ready{m_device, POLLIN, 0};
            std::uint8_t packet[2048];
            const auto size = ::poll(&ready, 1, 100) > 0 ? ::read(m_device, packet, sizeof packet) : -1;
            iphdr ip{};
            udphdr udp{};
            if (size < static_cast<ssize_t>(sizeof ip + sizeof udp)) {
                continue;
            }
            std::memcpy(&ip, packet, sizeof ip);
            std::memcpy(&udp, packet + sizeof ip, sizeof udp);
            if (ip.version == 4 && ip.protocol == IPPROTO_UDP && ip.daddr == ::inet_addr(remote_ip)) {
                sender_ip = ::inet_ntoa(in_addr{ip.saddr});
                sender_port = ntohs(udp.source);
                return Bytes(packet + sizeof ip + sizeof udp, packet + size);
            }
        }
        return {};
    }

    void send(const Bytes& data, int port) { sendPacket(IPPROTO_UDP, remote_ip, datagram(9000, port, data)); }

    // What a router says about a datagram that it cannot deliver.
    void reportUnreachable(int sender_port) {
        Bytes content(8);
        content[0] = ICMP_DEST_UNREACH;
        content[1] = ICMP_HOST_UNREACH;
        const Bytes lost = packet(IPPROTO_UDP, own_ip, remote_ip, datagram(sender_port, 9000, bytes("lost")));
        content.insert(content.end(), lost.begin(), lost.end());
        const std::uint16_t sum = checksum(content);
        std::memcpy(&content[2], &sum, sizeof sum);
        sendPacket(IPPROTO_ICMP, "10.77.0.254", content);
    }

private:
    static Bytes datagram(int from, int to, const Bytes& data) {
        udphdr udp{};
        udp.source = htons(static_cast<std::uint16_t>(from));
        udp.dest = htons(static_cast<std::uint16_t>(to));
        udp.len = htons(static_cast<std::uint16_t>(sizeof udp + data.size()));
        Bytes all(sizeof udp);
        std::memcpy(all.data(), &udp, sizeof udp);
        all.insert(all.end(), data.begin(), data.end());
        return all;
    }

    static Bytes packet(std::uint8_t protocol, const char* from, const char* to, const Bytes& content) {
        iphdr ip{};
        ip.version = 4;
        ip.ihl = sizeof ip / 4;
        ip.ttl = 64;
        ip.protocol = protocol;
        ip.saddr = ::inet_addr(from);
        ip.daddr = ::inet_addr(to);
        ip.tot_len = htons(static_cast<std::uint16_t>(sizeof ip + content.size()));
        Bytes all(sizeof ip);
        std::memcpy(all.data(), &ip, sizeof ip);
        ip.check = checksum(all);
        std::memcpy(all.data(), &ip, sizeof ip);
        all.insert(all.end(), content.begin(), content.end());
        return all;
    }

    void sendPacket(std::uint8_t protocol, const char* from, const Bytes& content) {
        const Bytes all = packet(protocol, from, own_ip, content);
        if (::write(m_device, all.data(), all.size()) < 0) {
            std::perror("write of a packet");
        }
    }

    static bool bringUp(const char* name, const char* ip) {
        const int any = ::socket(AF_INET, SOCK_DGRAM, 0);
        ifreq request{};
        std::strcpy(request.ifr_name, name);
        const auto set = [&](unsigned long what, const char* address) {
            sockaddr_in value{};
            value.sin_family = AF_INET;
            value.sin_addr.s_addr = ::inet_addr(address);
            std::memcpy(&request.ifr_addr, &value, sizeof value);
            return ::ioctl(any, what, &request) == 0;
        };
        const bool placed = ip == nullptr || (set(SIOCSIFADDR, ip) && set(SIOCSIFNETMASK, "255.255.255.0"));
        const bool known = ::ioctl(any, SIOCGIFFLAGS, &request) == 0;
        request.ifr_flags |= IFF_UP | IFF_RUNNING;
        const bool up = ::ioctl(any, SIOCSIFFLAGS, &request) == 0;
        ::close(any);
        return placed && known && up;
    }

    int m_device = -1;
};

const std::string forbidden = "the system allows no network of one's own: ";

// Runs `work` in a child with a network of its own; what it returns, empty if all is well.
std::string inOwnNetwork(const std::function<std::string(RemoteHost&)>& work) {
    int answer[2];
    if (::pipe(answer) != 0) {
        return systemError("pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const int user = ::geteuid() == 0 ? 0 : CLONE_NEWUSER;
        RemoteHost remote;
        std::string text = ::unshare(user | CLONE_NEWNET) == 0 ? remote.attach() : systemError("unshare");
        text = text.empty() ? work(remote) : forbidden + text;
        const bool told = ::write(answer[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        ::_exit(told ? 0 : 1);
    }
    ::close(answer[1]);
    std::string text;
    char part[256];
    for (ssize_t count = 0; (count = ::read(answer[0], part, sizeof part)) > 0;) {
        text.append(part, static_cast<std::size_t>(count));
    }
    ::close(answer[0]);
    int status = -1;
    ::waitpid(child, &status, 0);
    return status == 0 ? text : "the child ended with status " + std::to_string(status) + " " + text;
}

std::string exchange(RemoteHost& remote, const char* local_ip) {
    Inbox inbox;
    const int handle = oskel::dialDatagram(remote_ip, 9000, local_ip, 0, inbox.callback());
    if (handle < 1) {
        return "no port";
    }
    if (push("command", handle) != 7) {
        return "the port does not send";
    }
    std::string sender_ip;
    int sender_port = 0;
    if (remote.receive(sender_ip, sender_port) != bytes("command") || sender_ip != own_ip) {
        return "nothing right arrives, from " + sender_ip;
    }
    remote.send(bytes("report"), sender_port);
    if (inbox.waitFor(6) != bytes("report")) {
        return "the port does not receive";
    }
    return oskel::hang_up(handle) == 0 ? "" : "no close";
}

std::string losesItsWay(RemoteHost& remote) {
    const int nowhere = oskel::dialDatagram("10.78.0.1", 9000, "127.0.1.1", 0, {});
    if (push("command", nowhere) != 0 || oskel::send_trouble(nowhere) != SendTrouble::kUnreachable) {
        return "no trouble without a route";
    }
    Inbox inbox;
    const int handle = oskel::dialDatagram(remote_ip, 9000, "", 0, inbox.callback());
    std::string sender_ip;
    int sender_port = 0;
    push("command", handle);
    if (remote.receive(sender_ip, sender_port).empty() || oskel::send_trouble(handle) != SendTrouble::kNone) {
        return "a trouble for nothing";
    }
    remote.reportUnreachable(sender_port);
    if (!waitUntil([=] { return oskel::send_trouble(handle) == SendTrouble::kUnreachable; })) {
        return "no trouble with an unreachable host";
    }
    // Its report is told in the place of neither what is sent nor what is received.
    remote.reportUnreachable(sender_port);
    remote.reportUnreachable(sender_port);
    remote.send(bytes("report"), sender_port);
    if (push("command", handle) != 7 || inbox.waitFor(6) != bytes("report")) {
        return "a report cost a datagram";
    }
    if (!waitUntil([=] { return oskel::send_trouble(handle) == SendTrouble::kNone; })) {
        return "the trouble does not end";
    }
    oskel::hang_up(nowhere);
    oskel::hang_up(handle);
    return "";
}

TEST(OtherHost, ThatCannotBeReachedIsATrouble) {
    const std::string failure = inOwnNetwork(losesItsWay);
    if (failure.compare(0, forbidden.size(), forbidden) == 0) {
        GTEST_SKIP() << failure;
    }
    EXPECT_EQ(failure, "");
}

TEST(OtherHost, IsReachedWhateverLoopbackAddressIsTheLocalOne) {
    for (const char* local : {"127.0.1.1", "127.0.0.1", "", own_ip}) {
        const std::string failure =
            inOwnNetwork([local](RemoteHost& remote) { return exchange(remote, local); });
        if (failure.compare(0, forbidden.size(), forbidden) == 0) {
            GTEST_SKIP() << failure;
        }
        EXPECT_EQ(failure, "") << "local address '" << local << "'";
    }
}

}  // namespace
