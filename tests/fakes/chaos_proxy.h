// A bad network between two programs on this machine: UDP and TCP proxies on loopback that lose, repeat,
// reorder, damage, delay and hold what passes. What happens to the n-th datagram (UDP) or byte (TCP) of a
// direction follows from seed, direction and n alone, so that a failure can be run again.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace chaos {

// Probabilities 0..1. Loss, duplication and reordering concern datagrams; TCP would mend them.
struct Faults {
    double loss = 0;
    double duplication = 0;
    double reordering = 0;  // the datagram goes out after its successor, or 50 ms late
    double corruption = 0;  // one bit flips; per datagram, with TCP per byte
    std::chrono::milliseconds delay{0};
    std::size_t largest_chunk = 0;  // TCP: the stream is cut into runs of 1..largest_chunk; 0: as it comes
    std::size_t rate = 0;           // bytes a second at most, in order, nothing dropped; 0: as it comes
};

// The line rests: once so many bytes more have passed nothing goes out for a while, and what comes meanwhile
// waits.
struct Pause {
    std::size_t after_bytes = 0;  // since the pause before, or since the pauses were set
    std::chrono::milliseconds length{0};
};

struct Fate {
    bool lost = false;
    bool duplicated = false;
    bool held_back = false;
    int flipped_bit = -1;  // counted from the first byte's lowest bit; -1: none
};

// The sequence of fates of one direction.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : m_state(seed) {}
    // Takes the same number of draws whatever the faults are, so that switching one on leaves the others in
    // place.
    Fate next(const Faults& faults, std::size_t size);
    bool happens(double probability);
    std::size_t below(std::size_t limit);  // limit at least 1

private:
    std::uint64_t draw();
    std::uint64_t m_state;
};

// Datagrams, or with TCP bytes (`lost`, `duplicated`, `reordered` stay 0).
struct Counts {
    std::uint64_t arrived = 0;
    std::uint64_t lost = 0;  // those that came during a stall included
    std::uint64_t duplicated = 0;
    std::uint64_t reordered = 0;
    std::uint64_t corrupted = 0;
    std::uint64_t pauses = 0;   // that have begun
    std::uint64_t waiting = 0;  // UDP: bytes that a pause or the rate holds now
};

// Members of both proxies may be called from any thread; they take effect before they return. Construction
// throws std::system_error if the system gives no socket.

class UdpProxy {
public:
    // Listens on 127.0.0.1:listen_port (0: chosen by the system) for one client, whose datagrams go to
    // 127.0.0.1:target_port; what comes back goes to the client that wrote last.
    UdpProxy(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed);
    ~UdpProxy();

    std::uint16_t port() const;                 // for the client to write to
    std::uint16_t targetSide() const;           // where the target's datagrams have to arrive
    void setClient(std::uint16_t client_port);  // for a target that speaks first
    void setFaults(const Faults& toTarget, const Faults& toClient);
    // In the place of those that are left; datagrams are not cut, the rest begins behind one.
    void setPauses(std::vector<Pause> toTarget, std::vector<Pause> toClient);
    void stall(bool stalled);  // a stalled network of datagrams loses them all
    Counts toTarget() const;
    Counts toClient() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

class TcpProxy {
public:
    // Accepts any number of clients on 127.0.0.1:listen_port and connects each to 127.0.0.1:target_port.
    TcpProxy(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed);
    ~TcpProxy();

    std::uint16_t port() const;
    void setFaults(const Faults& toTarget, const Faults& toClient);
    // In the place of those that are left, at exactly those bytes; they count all connections together.
    void setPauses(std::vector<Pause> toTarget, std::vector<Pause> toClient);
    void stall(bool stalled);  // bytes wait in the senders' buffers, as behind a dead radio link
    void cut();                // resets every connection; new ones are accepted
    Counts toTarget() const;
    Counts toClient() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace chaos
