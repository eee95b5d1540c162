// Literal addresses and port numbers from text that nobody has checked.
#pragma once

#include <asio/ip/address.hpp>
#include <optional>

namespace oskel {

// A literal IPv4 (four decimal groups, no leading zeros) or IPv6 text; an IPv4-mapped one becomes IPv4.
// Nothing for a null pointer, host names, blanks and everything else. Never asks the network.
std::optional<asio::ip::address> parseAddress(const char* text);

// What a datagram socket is bound to when the operator named `local`: a socket on a loopback address reaches
// no other host, and a machine's own name often stands for one, so it is taken as any, unless the remote is
// loopback too or unspecified (nobody). Both of one family.
asio::ip::address bindAddress(const asio::ip::address& local, const asio::ip::address& remote);

inline bool isPort(int number) { return number >= 0 && number <= 65535; }

}  // namespace oskel
