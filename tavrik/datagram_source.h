// Datagrams on a local port.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "tavrik/datagram_socket.h"
#include "tavrik/source.h"

namespace tavrik {

// Binds in the constructor, so that nothing sent after it is missed; a port that is taken is tried again
// while running.
class DatagramSource : public Source {
public:
    explicit DatagramSource(const DatagramAddress& address) : m_address(address) { m_socket.open(m_address); }
    void run(SourceSink& sink) override;
    // A false is certain only together with what the sink has got: look here first, then into the sink's
    // queue.
    bool bytesWaiting() const override { return m_socket.readable() || m_taking; }

private:
    bool receiveAll(SourceSink& sink, std::vector<std::uint8_t>& datagram);

    DatagramAddress m_address;
    DatagramSocket m_socket;
    std::atomic<bool> m_taking{false};
};

}  // namespace tavrik
