// The pod's side of a control line: UDP, TCP or a pseudo terminal, all non-blocking and driven by the one
// thread that polls their descriptors. What the system does not take at once is dropped (datagrams) or queued
// up to a bound and then dropped by whole frames (streams): a station that stops reading never holds the pod.
#pragma once

#include <netinet/in.h>
#include <poll.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace podsim {

// Bytes that came in from the station.
using ByteSink = std::function<void(const std::uint8_t*, std::size_t)>;

// An IPv4 address with a port, from "HOST:PORT" with a literal HOST. False when it is none.
bool parseEndpoint(const std::string& text, sockaddr_in& out);
// The same from a literal address and a port; 0 is allowed.
bool makeEndpoint(const std::string& address, int port, sockaddr_in& out);
std::string endpointText(const sockaddr_in& endpoint);

class Transport {
public:
    virtual ~Transport() = default;
    virtual void appendPollFds(std::vector<pollfd>& fds) const = 0;
    // One of this transport's descriptors is ready; others' are ignored.
    virtual void onReady(const pollfd& fd, const ByteSink& sink) = 0;
    virtual void send(const std::uint8_t* data, std::size_t n) = 0;
    // Ends a connection, where there is such a thing.
    virtual void hangUp() {}
    // "udp", "tcp" or "pty".
    virtual const char* kind() const = 0;
    // "127.0.0.1:8000", "/dev/pts/3"
    virtual std::string address() const = 0;
};

// That port at each IPv4 address of this machine: whichever of them a station here is bound to.
std::vector<sockaddr_in> portOfThisMachine(int port);

// `peer` empty: answers go to whoever sent last, to all of `until_heard` before anybody has. Null with a
// reason in `error`, as for the others.
std::unique_ptr<Transport> makeUdpTransport(const std::string& bind_address, int port,
                                            const std::string& peer, std::string& error,
                                            const std::vector<sockaddr_in>& until_heard = {});
// One station at a time; a new connection takes the place of the old one.
std::unique_ptr<Transport> makeTcpTransport(const std::string& bind_address, int port, std::string& error);
// `link_path` empty: no symbolic link. An old symbolic link of that name is replaced, another file is not.
std::unique_ptr<Transport> makePtyTransport(const std::string& link_path, std::string& error);

}  // namespace podsim
