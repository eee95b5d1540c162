// Datagrams on a local port.
#pragma once

#include "tavrik/datagram_socket.h"
#include "tavrik/source.h"

namespace tavrik {

// Binds in the constructor, so that nothing sent after it is missed; a port that is taken is tried again
// while running.
class DatagramSource : public Source {
public:
    explicit DatagramSource(const DatagramAddress& address) : address_(address) { socket_.open(address_); }
    void run(SourceSink& sink) override;
    bool bytesWaiting() const override { return socket_.readable(); }

private:
    DatagramAddress address_;
    DatagramSocket socket_;
};

}  // namespace tavrik
