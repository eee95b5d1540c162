#include "tavrik/datagram_source.h"

#include <vector>

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
        const int got = m_socket.receive(datagram.data(), datagram.size(), kWaitMs);
        if (got > 0) {
            sink.onBytes(datagram.data(), static_cast<std::size_t>(got));
        }
        if (got < 0) {
            m_socket.close();
            sink.pause(kRetryMs);
        }
    }
    m_socket.close();
}

}  // namespace tavrik
