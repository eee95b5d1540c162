#include "tavrik/datagram_source.h"

namespace tavrik {
namespace {
constexpr int kWaitMs = 50;  // bounds the time until a stop is noticed
constexpr int kRetryMs = 200;
constexpr std::size_t kLargestDatagram = 65536;
}  // namespace

void DatagramSource::run(SourceSink& sink) {
    std::vector<std::uint8_t> datagram(kLargestDatagram);
    while (!sink.stopped()) {
        if (!m_socket.isOpen() && !m_socket.open(m_address)) {
            sink.pause(kRetryMs);
            continue;
        }
        if (!receiveAll(sink, datagram) || !m_socket.wait(kWaitMs)) {
            m_socket.close();
            sink.pause(kRetryMs);
        }
    }
    m_socket.close();
}

// Hands on what waits in the system. False for a broken socket.
bool DatagramSource::receiveAll(SourceSink& sink, std::vector<std::uint8_t>& datagram) {
    // Between the system and the sink a datagram is in neither; the mark covers that.
    m_taking = true;
    int got = m_socket.receive(datagram.data(), datagram.size());
    while (got > 0 && !sink.stopped()) {
        sink.onBytes(datagram.data(), static_cast<std::size_t>(got));
        got = m_socket.receive(datagram.data(), datagram.size());
    }
    m_taking = false;
    return got >= 0;
}

}  // namespace tavrik
