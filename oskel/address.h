// Literal addresses and port numbers from text that nobody has checked.
#pragma once

#include <asio/ip/address.hpp>
#include <optional>

namespace oskel {

// A literal IPv4 (four decimal groups, no leading zeros) or IPv6 text; an IPv4-mapped one becomes IPv4.
// Nothing for a null pointer, host names, blanks and everything else. Never asks the network.
std::optional<asio::ip::address> parseAddress(const char* text);

inline bool isPort(int number) { return number >= 0 && number <= 65535; }

}  // namespace oskel
