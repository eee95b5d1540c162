// A UDP socket that listens for a video stream.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "tavrik/address.h"

namespace tavrik {

// One thread at a time, but for readable().
class DatagramSocket {
public:
    DatagramSocket() = default;
    ~DatagramSocket() { close(); }
    DatagramSocket(const DatagramSocket&) = delete;
    DatagramSocket& operator=(const DatagramSocket&) = delete;

    // Binds the port on the interface (any if it is not an address of this machine), asks for a receive
    // buffer of 8 MiB, and joins the sender's address if it is a multicast group (on any: on the interface
    // that the system prefers, and within this machine). False if the port is taken.
    bool open(const DatagramAddress& address);
    void close();
    bool isOpen() const { return m_handle != kNone; }

    // Takes a datagram that waits. Its bytes, 0 if there is none (or it is empty), -1 for a broken socket.
    int receive(std::uint8_t* to, std::size_t capacity);
    // Waits up to timeout_ms until a datagram can be received. False for a broken socket.
    bool wait(int timeout_ms);
    // True if a datagram waits. Any thread; a guess while another one opens or closes.
    bool readable() const;

private:
    static constexpr std::intptr_t kNone = -1;
    std::atomic<std::intptr_t> m_handle{kNone};
};

}  // namespace tavrik
