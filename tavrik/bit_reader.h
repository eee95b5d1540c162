// Bits of a NAL unit, most significant first; emulation-prevention bytes are skipped.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrik {

// Beyond the end it reads zeros, and ok() is false from then on.
class BitReader {
public:
    BitReader(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    bool ok() const { return m_ok; }

    std::uint32_t bit() {
        if (m_left == 0 && !nextByte()) {
            return 0;
        }
        --m_left;
        return (m_byte >> m_left) & 1u;
    }

    std::uint32_t bits(int count) {
        std::uint32_t value = 0;
        for (; count > 0; --count) {
            value = (value << 1) | bit();
        }
        return value;
    }

    void skip(int count) {
        for (; count > 0; --count) {
            bit();
        }
    }

    // Exp-Golomb, without and with sign; a code above 32 bits is a fault.
    std::uint32_t ue() {
        int zeros = 0;
        while (m_ok && bit() == 0) {
            ++zeros;
        }
        if (zeros > 31) {
            m_ok = false;
        }
        return m_ok ? (1u << zeros) - 1 + bits(zeros) : 0;
    }
    std::int32_t se() {
        const std::uint32_t code = ue();
        const auto half = static_cast<std::int32_t>(code / 2);
        return (code & 1) != 0 ? half + 1 : -half;
    }

private:
    bool nextByte() {
        if (m_at < m_size && m_zeros >= 2 && m_data[m_at] == 3) {
            ++m_at;
            m_zeros = 0;
        }
        if (m_at >= m_size) {
            m_ok = false;
            return false;
        }
        m_byte = m_data[m_at++];
        m_zeros = m_byte == 0 ? m_zeros + 1 : 0;
        m_left = 8;
        return true;
    }

    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
    std::uint32_t m_byte = 0;
    int m_left = 0;
    int m_zeros = 0;
    bool m_ok = true;
};

}  // namespace tavrik
