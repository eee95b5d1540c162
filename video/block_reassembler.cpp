#include "video/block_reassembler.h"

#include <cstring>

namespace sorvane {

bool BlockReassembler::append(const std::uint8_t* data, std::size_t size) {
    if (size > kCapacity || held + size > kCapacity) {
        held = 0;
        return false;
    }
    std::memcpy(buffer.data() + held, data, size);
    held += size;
    return true;
}

bool BlockReassembler::headerAt(std::size_t position, const std::string& header) const {
    return header.size() <= kBlockSize &&
           std::memcmp(buffer.data() + position, header.data(), header.size()) == 0;
}

void BlockReassembler::drop(std::size_t count) {
    held -= count;
    std::memmove(buffer.data(), buffer.data() + count, held);
}

}  // namespace sorvane
