// What the operating systems do differently about sockets and serial devices; one source file a system.
#pragma once

#include <asio/ip/tcp.hpp>
#include <asio/ip/udp.hpp>
#include <asio/serial_port.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

namespace oskel::system {

// The device to open for the name that the operator sees; empty for a name that cannot be a serial port.
std::string serialDevice(const std::string& port_name);

// Bytes written to the line and not yet on the wire; 0 if the device does not say.
std::size_t unsent(asio::serial_port& line);
// Bytes of datagrams that the system has taken and still holds; 0 if it does not say.
std::size_t unsent(asio::ip::udp::socket& socket);
// Makes the system report what it learns about datagrams that it has taken, where it can.
void reportFailures(asio::ip::udp::socket& socket);
// The next such report, or no error. While one waits, the next send or receive may fail in its place.
asio::error_code takeReport(asio::ip::udp::socket& socket);

// Bytes given to the stream that have not been sent, and those that the peer has not acknowledged; 0 if the
// system does not say.
std::size_t unsent(asio::ip::tcp::socket& socket);
std::size_t unacknowledged(asio::ip::tcp::socket& socket);

// Throws away what has not been sent or read, so that closing the device does not wait for it.
void discard(asio::serial_port& line);
// Writes what the device takes at once and returns how much that was; 0 also where only queued writes exist.
std::size_t writeNow(asio::serial_port& line, const std::uint8_t* data, std::size_t size);

// Programs that the station starts must not hold its ports open.
void keepFromChildren(asio::ip::udp::socket& socket);
void keepFromChildren(asio::ip::tcp::socket& socket);
void keepFromChildren(asio::serial_port& line);

// Some systems hand a socket every group that any program of the machine has joined; this one wants its own.
void takeJoinedGroupsOnly(asio::ip::udp::socket& socket);

// For debuggers and process lists; at most 15 characters.
void nameThisThread(const char* name);

}  // namespace oskel::system
