// Puts NAL units together to access units: what belongs to one picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "tavrik/nal.h"
#include "tavrik/nal_splitter.h"
#include "tavrik/slice_header.h"
#include "tavrik/stamp.h"

namespace tavrik {

// One picture with its bytes. Never changed once it is handed out, so that a decoder, a recorder and a writer
// share one without copies.
struct AccessUnit {
    static constexpr std::size_t kPadding = 64;  // decoders read a little beyond their input

    Codec codec = Codec::kUnknown;
    // Annex B, each NAL with a 4-byte start code (a codec without NALs: as received), then kPadding zeros.
    std::vector<std::uint8_t> padded;
    std::vector<std::uint8_t> sei;    // its SEI NALs alone, in the same form, not padded
    Stamp stamp;                      // pts and dts of the container, arrival of the first byte
    bool decoding_can_begin = false;  // a random access picture, or a recovery point is told
    bool file_can_begin = false;      // a random access picture whose parameter sets have been seen
    bool damaged = false;             // bytes of it were lost on the way

    const std::uint8_t* data() const { return padded.data(); }
    std::size_t size() const { return padded.size() - kPadding; }
};

using AccessUnitPtr = std::shared_ptr<const AccessUnit>;

// Adds the padding to the bytes and gives back what vector growth took in vain.
void sealBytes(std::vector<std::uint8_t>& bytes);

// Not thread-safe. A unit is complete when a slice arrives that only the next one can hold, at a delimiter,
// or at flush().
class AccessUnitAssembler {
public:
    using Sink = std::function<void(const AccessUnitPtr&)>;
    // Above this a unit is no picture but a fault: it is thrown away.
    static constexpr std::size_t kMaxUnitBytes = 16u << 20;

    // What a slice turned out to be.
    enum class Slice { kNone, kOfAnotherPicture, kOfTheSamePicture };

    AccessUnitAssembler(Codec codec, Sink sink) : m_codec(codec), m_sink(std::move(sink)), m_heads(codec) {}

    void add(const Nal& nal);
    // The NAL's first bytes, the rest to come. Ends the picture before it if they show that it is another
    // one's; true when nothing more can be learnt from this NAL's beginning.
    bool peek(const Nal& begun);
    // Hands out the unit if it holds a picture; parameter sets and SEI behind it wait for theirs.
    void flush();
    // Bytes were lost in or behind the picture in hand.
    void markDamaged() { m_unit.damaged = m_unit.damaged || !m_unit.empty; }
    // Bytes were lost before the first of the next unit.
    void markNextDamaged() { m_nextDamaged = true; }

    bool pending() const { return m_unit.has_picture; }
    bool isSlice(const Nal& begun) const;
    // Watched is the first slice from the position on, against the one before it; a slice whose head tells
    // nothing is of the same picture unless it begins one.
    void watch(std::uint64_t position) {
        m_watched = Slice::kNone;
        m_watchFrom = position;
    }
    Slice watched() const { return m_watched; }
    // What the slice that has come so far turns out to be.
    Slice judge(const Nal& begun) const;
    // Where the unit that is being handed out stood in the stream.
    std::uint64_t begin() const { return m_begin; }
    std::uint64_t end() const { return m_end; }

private:
    struct Part {
        std::vector<std::uint8_t> bytes, sei;
        Stamp stamp;
        std::uint64_t begin = 0, end = 0;
        bool empty = true;
        bool has_picture = false;
        bool random_access = false;
        bool recovery_point = false;
        bool damaged = false;
    };

    bool beginsPicture(const NalInfo& info, const SliceHead& head) const;
    bool ofAnother(const NalInfo& info, const SliceHead& head) const;
    void noteSlice(const Nal& nal, const NalInfo& info, const SliceHead& head);
    void append(Part& part, const Nal& nal, const NalInfo& info);
    void joinHeld();
    void takeTimes(Part& part, const Stamp& stamp);

    Codec m_codec;
    Sink m_sink;
    Part m_unit;
    Part m_held;        // behind the picture's slices: the next one's, unless a slice of this one follows
    Stamp m_nextTimes;  // told inside a unit, for the next that begins
    bool m_nextDamaged = false;
    unsigned m_setsSeen = 0;
    std::size_t m_lastSize = 0;
    SliceHeads m_heads;
    SliceHead m_last;         // of the last slice, also of a picture that is gone
    bool m_hasFirst = false;  // the picture in hand has the slice that begins it
    Slice m_watched = Slice::kNone;
    std::uint64_t m_watchFrom = 0;
    std::uint64_t m_begin = 0, m_end = 0;
};

}  // namespace tavrik
