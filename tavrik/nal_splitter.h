// Cuts an Annex B byte stream into NAL units, whatever the pieces in which it arrives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "tavrik/stamp.h"

namespace tavrik {

// Without start code and without trailing zero bytes, never empty; valid during the call.
struct Nal {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
    // Where it stands, counted from the first byte ever pushed: first byte, and one behind the last.
    std::uint64_t begin = 0, end = 0;
    Stamp stamp;
    bool damaged = false;  // cut short by a loss
};

// Not thread-safe. Memory is bounded: a NAL above kMaxNalBytes is thrown away and the next start code looked
// for.
class NalSplitter {
public:
    using Sink = std::function<void(const Nal& nal)>;
    static constexpr std::size_t kMaxNalBytes = 8u << 20;

    explicit NalSplitter(Sink sink) : m_sink(std::move(sink)) {}

    // Of the first NAL that begins in what is pushed next; those after it get the arrival alone.
    void stamp(const Stamp& stamp) { m_stamp = stamp; }
    void push(const std::uint8_t* data, std::size_t size);
    // What has arrived is taken for a whole NAL. Zero bytes at its end are kept: they may begin the next
    // start code.
    void flush();
    // Bytes are missing here: the NAL in hand is handed out as damaged and the next start code looked for.
    void lost();
    void reset();

    bool pending() const { return m_inNal && m_buffer.size() > m_begin; }
    // The NAL in hand so far; only while pending().
    Nal begun() const;
    // True once after bytes other than zero have come since the last flush or call with no start code before
    // them: a flush cut a NAL in two.
    bool takeStray() { return std::exchange(m_stray, false); }
    // Bytes pushed so far.
    std::uint64_t position() const { return m_base + m_buffer.size(); }
    std::size_t bytesHeld() const { return m_buffer.capacity(); }

private:
    void emit(std::size_t end, bool damaged = false);
    void dropProcessed();
    void giveBack();

    Sink m_sink;
    std::vector<std::uint8_t> m_buffer;
    std::uint64_t m_base = 0;   // position of m_buffer's first byte
    std::size_t m_begin = 0;    // first byte of the open NAL within m_buffer
    std::size_t m_scanned = 0;  // no start code ends before this offset
    bool m_inNal = false;
    bool m_stray = false;
    Stamp m_stamp;      // for the next NAL
    Stamp m_openStamp;  // of the NAL in hand
};

}  // namespace tavrik
