#include "tavrik/access_unit.h"

namespace tavrik {
namespace {

void appendNal(std::vector<std::uint8_t>& to, const std::uint8_t* nal, std::size_t size) {
    static constexpr std::uint8_t kStartCode[4] = {0, 0, 0, 1};
    to.insert(to.end(), kStartCode, kStartCode + 4);
    to.insert(to.end(), nal, nal + size);
}

}  // namespace

void AccessUnit::clear() {
    bytes.clear();
    sei.clear();
    has_picture = false;
    key = false;
}

void AccessUnitAssembler::add(const std::uint8_t* nal, std::size_t size) {
    if (size == 0) {
        return;
    }
    const NalInfo info = describeNal(m_codec, nal, size);
    const bool begins_unit = info.role == NalRole::kLeading || info.role == NalRole::kSupplement ||
                             (info.role == NalRole::kPicture && info.first_slice);
    if (m_unit.has_picture && begins_unit) {
        flush();
    }
    if (info.role == NalRole::kPicture) {
        if (!m_unit.has_picture && !info.first_slice) {
            m_continued = true;
        }
        m_unit.has_picture = true;
    }
    if (m_unit.bytes.size() + size > kMaxUnitBytes) {
        m_unit.clear();
        return;
    }
    m_unit.key = m_unit.key || info.key;
    appendNal(m_unit.bytes, nal, size);
    if (info.sei) {
        appendNal(m_unit.sei, nal, size);
    }
}

void AccessUnitAssembler::flush() {
    if (!m_unit.has_picture) {
        return;
    }
    m_sink(m_unit);
    m_unit.clear();
}

bool AccessUnitAssembler::takeContinued() {
    const bool was = m_continued;
    m_continued = false;
    return was;
}

}  // namespace tavrik
