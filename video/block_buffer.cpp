#include "video/block_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace sorvane {

BlockBuffer::BlockBuffer(const BlockBufferFields& fields, std::function<void(const char*)> fatal)
    : m_fields(fields), m_fatal(std::move(fatal)) {}

unsigned char* BlockBuffer::allocated(int size, const char* what) {
    auto* block = new (std::nothrow) unsigned char[static_cast<std::size_t>(size)];
    if (block == nullptr) {
        m_fatal(what);
    }
    return block;
}

void BlockBuffer::open() {
    const std::lock_guard<std::mutex> lock(m_fields.mutex);
    delete[] m_fields.data;
    m_fields.capacity = kFirstCapacity;
    m_fields.size = 0;
    m_fields.data = allocated(m_fields.capacity, "m_recv_buf_udp");
    m_room = m_fields.capacity;
}

void BlockBuffer::close() {
    const std::lock_guard<std::mutex> lock(m_fields.mutex);
    delete[] m_fields.data;
    m_fields.data = nullptr;
    m_fields.capacity = 0;
    m_fields.size = 0;
    m_room = 0;
}

// Behind a capacity that grows block by block the room doubles: copying megabytes for each block of a stalled
// reader would hold the line up.
void BlockBuffer::grow(int size) {
    if (size > m_room) {
        const int room = std::min(std::max(size, 2 * m_room), kMaxSize);
        unsigned char* grown = allocated(room, "buf_new");
        std::memcpy(grown, m_fields.data, static_cast<std::size_t>(m_fields.size));
        delete[] m_fields.data;
        m_fields.data = grown;
        m_room = room;
    }
    m_fields.capacity = size;
}

bool BlockBuffer::append(const unsigned char* data, int size) {
    const std::lock_guard<std::mutex> lock(m_fields.mutex);
    // A callback that outlived its port finds nothing to write to.
    if (m_fields.data == nullptr || size <= 0) {
        return true;
    }
    if (size > kMaxSize - m_fields.size) {
        return false;
    }
    if (m_fields.size + size > m_fields.capacity) {
        grow(m_fields.size + size);
    }
    std::memcpy(m_fields.data + m_fields.size, data, static_cast<std::size_t>(size));
    m_fields.size += size;
    return true;
}

int BlockBuffer::read(unsigned char* dest, int capacity) {
    const std::lock_guard<std::mutex> lock(m_fields.mutex);
    const int count = std::min(m_fields.size, capacity);
    if (count <= 0) {
        return 0;
    }
    std::memcpy(dest, m_fields.data, static_cast<std::size_t>(count));
    m_fields.size -= count;
    std::memmove(m_fields.data, m_fields.data + count, static_cast<std::size_t>(m_fields.size));
    return count;
}

}  // namespace sorvane
