// Cuts an Annex B byte stream into NAL units, whatever the pieces in which it arrives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace tavrik {

// Not thread-safe. Memory is bounded: a NAL above kMaxNalBytes is thrown away and the next start code looked
// for.
class NalSplitter {
public:
    // A NAL without start code and without trailing zero bytes, never empty; valid during the call.
    using Sink = std::function<void(const std::uint8_t* nal, std::size_t size)>;
    static constexpr std::size_t kMaxNalBytes = 8u << 20;

    explicit NalSplitter(Sink sink) : m_sink(std::move(sink)) {}

    void push(const std::uint8_t* data, std::size_t size);
    // What has arrived is taken for a whole NAL. Zero bytes at its end are kept: they may begin the next
    // start code.
    void flush();
    void reset();

    bool pending() const { return m_inNal && m_buffer.size() > m_begin; }
    // True when bytes other than zero have come since the last flush with no start code before them: the
    // flush cut a NAL in two.
    bool cutByFlush() const { return m_stray; }

private:
    void emit(std::size_t end);
    void dropProcessed();

    Sink m_sink;
    std::vector<std::uint8_t> m_buffer;
    std::size_t m_begin = 0;    // first byte of the open NAL within m_buffer
    std::size_t m_scanned = 0;  // no start code ends before this offset
    bool m_inNal = false;
    bool m_stray = false;
};

}  // namespace tavrik
