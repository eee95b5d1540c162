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
    m_setsSeen |= info.parameter_set;
    if (m_unit.has_picture && beginsPicture(info)) {
        flush();
    }
    if (info.role == NalRole::kPicture) {
        joinHeld();
        if (!m_unit.has_picture && !info.first_slice) {
            m_continued = true;
        }
        append(m_unit, nal, info);
        m_unit.has_picture = !m_unit.empty;
        return;
    }
    const bool behind = m_unit.has_picture && (info.role != NalRole::kTrailing || !m_held.empty);
    append(behind ? m_held : m_unit, nal, info);
}

bool AccessUnitAssembler::peek(const Nal& begun) {
    constexpr std::size_t kHeadBytes = 3;
    if (begun.size < kHeadBytes && !m_unit.has_picture) {
        return false;
    }
    if (!m_unit.has_picture) {
        return true;
    }
    const NalInfo info = describeNal(m_codec, begun.data, begun.size);
    if (beginsPicture(info)) {
        flush();
        return true;
    }
    return begun.size >= kHeadBytes;
}

bool AccessUnitAssembler::beginsPicture(const NalInfo& info) const {
    return info.role == NalRole::kDelimiter || (info.role == NalRole::kPicture && info.first_slice);
}

void AccessUnitAssembler::append(Part& part, const Nal& nal, const NalInfo& info) {
    if (part.bytes.size() + nal.size > kMaxUnitBytes) {
        part = Part{};
        return;
    }
    if (part.bytes.empty()) {
        part.bytes.reserve(m_lastSize);
    }
    if (part.empty || part.stamp.pts == kNoTime) {
        const auto arrival = part.empty ? nal.stamp.arrival : part.stamp.arrival;
        part.stamp = nal.stamp;
        part.stamp.arrival = arrival;
    }
    part.empty = false;
    part.random_access = part.random_access || info.random_access;
    part.recovery_point = part.recovery_point || info.recovery_point;
    part.damaged = part.damaged || nal.damaged;
    appendNal(part.bytes, nal);
    if (info.sei) {
        appendNal(part.sei, nal);
    }
}

// A slice of the picture in hand has followed: what lay between is its own too.
void AccessUnitAssembler::joinHeld() {
    if (m_held.empty) {
        return;
    }
    if (m_unit.bytes.size() + m_held.bytes.size() <= kMaxUnitBytes) {
        appendBytes(m_unit.bytes, m_held.bytes);
        appendBytes(m_unit.sei, m_held.sei);
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
    m_unit = std::exchange(m_held, Part{});
    m_sink(unit);
}

bool AccessUnitAssembler::takeContinued() { return std::exchange(m_continued, false); }

}  // namespace tavrik
