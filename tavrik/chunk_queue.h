// Between the thread that receives and the thread that decodes.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "tavrik/source.h"

namespace tavrik {

struct Chunk {
    std::vector<std::uint8_t> data;
    std::int64_t pts = AV_NOPTS_VALUE;
    SharedParameters format;                          // null: bytes of unknown form
    std::chrono::steady_clock::time_point arrived{};  // set by the queue
};

// One sender, one taker; bounded by bytes.
class ChunkQueue {
public:
    enum class Taken { Chunk, Silence, Closed };
    static constexpr std::size_t kMaxBytes = 32u << 20;

    // With no room left either waits for it or drops the chunk.
    void push(Chunk chunk, bool wait_for_room) {
        std::unique_lock<std::mutex> lock(mutex_);
        if (wait_for_room) room_.wait(lock, [this] { return closed_ || bytes_ < kMaxBytes; });
        if (closed_ || bytes_ >= kMaxBytes) return;
        bytes_ += chunk.data.size();
        chunk.arrived = std::chrono::steady_clock::now();
        chunks_.push_back(std::move(chunk));
        arrived_.notify_one();
    }

    // Silence after silence_ms without a chunk; a negative value waits for ever.
    Taken pop(Chunk& chunk, int silence_ms) {
        std::unique_lock<std::mutex> lock(mutex_);
        const auto ready = [this] { return closed_ || !chunks_.empty(); };
        if (silence_ms < 0) {
            arrived_.wait(lock, ready);
        } else if (!arrived_.wait_until(
                       lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(silence_ms),
                       ready)) {
            return Taken::Silence;
        }
        if (closed_) return Taken::Closed;
        chunk = std::move(chunks_.front());
        chunks_.pop_front();
        bytes_ -= chunk.data.size();
        room_.notify_one();
        return Taken::Chunk;
    }

    void close() {
        const std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
        arrived_.notify_all();
        room_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_, room_;
    std::deque<Chunk> chunks_;
    std::size_t bytes_ = 0;
    bool closed_ = false;
};

}  // namespace tavrik
