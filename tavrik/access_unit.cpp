#include "tavrik/access_unit.h"

#include <utility>

namespace tavrik {
namespace {

constexpr std::size_t kSpareBytes = 64u << 10;

void appendNal(std::vector<std::uint8_t>& to, const Nal& nal) {
    static constexpr std::uint8_t kStartCode[4] = {0, 0, 0, 1};
    to.insert(to.end(), kStartCode, kStartCode + 4);
    to.insert(to.end(), nal.data, nal.data + nal.size);
}

void appendBytes(std::vector<std::uint8_t>& to, const std::vector<std::uint8_t>& from) {
    to.insert(to.end(), from.begin(), from.end());
}

unsigned setsNeeded(Codec codec) {
    const unsigned both = kSequenceSet | kPictureSet;
    return codec == Codec::kH265 ? both | kVideoSet : both;
}

}  // namespace

void sealBytes(std::vector<std::uint8_t>& bytes) {
    bytes.resize(bytes.size() + AccessUnit::kPadding, 0);
    if (bytes.capacity() > 2 * bytes.size() + kSpareBytes) {
        bytes.shrink_to_fit();
    }
}

void AccessUnitAssembler::add(const Nal& nal) {
    if (nal.size == 0) {
        return;
    }
    const NalInfo info = describeNal(m_codec, nal.data, nal.size);
    // A cut set or message would do harm; of a cut slice the decoder shows what there is.
    if (nal.damaged && info.role != NalRole::kPicture) {
        return;
    }
    const bool slice = info.role == NalRole::kPicture;
    const SliceHead head = slice ? m_heads.read(nal.data, nal.size) : SliceHead{};
    if (beginsPicture(info, head)) {
        flush();
    }
    if (slice) {
        joinHeld();
        noteSlice(nal, info, head);
        append(m_unit, nal, info);
        m_unit.has_picture = !m_unit.empty;
        return;
    }
    m_setsSeen |= info.parameter_set;
    m_heads.learn(nal.data, nal.size);
    const bool behind = m_unit.has_picture && (info.role != NalRole::kTrailing || !m_held.empty);
    append(behind ? m_held : m_unit, nal, info);
}

bool AccessUnitAssembler::peek(const Nal& begun) {
    // Enough for any slice's head up to what distinguishes pictures.
    constexpr std::size_t kHeadBytes = 48;
    if (!m_unit.has_picture) {
        return false;
    }
    const NalInfo info = describeNal(m_codec, begun.data, begun.size);
    const SliceHead head =
        info.role == NalRole::kPicture ? m_heads.read(begun.data, begun.size) : SliceHead{};
    if (beginsPicture(info, head)) {
        flush();
        return true;
    }
    return begun.size >= kHeadBytes;
}

// Whether the NAL begins another picture than the one in hand.
bool AccessUnitAssembler::beginsPicture(const NalInfo& info, const SliceHead& head) const {
    if (!m_unit.has_picture || info.role != NalRole::kPicture) {
        return m_unit.has_picture && info.role == NalRole::kDelimiter;
    }
    if (ofAnotherPicture(m_last, head)) {
        return true;
    }
    // Where slices may come in any order, the first of the picture may come late.
    const bool late = !m_hasFirst && m_last.known && head.known && !head.ordered;
    return info.first_slice && !late;
}

bool AccessUnitAssembler::isSlice(const Nal& begun) const {
    return describeNal(m_codec, begun.data, begun.size).role == NalRole::kPicture;
}

AccessUnitAssembler::Slice AccessUnitAssembler::judge(const Nal& begun) const {
    const NalInfo info = describeNal(m_codec, begun.data, begun.size);
    if (info.role != NalRole::kPicture) {
        return Slice::kNone;
    }
    return ofAnother(info, m_heads.read(begun.data, begun.size)) ? Slice::kOfAnotherPicture
                                                                 : Slice::kOfTheSamePicture;
}

// Of another picture than the slice before it, also if that has been handed out.
bool AccessUnitAssembler::ofAnother(const NalInfo& info, const SliceHead& head) const {
    return m_unit.has_picture ? beginsPicture(info, head)
                              : info.first_slice || ofAnotherPicture(m_last, head);
}

void AccessUnitAssembler::noteSlice(const Nal& nal, const NalInfo& info, const SliceHead& head) {
    if (m_watched == Slice::kNone && nal.begin >= m_watchFrom) {
        m_watched = ofAnother(info, head) ? Slice::kOfAnotherPicture : Slice::kOfTheSamePicture;
    }
    m_hasFirst = (m_unit.has_picture && m_hasFirst) || info.first_slice;
    m_last = head.has_mark || !m_unit.has_picture
                 ? head
                 : SliceHead{head.known, m_last.mark, m_last.has_mark, head.address, head.ordered};
}

void AccessUnitAssembler::append(Part& part, const Nal& nal, const NalInfo& info) {
    if (part.bytes.size() + nal.size > kMaxUnitBytes) {
        part = Part{};
        return;
    }
    if (part.bytes.empty()) {
        part.bytes.reserve(m_lastSize);
    }
    takeTimes(part, nal.stamp);
    part.begin = part.empty ? nal.begin : part.begin;
    part.end = nal.end;
    part.empty = false;
    part.random_access = part.random_access || info.random_access;
    part.recovery_point = part.recovery_point || info.recovery_point;
    part.damaged = part.damaged || nal.damaged || std::exchange(m_nextDamaged, false);
    appendNal(part.bytes, nal);
    if (info.sei) {
        appendNal(part.sei, nal);
    }
}

// The container's times are those of the first unit that begins behind them: where the NAL goes on with one,
// they wait for the next. Parameter sets that came without times get those of their picture.
void AccessUnitAssembler::takeTimes(Part& part, const Stamp& stamp) {
    if (part.empty) {
        part.stamp = stamp;
        if (stamp.pts == kNoTime) {
            part.stamp.pts = m_nextTimes.pts;
            part.stamp.dts = m_nextTimes.dts;
        }
        m_nextTimes = Stamp{};
    } else if (stamp.pts != kNoTime && part.stamp.pts == kNoTime && !part.has_picture) {
        part.stamp.pts = stamp.pts;
        part.stamp.dts = stamp.dts;
    } else if (stamp.pts != kNoTime) {
        m_nextTimes = stamp;
    }
}

// A slice of the picture in hand has followed: what lay between is its own too.
void AccessUnitAssembler::joinHeld() {
    if (m_held.empty) {
        return;
    }
    takeTimes(m_unit, m_held.stamp);
    if (m_unit.bytes.size() + m_held.bytes.size() <= kMaxUnitBytes) {
        appendBytes(m_unit.bytes, m_held.bytes);
        appendBytes(m_unit.sei, m_held.sei);
        m_unit.end = m_held.end;
        m_unit.recovery_point = m_unit.recovery_point || m_held.recovery_point;
    }
    m_held = Part{};
}

void AccessUnitAssembler::flush() {
    if (!m_unit.has_picture) {
        return;
    }
    auto unit = std::make_shared<AccessUnit>();
    unit->codec = m_codec;
    m_lastSize = m_unit.bytes.size() + AccessUnit::kPadding;
    sealBytes(m_unit.bytes);
    unit->padded = std::move(m_unit.bytes);
    unit->sei = std::move(m_unit.sei);
    unit->stamp = m_unit.stamp;
    unit->decoding_can_begin = m_unit.random_access || m_unit.recovery_point;
    const unsigned needed = setsNeeded(m_codec);
    unit->file_can_begin = m_unit.random_access && (m_setsSeen & needed) == needed;
    unit->damaged = m_unit.damaged;
    m_begin = m_unit.begin;
    m_end = m_unit.end;
    m_unit = std::exchange(m_held, Part{});
    m_sink(unit);
}

}  // namespace tavrik
