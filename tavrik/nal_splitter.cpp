#include "tavrik/nal_splitter.h"

#include <algorithm>
#include <cstring>

namespace tavrik {

void NalSplitter::push(const std::uint8_t* data, std::size_t size) {
    m_buffer.insert(m_buffer.end(), data, data + size);
    std::size_t at = std::max(m_scanned, m_begin + 2);
    while (at < m_buffer.size()) {
        // The 1 of a start code is rare, two zeros are not: memchr for the 1 skips most of a picture.
        const void* hit = std::memchr(m_buffer.data() + at, 1, m_buffer.size() - at);
        if (hit == nullptr) {
            break;
        }
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - m_buffer.data());
        if (m_buffer[at - 1] == 0 && m_buffer[at - 2] == 0) {
            emit(at - 2);
            m_inNal = true;
            m_begin = at + 1;
            m_openStamp = m_stamp;
            m_stamp.pts = m_stamp.dts = kNoTime;
            at += 2;
        }
        ++at;
    }
    m_scanned = m_buffer.size();
    dropProcessed();
}

void NalSplitter::emit(std::size_t end, bool damaged) {
    std::size_t last = end;
    while (last > m_begin && m_buffer[last - 1] == 0) {
        --last;
    }
    if (!m_inNal) {
        m_stray = m_stray || last > m_begin;
        return;
    }
    if (last > m_begin) {
        m_sink({m_buffer.data() + m_begin, last - m_begin, m_base + m_begin, m_base + last, m_openStamp,
                damaged});
    }
}

Nal NalSplitter::begun() const {
    return {m_buffer.data() + m_begin,
            m_buffer.size() - m_begin,
            m_base + m_begin,
            position(),
            m_openStamp,
            false};
}

void NalSplitter::dropProcessed() {
    if (!m_inNal || m_buffer.size() - m_begin > kMaxNalBytes) {
        if (m_inNal) {
            m_inNal = false;
        }
        emit(m_buffer.size());
        m_begin = m_buffer.size() > 2 ? std::max(m_begin, m_buffer.size() - 2) : m_begin;
    }
    if (m_begin == 0) {
        return;
    }
    m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(m_begin));
    m_base += m_begin;
    m_scanned -= std::min(m_scanned, m_begin);
    m_begin = 0;
    giveBack();
}

// One giant picture must not hold its memory for ever.
void NalSplitter::giveBack() {
    constexpr std::size_t kKeepBytes = 1u << 20;
    if (m_buffer.capacity() > kKeepBytes && m_buffer.size() < kKeepBytes / 4) {
        std::vector<std::uint8_t>(m_buffer).swap(m_buffer);
    }
}

void NalSplitter::flush() {
    emit(m_buffer.size());
    std::size_t zeros = 0;
    while (zeros < 2 && zeros < m_buffer.size() - m_begin && m_buffer[m_buffer.size() - 1 - zeros] == 0) {
        ++zeros;
    }
    m_base += m_buffer.size() - zeros;
    m_buffer.assign(zeros, 0);
    m_begin = 0;
    m_scanned = 0;
    m_inNal = false;
    m_stray = false;
    giveBack();
}

void NalSplitter::lost() {
    emit(m_buffer.size(), true);
    m_base += m_buffer.size();
    m_buffer.clear();
    m_begin = m_scanned = 0;
    m_inNal = m_stray = false;
    giveBack();
}

void NalSplitter::reset() {
    m_buffer = {};
    m_base = 0;
    m_begin = m_scanned = 0;
    m_inNal = m_stray = false;
    m_stamp = m_openStamp = Stamp{};
}

}  // namespace tavrik
