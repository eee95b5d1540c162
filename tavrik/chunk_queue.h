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
    Stamp stamp;              // the queue sets the arrival where the source has not
    SharedParameters format;  // null: bytes of unknown form
    bool ends_picture = false;
    bool after_loss = false;
    bool ends_stream = false;  // nothing will come any more
};

// One sender, one taker; bounded by bytes.
class ChunkQueue {
public:
    enum class Taken { kChunk, kSilence, kClosed };
    static constexpr std::size_t kMaxBytes = 32u << 20;

    // With no room left either waits for it or drops the chunk.
    void push(Chunk chunk, bool wait_for_room) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (wait_for_room) {
            m_room.wait(lock, [this] { return m_closed || m_bytes < kMaxBytes; });
        }
        if (m_closed || m_bytes >= kMaxBytes) {
            return;
        }
        m_bytes += cost(chunk);
        if (chunk.stamp.arrival == std::chrono::steady_clock::time_point{}) {
            chunk.stamp.arrival = std::chrono::steady_clock::now();
        }
        m_chunks.push_back(std::move(chunk));
        m_arrived.notify_one();
    }

    // Silence after silence_ms without a chunk; a negative value waits for ever.
    Taken pop(Chunk& chunk, int silence_ms) {
        std::unique_lock<std::mutex> lock(m_mutex);
        const auto ready = [this] { return m_closed || !m_chunks.empty(); };
        if (silence_ms < 0) {
            m_arrived.wait(lock, ready);
        } else if (!m_arrived.wait_until(
                       lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(silence_ms),
                       ready)) {
            return Taken::kSilence;
        }
        if (m_closed) {
            return Taken::kClosed;
        }
        chunk = std::move(m_chunks.front());
        m_chunks.pop_front();
        m_bytes -= cost(chunk);
        m_room.notify_one();
        return Taken::kChunk;
    }

    bool empty() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_chunks.empty();
    }

    void close() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
        m_arrived.notify_all();
        m_room.notify_all();
    }

private:
    // The smallest of datagrams takes this much beside its bytes.
    static std::size_t cost(const Chunk& chunk) { return chunk.data.size() + sizeof(Chunk) + 32; }

    std::mutex m_mutex;
    std::condition_variable m_arrived, m_room;
    std::deque<Chunk> m_chunks;
    std::size_t m_bytes = 0;
    bool m_closed = false;
};

}  // namespace tavrik
