// Rebuilds an elementary stream from fixed blocks that begin with a configured header.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace sorvane {

// One writer; holds at most 2048 bytes between datagrams.
class BlockReassembler {
public:
    static constexpr std::size_t kBlockSize = 256;
    static constexpr std::size_t kCapacity = 2048;

    // Takes a datagram and hands the payload of each whole block to sink(data, size), in order. A datagram
    // that does not fit is lost with everything m_held. With an empty header every position begins a block;
    // one longer than a block finds none.
    template <typename Sink>
    void take(const std::uint8_t* data, std::size_t size, const std::string& header, Sink&& sink) {
        if (!append(data, size)) {
            return;
        }
        std::size_t p = 0;
        while (p + kBlockSize <= m_held) {
            if (headerAt(p, header)) {
                sink(m_buffer.data() + p + header.size(), kBlockSize - header.size());
                p += kBlockSize;
            } else {
                ++p;
            }
        }
        drop(p);
    }
    std::size_t heldBytes() const { return m_held; }

private:
    bool append(const std::uint8_t* data, std::size_t size);
    bool headerAt(std::size_t position, const std::string& header) const;
    void drop(std::size_t count);

    std::array<std::uint8_t, kCapacity> m_buffer{};
    std::size_t m_held = 0;
};

}  // namespace sorvane
