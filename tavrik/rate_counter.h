// Pictures per second and kilobits per second over the last second.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

namespace tavrik {

// Not thread-safe; time comes in, in microseconds of any clock that never runs back.
class RateCounter {
public:
    void addPicture(std::int64_t now_us);
    void addBytes(std::int64_t now_us, std::size_t bytes);
    // Pictures within the last second, a picture counting from its arrival until one second later.
    float fps(std::int64_t now_us);
    // Payload bits / 1000 within the last second.
    int kilobits(std::int64_t now_us);

private:
    struct Amount {
        std::int64_t at_us;
        std::size_t bytes;
    };
    void forget(std::int64_t now_us);

    std::deque<std::int64_t> m_pictures;
    std::deque<Amount> m_amounts;
    std::uint64_t m_bytes = 0;
};

}  // namespace tavrik
