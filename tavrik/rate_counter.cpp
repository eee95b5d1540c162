#include "tavrik/rate_counter.h"

namespace tavrik {
namespace {
constexpr std::int64_t kWindowUs = 1000000;
}

void RateCounter::addPicture(std::int64_t now_us) {
    forget(now_us);
    m_pictures.push_back(now_us);
}

void RateCounter::addBytes(std::int64_t now_us, std::size_t bytes) {
    forget(now_us);
    m_amounts.push_back({now_us, bytes});
    m_bytes += bytes;
}

float RateCounter::fps(std::int64_t now_us) {
    forget(now_us);
    return static_cast<float>(m_pictures.size());
}

int RateCounter::kilobits(std::int64_t now_us) {
    forget(now_us);
    return static_cast<int>(m_bytes * 8 / 1000);
}

void RateCounter::forget(std::int64_t now_us) {
    while (!m_pictures.empty() && m_pictures.front() <= now_us - kWindowUs) {
        m_pictures.pop_front();
    }
    while (!m_amounts.empty() && m_amounts.front().at_us <= now_us - kWindowUs) {
        m_bytes -= m_amounts.front().bytes;
        m_amounts.pop_front();
    }
}

}  // namespace tavrik
