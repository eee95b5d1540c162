#include "tavrik/rate_counter.h"

namespace tavrik {
namespace {
constexpr std::int64_t kWindowUs = 1000000;
}

void RateCounter::addPicture(std::int64_t now_us) {
    forget(now_us);
    pictures_.push_back(now_us);
}

void RateCounter::addBytes(std::int64_t now_us, std::size_t bytes) {
    forget(now_us);
    amounts_.push_back({now_us, bytes});
    bytes_ += bytes;
}

float RateCounter::fps(std::int64_t now_us) {
    forget(now_us);
    return static_cast<float>(pictures_.size());
}

int RateCounter::kilobits(std::int64_t now_us) {
    forget(now_us);
    return static_cast<int>(bytes_ * 8 / 1000);
}

void RateCounter::forget(std::int64_t now_us) {
    while (!pictures_.empty() && pictures_.front() <= now_us - kWindowUs)
        pictures_.pop_front();
    while (!amounts_.empty() && amounts_.front().at_us <= now_us - kWindowUs) {
        bytes_ -= amounts_.front().bytes;
        amounts_.pop_front();
    }
}

}  // namespace tavrik
