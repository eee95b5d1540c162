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
    if (size == 0) return;
    const NalInfo info = describeNal(codec_, nal, size);
    const bool begins_unit = info.role == NalRole::Leading || info.role == NalRole::Supplement ||
                             (info.role == NalRole::Picture && info.first_slice);
    if (unit_.has_picture && begins_unit) flush();
    if (info.role == NalRole::Picture) {
        if (!unit_.has_picture && !info.first_slice) continued_ = true;
        unit_.has_picture = true;
    }
    if (unit_.bytes.size() + size > kMaxUnitBytes) {
        unit_.clear();
        return;
    }
    unit_.key = unit_.key || info.key;
    appendNal(unit_.bytes, nal, size);
    if (info.sei) appendNal(unit_.sei, nal, size);
}

void AccessUnitAssembler::flush() {
    if (!unit_.has_picture) return;
    sink_(unit_);
    unit_.clear();
}

bool AccessUnitAssembler::takeContinued() {
    const bool was = continued_;
    continued_ = false;
    return was;
}

}  // namespace tavrik
