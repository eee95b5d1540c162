// Speed of the control-link reassembler, as ratios within one run: against memcpy of the same bytes and
// against a plain state machine that takes one byte at a time. Payloads and event objects are allocated as in
// the program and released some frames later, as the main thread does.
#include <QEvent>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "app/events/my_event.h"
#include "base/bytes.h"
#include "base/checksum.h"
#include "telemetry/control_link_reassembler.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t kStreamSize = std::size_t{32} << 20;
constexpr int kRounds = 9;

// The events posted and not yet handled: a short queue, the oldest handled when it is full.
class EventQueue {
public:
    ~EventQueue() {
        for (QMyEvent* event : m_pending) {
            release(event);
        }
    }
    void telemetry(const std::uint8_t* record) { post(EVT_TELEMETRY, record, 60, 0); }
    void linkFrame(const std::uint8_t* payload, std::int32_t size) {
        post(EVT_LINK_FRAME, payload, size, size);
    }
    std::size_t posted() const { return m_posted; }

private:
    static void release(QMyEvent* event) {
        if (event == nullptr) {
            return;
        }
        std::free(event->data);
        delete event;
    }
    void post(int type, const std::uint8_t* payload, std::int32_t bytes, std::int32_t size) {
        void* block = std::malloc(static_cast<std::size_t>(std::max(bytes, 1)));
        std::memcpy(block, payload, static_cast<std::size_t>(bytes));
        QMyEvent*& slot = m_pending[m_posted++ % m_pending.size()];
        release(slot);
        slot = new QMyEvent(type, nullptr, block, size);
    }
    std::array<QMyEvent*, 16> m_pending = {};
    std::size_t m_posted = 0;
};

// What one writes first: a state, a running checksum, a switch for each byte.
class PlainMachine {
public:
    void feed(const std::uint8_t* data, std::int32_t n, EventQueue& queue) {
        for (std::int32_t i = 0; i < n; ++i) {
            take(data[i], queue);
        }
    }

private:
    enum State { kFirst, kSecond, kKind, kRecord, kRecordXor, kEnd, kLength, kPayload, kPayloadXor };

    void take(std::uint8_t byte, EventQueue& queue) {
        switch (m_state) {
            case kFirst:
                m_state = byte == 0xFC ? kSecond : kFirst;
                break;
            case kSecond:
                m_state = byte == 0x2C ? kKind : byte == 0xFC ? kSecond : kFirst;
                break;
            case kKind:
                m_count = 0;
                m_xor = 0;
                if (byte == 0x55) {
                    m_state = kLength;
                } else {
                    append(byte);
                    m_state = kRecord;
                }
                break;
            case kRecord:
                append(byte);
                if (m_count == 60) {
                    m_state = kRecordXor;
                }
                break;
            case kRecordXor:
                m_good = byte == m_xor;
                m_state = kEnd;
                break;
            case kEnd:
                if (m_good && byte == 0xF0) {
                    sorvane::positionsToInteger(m_payload);
                    queue.telemetry(m_payload);
                }
                m_state = kFirst;
                break;
            case kLength:
                m_length = byte;
                m_xor = byte;
                m_state = m_length == 0 ? kPayloadXor : kPayload;
                break;
            case kPayload:
                append(byte);
                if (m_count == m_length) {
                    m_state = kPayloadXor;
                }
                break;
            case kPayloadXor:
                if (byte == m_xor) {
                    queue.linkFrame(m_payload, m_length);
                }
                m_state = kFirst;
                break;
        }
    }
    void append(std::uint8_t byte) {
        m_payload[m_count++] = byte;
        m_xor = static_cast<std::uint8_t>(m_xor ^ byte);
    }

    State m_state = kFirst;
    bool m_good = false;
    std::uint8_t m_xor = 0;
    int m_count = 0;
    int m_length = 0;
    std::uint8_t m_payload[256] = {};
};

Bytes noise() {
    std::mt19937_64 random(1);
    Bytes stream(kStreamSize);
    for (std::size_t i = 0; i < stream.size(); i += 8) {
        sorvane::storeU64(&stream[i], random());
    }
    return stream;
}

Bytes cleanFixedFrames() {
    Bytes stream = noise();
    for (std::size_t at = 0; at < stream.size(); at += 64) {
        std::uint8_t* frame = &stream[at];
        frame[0] = 0xFC;
        frame[1] = 0x2C;
        frame[2] = 1;
        sorvane::storeF32(frame + 29, 114.4F);
        sorvane::storeF32(frame + 33, 30.4F);
        frame[62] = sorvane::frameXor(frame + 2, 60);
        frame[63] = 0xF0;
    }
    return stream;
}

Bytes repeated(std::initializer_list<std::uint8_t> pattern) {
    Bytes stream(kStreamSize);
    for (std::size_t i = 0; i < stream.size(); ++i) {
        stream[i] = pattern.begin()[i % pattern.size()];
    }
    return stream;
}

using Work = std::function<void()>;

// The works in turn, some rounds of it, so that what else the machine does falls on all alike; the best of
// each, in seconds.
std::vector<double> bestInTurn(const std::vector<Work>& works) {
    std::vector<double> least(works.size(), 1e9);
    for (int round = 0; round < kRounds; ++round) {
        for (std::size_t i = 0; i < works.size(); ++i) {
            const auto begin = std::chrono::steady_clock::now();
            works[i]();
            const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
            least[i] = std::min(least[i], took.count());
        }
    }
    return least;
}

template <typename Machine, typename Queue = EventQueue>
Work feedAll(const Bytes& stream, std::size_t bytes, std::size_t chunk, std::size_t& posted) {
    return [&stream, bytes, chunk, &posted] {
        Machine machine;
        Queue queue;
        for (std::size_t at = 0; at < bytes; at += chunk) {
            machine.feed(&stream[at], static_cast<std::int32_t>(std::min(chunk, bytes - at)), queue);
        }
        posted = queue.posted();
    };
}

Work copyAll(const Bytes& stream) {
    return [&stream, copy = std::make_shared<Bytes>(stream.size(), 1)] {
        std::memcpy(copy->data(), stream.data(), stream.size());
        volatile std::uint8_t sink = (*copy)[copy->size() / 2];
        static_cast<void>(sink);
    };
}

// Takes frames and keeps nothing: the reassembler without what it hands over.
class Counter {
public:
    void telemetry(const std::uint8_t* record) { m_posted += record[0] != 0; }
    void linkFrame(const std::uint8_t*, std::int32_t) { ++m_posted; }
    std::size_t posted() const { return m_posted; }

private:
    std::size_t m_posted = 0;
};

// Allocates the payloads alone, without the event objects.
class PayloadQueue {
public:
    ~PayloadQueue() {
        for (void* block : m_pending) {
            std::free(block);
        }
    }
    void telemetry(const std::uint8_t* record) {
        void*& slot = m_pending[m_posted++ % m_pending.size()];
        std::free(slot);
        slot = std::malloc(60);
        std::memcpy(slot, record, 60);
    }
    void linkFrame(const std::uint8_t*, std::int32_t) { ++m_posted; }
    std::size_t posted() const { return m_posted; }

private:
    std::array<void*, 16> m_pending = {};
    std::size_t m_posted = 0;
};

// What the allocations of a clean stream cost without any parsing: the least that any reassembler takes.
Work allocateAll(const Bytes& stream) {
    return [&stream] {
        EventQueue queue;
        for (std::size_t at = 0; at < stream.size(); at += 64) {
            queue.telemetry(&stream[at + 2]);
        }
    };
}

void measureParts(const Bytes& clean) {
    using sorvane::ControlLinkReassembler;
    constexpr std::size_t kChunk = 960;
    std::size_t posted = 0;
    const std::vector<double> t = bestInTurn(
        {copyAll(clean), feedAll<ControlLinkReassembler, Counter>(clean, clean.size(), kChunk, posted),
         feedAll<ControlLinkReassembler, PayloadQueue>(clean, clean.size(), kChunk, posted),
         allocateAll(clean)});
    std::printf(
        "clean, chunk %zu, memcpy %.2f ms; memcpy as a ratio to: frames found %.3f, payloads allocated too "
        "%.3f, events alone without any reassembler %.3f\n",
        kChunk, t[0] * 1e3, t[0] / t[1], t[0] / t[2], t[0] / t[3]);
}

void measure(const char* name, const Bytes& stream, std::size_t chunk) {
    using sorvane::ControlLinkReassembler;
    std::size_t ours_posted = 0;
    std::size_t plain_posted = 0;
    std::size_t half_posted = 0;
    const std::vector<double> t = bestInTurn(
        {copyAll(stream), feedAll<ControlLinkReassembler>(stream, stream.size(), chunk, ours_posted),
         feedAll<ControlLinkReassembler>(stream, stream.size() / 2, chunk, half_posted),
         feedAll<PlainMachine>(stream, stream.size(), chunk, plain_posted)});
    std::printf(
        "%-22s chunk %4zu  %7zu events (plain %7zu)  %7.2f ms  memcpy/ours %.3f  plain/ours %.2f  "
        "whole/half %.2f\n",
        name, chunk, ours_posted, plain_posted, t[1] * 1e3, t[0] / t[1], t[3] / t[1], t[1] / t[2]);
}

}  // namespace

int main() {
    const Bytes clean = cleanFixedFrames();
    // 961 straddles the frames and is the most that always fits beside a frame's held rest.
    for (const std::size_t chunk : {64U, 256U, 512U, 960U, 961U}) {
        measure("clean", clean, chunk);
    }
    measureParts(clean);
    const Bytes random = noise();
    const Bytes pairs = repeated({0xFC, 0x2C});
    const Bytes firsts = repeated({0xFC});
    const Bytes alternating = repeated({0xFC, 0x00});
    const Bytes empty_frames = repeated({0xFC, 0x2C, 0x55, 0x00, 0x00});
    for (const std::size_t chunk : {64U, 961U}) {
        measure("noise", random, chunk);
        measure("magic pairs", pairs, chunk);
        measure("first magic byte only", firsts, chunk);
        measure("every second byte", alternating, chunk);
        measure("empty variable frames", empty_frames, chunk);
    }
    return 0;
}
