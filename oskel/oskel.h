// Byte ports of the station: serial lines, UDP and TCP behind five operations, and three more that tell and
// order what happens on slow and broken lines.
#pragma once

#include <cstdint>
#include <functional>

namespace oskel {

// A run of received bytes. `data` is valid only during the call; `length` is at least 1; `context` is 0.
// Called on the port's own receive thread, one thread a port, never on the caller's. It must not throw.
// An empty function discards what comes in.
using ReceiveCallback =
    std::function<void(const std::uint8_t* data, std::int32_t length, std::int32_t context)>;

// Opens a UDP port bound to local_ip:local_port (empty address: any; port 0: chosen by the system). A
// loopback local_ip is taken as any when remote_ip is neither loopback nor empty, since nothing sent from it
// could leave the machine. Datagrams are sent to remote_ip:remote_port and taken from remote_ip alone (from
// any source port) when remote_port is not 0, else from anybody; a multicast group in remote_ip is joined on
// local_ip (any: on the interface that the system prefers, and within this machine). Nobody sends from a
// group, a broadcast or the unspecified address, so with one of those datagrams are taken from anybody. With
// remote_port 0 (remote_ip may then be empty) the port only receives. Addresses are literal IPv4 or IPv6
// texts, of one family; ports 0..65535. Empty datagrams are not reported. Returns a handle of at least 1, or
// -1 on bad text, a null pointer, a port out of range, a failed bind or join.
int dialDatagram(const char* remote_ip, int remote_port, const char* local_ip, int local_port,
                 ReceiveCallback on_bytes);

// Connects a TCP stream to the literal address remote_ip, port 1..65535; blocks the caller for 2 s at the
// most. Returns a handle of at least 1, or exactly 0 on failure. A peer that closes or resets ends the port
// quietly: the handle stays valid and takes no bytes.
int dialStream(const char* remote_ip, int port, ReceiveCallback on_bytes);

// Opens a serial device (8 data bits, no parity, 1 stop bit, no flow control) by port name ("ttyUSB0" or a
// full path; "COM5" on Windows) at `baud` bits per second, any rate that the system has. Returns a handle of
// at least 1, or -1 on failure. A device that vanishes ends its port quietly, as above.
int dialSerial(const char* port_name, int baud, ReceiveCallback on_bytes);

// Sends a run of `length` bytes; never blocks. Datagrams that the system does not take at once are dropped;
// streams and serial lines queue up to 64 KiB, beyond which the whole run is dropped. Runs leave whole, one
// after the other: a serial line is given the next when the one before is nearly out, at 10 bits a byte of
// the opened rate; a stream when nothing is left unsent. May be called from any thread, also from within or
// during the receive callback. Returns the bytes taken, which is `length` or 0, or -1 for bad arguments and
// for a handle that is unknown, closed or ended.
int push_bytes(const void* data, int length, int handle);

// Closes the port; returns within 1 s whatever the peer or the callback does. After it has returned no
// callback starts; one that does not return is left behind with all that it uses, and its thread ends when it
// returns. May be called from within the callback, and then drops what is queued; otherwise what is queued
// for a stream or a serial line goes out first, as far as it does within 850 ms. Returns 0, or -1 for a
// handle that is not open.
int hang_up(int handle);

// Makes the next run that the calling thread pushes on this handle go ahead of all waiting runs that are not
// marked; marked runs keep their order. A run already begun is not cut. There is room for 4 KiB of marked
// runs when the 64 KiB are full. Without meaning for datagrams and for handles that are not open. Any thread;
// never blocks.
void mark_ahead(int handle);

// 0 if a run pushed now would begin to leave at once, else the milliseconds, at least 1, after which it makes
// sense to ask again: a caller that sends periodically puts its tick off by them, so that what it sends is
// new when it leaves. Always 0 for datagrams and for handles that are not open or have ended. Any thread;
// never blocks.
int line_busy_ms(int handle);

enum class SendTrouble {
    kNone,
    kUnreachable,  // no route, or the network or host does not answer
    kRefused,      // the host is there, and nobody listens at that port
    kStuck,  // something pushed has waited for more than a second: too much for the line, or nobody takes it
    kGone,   // the device has vanished, the stream has ended or was reset; the handle takes nothing any more
    kOther,
};

// What is known to be wrong with sending on this handle; kNone also for handles that are not open. A trouble
// with datagrams stands until a second and a half have passed without another, in which one was sent or came
// from the peer: hosts report each one's fate only once a second. It costs no datagram and no time. Any
// thread; never blocks.
SendTrouble send_trouble(int handle);

}  // namespace oskel
