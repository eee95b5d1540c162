// Writes parameter sets and slices bit by bit for the tests, by the standards' syntax tables.
#pragma once

#include <cstdint>
#include <vector>

namespace tavrik::test {

class BitWriter {
public:
    BitWriter& u(int count, std::uint32_t value) {
        for (int i = count - 1; i >= 0; --i) {
            m_bits.push_back(((value >> i) & 1) != 0);
        }
        return *this;
    }
    BitWriter& ue(std::uint32_t value) {
        int length = 0;
        while (((value + 1) >> (length + 1)) != 0) {
            ++length;
        }
        return u(length, 0).u(length + 1, value + 1);
    }
    BitWriter& se(int value) {
        return ue(value > 0 ? 2u * value - 1 : static_cast<std::uint32_t>(-2 * value));
    }
    // Head bytes, then the bits with the stop bit, then filling up to the size; emulation prevented.
    std::vector<std::uint8_t> nal(const std::vector<std::uint8_t>& head, std::size_t size = 0,
                                  std::uint8_t filling = 0x99) const {
        std::vector<bool> bits = m_bits;
        bits.push_back(true);
        while (bits.size() % 8 != 0) {
            bits.push_back(false);
        }
        std::vector<std::uint8_t> out = head;
        int zeros = 0;
        for (std::size_t i = 0; i < bits.size(); i += 8) {
            std::uint8_t byte = 0;
            for (std::size_t b = 0; b < 8; ++b) {
                byte = static_cast<std::uint8_t>((byte << 1) | (bits[i + b] ? 1 : 0));
            }
            if (zeros >= 2 && byte <= 3) {
                out.push_back(3);
                zeros = 0;
            }
            zeros = byte == 0 ? zeros + 1 : 0;
            out.push_back(byte);
        }
        while (out.size() < size) {
            out.push_back(filling);
        }
        return out;
    }

private:
    std::vector<bool> m_bits;
};

}  // namespace tavrik::test
