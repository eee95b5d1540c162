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
#include <random>
#include <vector>

#include "app/my_event.h"
#include "link/bytes.h"
#include "link/checksum.h"
#include "telemetry/control_link_reassembler.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t kStreamSize = std::size_t{32} << 20;
constexpr int kRounds = 9;

// The events posted and not yet handled: a short queue, the oldest handled when it is full.
class EventQueue {
public:
    ~EventQueue() {
        for (QMyEvent* event : pending_)
            release(event);
    }
    void telemetry(const std::uint8_t* record) { post(EVT_TELEMETRY, record, 60, 0); }
    void linkFrame(const std::uint8_t* payload, std::int32_t size) {
        post(EVT_LINK_FRAME, payload, size, size);
    }
    std::size_t posted() const { return posted_; }

private:
    static void release(QMyEvent* event) {
        if (event == nullptr) return;
        std::free(event->data);
        delete event;
    }
    void post(int type, const std::uint8_t* payload, std::int32_t bytes, std::int32_t size) {
        void* block = std::malloc(static_cast<std::size_t>(std::max(bytes, 1)));
        std::memcpy(block, payload, static_cast<std::size_t>(bytes));
        QMyEvent*& slot = pending_[posted_++ % pending_.size()];
        release(slot);
        slot = new QMyEvent(type, nullptr, block, size);
    }
    std::array<QMyEvent*, 16> pending_ = {};
    std::size_t posted_ = 0;
};

// What one writes first: a state, a running checksum, a switch for each byte.
class PlainMachine {
public:
    void feed(const std::uint8_t* data, std::int32_t n, EventQueue& queue) {
        for (std::int32_t i = 0; i < n; ++i)
            take(data[i], queue);
    }

private:
    enum State { kFirst, kSecond, kKind, kRecord, kRecordXor, kEnd, kLength, kPayload, kPayloadXor };

    void take(std::uint8_t byte, EventQueue& queue) {
        switch (state_) {
            case kFirst:
                state_ = byte == 0xFC ? kSecond : kFirst;
                break;
            case kSecond:
                state_ = byte == 0x2C ? kKind : byte == 0xFC ? kSecond : kFirst;
                break;
            case kKind:
                count_ = 0;
                xor_ = 0;
                if (byte == 0x55) {
                    state_ = kLength;
                } else {
                    append(byte);
                    state_ = kRecord;
                }
                break;
            case kRecord:
                append(byte);
                if (count_ == 60) state_ = kRecordXor;
                break;
            case kRecordXor:
                good_ = byte == xor_;
                state_ = kEnd;
                break;
            case kEnd:
                if (good_ && byte == 0xF0) {
                    sorvane::positionsToInteger(payload_);
                    queue.telemetry(payload_);
                }
                state_ = kFirst;
                break;
            case kLength:
                length_ = byte;
                xor_ = byte;
                state_ = length_ == 0 ? kPayloadXor : kPayload;
                break;
            case kPayload:
                append(byte);
                if (count_ == length_) state_ = kPayloadXor;
                break;
            case kPayloadXor:
                if (byte == xor_) queue.linkFrame(payload_, length_);
                state_ = kFirst;
                break;
        }
    }
    void append(std::uint8_t byte) {
        payload_[count_++] = byte;
        xor_ = static_cast<std::uint8_t>(xor_ ^ byte);
    }

    State state_ = kFirst;
    bool good_ = false;
    std::uint8_t xor_ = 0;
    int count_ = 0;
    int length_ = 0;
    std::uint8_t payload_[256] = {};
};

Bytes noise() {
    std::mt19937_64 random(1);
    Bytes stream(kStreamSize);
    for (std::size_t i = 0; i < stream.size(); i += 8)
        sorvane::storeU64(&stream[i], random());
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
    for (std::size_t i = 0; i < stream.size(); ++i)
        stream[i] = pattern.begin()[i % pattern.size()];
    return stream;
}

// Best of some rounds, in seconds.
template <typename Work>
double best(Work&& work) {
    double least = 1e9;
    for (int round = 0; round < kRounds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        least = std::min(least, took.count());
    }
    return least;
}

template <typename Machine, typename Queue = EventQueue>
double timeOf(const Bytes& stream, std::size_t bytes, std::size_t chunk, std::size_t& posted) {
    return best([&] {
        Machine machine;
        Queue queue;
        for (std::size_t at = 0; at < bytes; at += chunk) {
            machine.feed(&stream[at], static_cast<std::int32_t>(std::min(chunk, bytes - at)), queue);
        }
        posted = queue.posted();
    });
}

double memcpyTime(const Bytes& stream) {
    Bytes copy(stream.size(), 1);
    volatile std::uint8_t sink = 0;
    return best([&] {
        std::memcpy(copy.data(), stream.data(), stream.size());
        sink = copy[copy.size() / 2];
    });
}

// Takes frames and keeps nothing: the reassembler without what it hands over.
class Counter {
public:
    void telemetry(const std::uint8_t* record) { posted_ += record[0] != 0; }
    void linkFrame(const std::uint8_t*, std::int32_t) { ++posted_; }
    std::size_t posted() const { return posted_; }

private:
    std::size_t posted_ = 0;
};

// What the allocations of a clean stream cost without any parsing: the least that any reassembler takes.
double allocationTime(const Bytes& stream) {
    return best([&] {
        EventQueue queue;
        for (std::size_t at = 0; at < stream.size(); at += 64)
            queue.telemetry(&stream[at + 2]);
    });
}

void measureParts(const Bytes& clean) {
    std::size_t posted = 0;
    const double copy = memcpyTime(clean);
    const double parse = timeOf<sorvane::ControlLinkReassembler, Counter>(clean, clean.size(), 960, posted);
    const double allocation = allocationTime(clean);
    std::printf(
        "clean, chunk 960: memcpy %.2f ms, reassembler without events %.2f ms (memcpy/ours %.3f), "
        "events without reassembler %.2f ms (memcpy/events %.3f)\n",
        copy * 1e3, parse * 1e3, copy / parse, allocation * 1e3, copy / allocation);
}

void measure(const char* name, const Bytes& stream, std::size_t chunk) {
    std::size_t ours_posted = 0;
    std::size_t plain_posted = 0;
    std::size_t half_posted = 0;
    const double copy = memcpyTime(stream);
    const double ours = timeOf<sorvane::ControlLinkReassembler>(stream, stream.size(), chunk, ours_posted);
    const double half =
        timeOf<sorvane::ControlLinkReassembler>(stream, stream.size() / 2, chunk, half_posted);
    const double plain = timeOf<PlainMachine>(stream, stream.size(), chunk, plain_posted);
    std::printf(
        "%-22s chunk %4zu  %7zu events (plain %7zu)  %7.2f ms  memcpy/ours %.3f  plain/ours %.2f  "
        "whole/half %.2f\n",
        name, chunk, ours_posted, plain_posted, ours * 1e3, copy / ours, plain / ours, ours / half);
}

}  // namespace

int main() {
    const Bytes clean = cleanFixedFrames();
    // 961 straddles the frames and is the most that always fits beside a frame's held rest.
    for (const std::size_t chunk : {64U, 256U, 512U, 960U, 961U})
        measure("clean", clean, chunk);
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
