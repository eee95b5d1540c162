// Datagrams on a local port.
#pragma once

#include "tavrik/datagram_socket.h"
#include "tavrik/source.h"

namespace tavrik {

// Binds in the constructor, so that nothing sent after it is missed; a port that is taken is tried again
// while running.
class DatagramSource : public Source {
public:
    explicit DatagramSource(const DatagramAddress& address) : m_address(address) { m_socket.open(m_address); }
    void run(SourceSink& sink) override;
    bool bytesWaiting() const override { return m_socket.readable(); }

private:
    DatagramAddress m_address;
    DatagramSocket m_socket;
};

}  // namespace tavrik
