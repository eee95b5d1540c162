#include "video/block_reassembler.h"

#include <cstring>

namespace sorvane {

bool BlockReassembler::append(const std::uint8_t* data, std::size_t size) {
    if (size > kCapacity || m_held + size > kCapacity) {
        m_held = 0;
        return false;
    }
    // An empty datagram may come without an address.
    if (size > 0) {
        std::memcpy(m_buffer.data() + m_held, data, size);
        m_held += size;
    }
    return true;
}

bool BlockReassembler::headerAt(std::size_t position, const std::string& header) const {
    return header.size() <= kBlockSize &&
           std::memcmp(m_buffer.data() + position, header.data(), header.size()) == 0;
}

void BlockReassembler::drop(std::size_t count) {
    m_held -= count;
    std::memmove(m_buffer.data(), m_buffer.data() + count, m_held);
}

}  // namespace sorvane
