// Checks what an operator or a configuration file gives as an address, before anything is opened with it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavrik {

struct NetworkAddress {
    std::string scheme;     // lower case: rtsp, rtsps, http, https
    std::string authority;  // user:password, without the @; may be empty
    std::string host;       // name or literal, without the brackets of IPv6
    int port = 0;           // 0: the scheme's own
    std::string rest;       // from the path on; may be empty
    bool numeric_host = false;
};

// Nothing for control characters or blanks inside, another scheme, no host, a port outside 1..65535, above
// 2048 bytes. Blanks around the address are ignored.
std::optional<NetworkAddress> parseNetworkAddress(const std::string& text);
// The address again, with `host` in the place of its own.
std::string networkAddressWithHost(const NetworkAddress& address, const std::string& host);

// A dotted IPv4 address as a number, most significant byte first; nothing for any other text.
std::optional<std::uint32_t> parseIpv4(const std::string& text);
bool isMulticast(std::uint32_t ipv4);
bool isLoopback(std::uint32_t ipv4);

struct DatagramAddress {
    std::uint32_t sender = 0;       // 0: none given
    std::uint32_t m_interface = 0;  // 0: any
    std::uint16_t port = 0;
};
// Sender or group (may be empty), local port 1..65535, interface (may be empty). A loopback interface counts
// as any when the sender is neither loopback nor empty.
std::optional<DatagramAddress> parseDatagramAddress(const std::string& sender, int port,
                                                    const std::string& interface_ip);

// "key=value;key=value". Blanks around keys and values are ignored, and so are pieces without a key or '='.
std::vector<std::pair<std::string, std::string>> parseOptions(const std::string& text);

}  // namespace tavrik
