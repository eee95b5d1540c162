#include "tavrik/slice_header.h"

#include <algorithm>
#include <iterator>

#include "tavrik/bit_reader.h"

namespace tavrik {
namespace {

constexpr std::uint32_t kMostOrderCycles = 255;
constexpr std::uint32_t kLargestSide = 1u << 15;
constexpr int kProfileBits = 88, kLevelBits = 8;

bool hasChromaFields(std::uint32_t profile) {
    static constexpr std::uint32_t kProfiles[] = {100, 110, 122, 244, 44,  83, 86,
                                                  118, 128, 138, 139, 134, 135};
    return std::find(std::begin(kProfiles), std::end(kProfiles), profile) != std::end(kProfiles);
}

void skipScalingLists(BitReader& r, std::uint32_t chroma_format) {
    const int lists = chroma_format == 3 ? 12 : 8;
    for (int list = 0; list < lists; ++list) {
        if (r.bit() == 0) {
            continue;
        }
        int last = 8, next = 8;
        for (int i = 0; i < (list < 6 ? 16 : 64) && next != 0; ++i) {
            next = (last + r.se() % 256 + 256) % 256;
            last = next != 0 ? next : last;
        }
    }
}

// profile_tier_level() of H.265.
void skipProfile(BitReader& r, int sub_layers) {
    r.skip(kProfileBits + kLevelBits);
    bool profile[8] = {}, level[8] = {};
    for (int i = 0; i < sub_layers; ++i) {
        profile[i] = r.bit() != 0;
        level[i] = r.bit() != 0;
    }
    if (sub_layers > 0) {
        r.skip(2 * (8 - sub_layers));
    }
    for (int i = 0; i < sub_layers; ++i) {
        r.skip((profile[i] ? kProfileBits : 0) + (level[i] ? kLevelBits : 0));
    }
}

int bitsFor(std::uint32_t count) {
    int bits = 0;
    while ((1u << bits) < count) {
        ++bits;
    }
    return bits;
}

}  // namespace

bool ofAnotherPicture(const SliceHead& earlier, const SliceHead& later) {
    if (!earlier.known || !later.known) {
        return false;
    }
    if (earlier.has_mark && later.has_mark && earlier.mark != later.mark) {
        return true;
    }
    return earlier.ordered && later.ordered && later.address <= earlier.address;
}

void SliceHeads::learn(const std::uint8_t* nal, std::size_t size) {
    if (size < 3) {
        return;
    }
    if (m_codec == Codec::kH264) {
        const int type = nal[0] & 0x1F;
        if (type == 7) {
            learnSequence264(nal, size);
        } else if (type == 8) {
            learnPicture264(nal, size);
        }
    } else if (m_codec == Codec::kH265) {
        const int type = (nal[0] >> 1) & 0x3F;
        const bool base_layer = (nal[0] & 1) == 0 && (nal[1] & 0xF8) == 0;
        if (base_layer && type == 33) {
            learnSequence265(nal, size);
        } else if (base_layer && type == 34) {
            learnPicture265(nal, size);
        }
    }
}

SliceHead SliceHeads::read(const std::uint8_t* nal, std::size_t size) const {
    if (m_codec == Codec::kH264) {
        return read264(nal, size);
    }
    return m_codec == Codec::kH265 ? read265(nal, size) : SliceHead{};
}

const SliceHeads::Picture* SliceHeads::picture(std::uint32_t id) const {
    if (id >= kPictures || !m_pictures[id].known || !m_sequences[m_pictures[id].sequence].known) {
        return nullptr;
    }
    return &m_pictures[id];
}

void SliceHeads::learnSequence264(const std::uint8_t* nal, std::size_t size) {
    BitReader r(nal + 1, size - 1);
    Sequence s;
    const std::uint32_t profile = r.bits(8);
    r.skip(16);
    const std::uint32_t id = r.ue();
    if (hasChromaFields(profile)) {
        const std::uint32_t chroma_format = r.ue();
        s.separate_planes = chroma_format == 3 && r.bit() != 0;
        r.ue();
        r.ue();
        r.bit();
        if (r.bit() != 0) {
            skipScalingLists(r, chroma_format);
        }
    }
    s.frame_num_bits = static_cast<int>(std::min(r.ue(), 12u)) + 4;
    s.order_type = r.ue();
    if (s.order_type == 0) {
        s.order_bits = static_cast<int>(std::min(r.ue(), 12u)) + 4;
    } else if (s.order_type == 1) {
        s.delta_always_zero = r.bit() != 0;
        r.se();
        r.se();
        for (std::uint32_t left = std::min(r.ue(), kMostOrderCycles); left > 0; --left) {
            r.se();
        }
    }
    r.ue();
    r.bit();
    r.ue();
    r.ue();
    s.frames_only = r.bit() != 0;
    // Only the baseline and extended profiles may send slices in any order.
    s.ordered = profile != 66 && profile != 88;
    s.known = r.ok();
    if (id < kSequences) {
        m_sequences[id] = s;
    }
}

void SliceHeads::learnPicture264(const std::uint8_t* nal, std::size_t size) {
    BitReader r(nal + 1, size - 1);
    Picture p;
    const std::uint32_t id = r.ue();
    p.sequence = r.ue();
    r.bit();
    p.bottom_order = r.bit() != 0;
    p.known = r.ok() && p.sequence < kSequences;
    if (id < kPictures) {
        m_pictures[id] = p.known ? p : Picture{};
    }
}

SliceHead SliceHeads::read264(const std::uint8_t* nal, std::size_t size) const {
    SliceHead head;
    const int type = size > 0 ? nal[0] & 0x1F : 0;
    if (type != 1 && type != 2 && type != 5) {
        return head;
    }
    BitReader r(nal + 1, size - 1);
    head.address = r.ue();
    r.ue();
    const std::uint32_t id = r.ue();
    const Picture* p = r.ok() ? picture(id) : nullptr;
    if (p == nullptr) {
        return head;
    }
    const Sequence& s = m_sequences[p->sequence];
    head.ordered = s.ordered && !s.separate_planes;
    if (s.separate_planes) {
        r.skip(2);
    }
    auto& mark = head.mark;
    mark[0] = id;
    mark[1] = ((nal[0] & 0x60) != 0 ? 1u : 0u) | (type == 5 ? 2u : 0u);
    mark[2] = r.bits(s.frame_num_bits);
    const bool field = !s.frames_only && r.bit() != 0;
    mark[3] = field ? 1 + r.bit() : 0;
    mark[4] = type == 5 ? r.ue() : 0;
    if (s.order_type == 0) {
        mark[5] = r.bits(s.order_bits);
    }
    const bool has_delta = s.order_type == 1 && !s.delta_always_zero;
    if (has_delta) {
        mark[6] = static_cast<std::uint32_t>(r.se());
    }
    if (p->bottom_order && !field && (has_delta || s.order_type == 0)) {
        mark[7] = static_cast<std::uint32_t>(r.se());
    }
    head.known = head.has_mark = r.ok();
    return head;
}

void SliceHeads::learnSequence265(const std::uint8_t* nal, std::size_t size) {
    BitReader r(nal + 2, size - 2);
    Sequence s;
    r.skip(4);
    const int sub_layers = static_cast<int>(r.bits(3));
    r.bit();
    skipProfile(r, sub_layers);
    const std::uint32_t id = r.ue();
    if (r.ue() == 3) {
        s.separate_planes = r.bit() != 0;
    }
    const std::uint32_t width = r.ue(), height = r.ue();
    if (r.bit() != 0) {
        for (int i = 0; i < 4; ++i) {
            r.ue();
        }
    }
    r.ue();
    r.ue();
    s.order_bits = static_cast<int>(std::min(r.ue(), 12u)) + 4;
    for (int i = r.bit() != 0 ? 0 : sub_layers; i <= sub_layers; ++i) {
        r.ue();
        r.ue();
        r.ue();
    }
    const std::uint32_t smallest = r.ue() + 3;
    const std::uint32_t block = smallest + r.ue();
    s.known = r.ok() && block <= 6 && width <= kLargestSide && height <= kLargestSide;
    if (s.known) {
        const std::uint32_t round = (1u << block) - 1;
        s.address_bits = bitsFor(((width + round) >> block) * ((height + round) >> block));
    }
    if (id < kSequences) {
        m_sequences[id] = s;
    }
}

void SliceHeads::learnPicture265(const std::uint8_t* nal, std::size_t size) {
    BitReader r(nal + 2, size - 2);
    Picture p;
    const std::uint32_t id = r.ue();
    p.sequence = r.ue();
    p.dependent_slices = r.bit() != 0;
    p.output_flag = r.bit() != 0;
    p.extra_bits = static_cast<int>(r.bits(3));
    p.known = r.ok() && p.sequence < kSequences;
    if (id < kPictures) {
        m_pictures[id] = p.known ? p : Picture{};
    }
}

SliceHead SliceHeads::read265(const std::uint8_t* nal, std::size_t size) const {
    SliceHead head;
    const bool base_layer = size > 2 && (nal[0] & 1) == 0 && (nal[1] & 0xF8) == 0;
    const std::uint32_t type = size > 0 ? (nal[0] >> 1) & 0x3Fu : 64;
    if (!base_layer || type > 31) {
        return head;
    }
    BitReader r(nal + 2, size - 2);
    const bool first = r.bit() != 0;
    if (type >= 16 && type <= 23) {
        r.bit();
    }
    const std::uint32_t id = r.ue();
    const Picture* p = r.ok() ? picture(id) : nullptr;
    if (p == nullptr) {
        return head;
    }
    const Sequence& s = m_sequences[p->sequence];
    const bool dependent = !first && p->dependent_slices && r.bit() != 0;
    head.address = first ? 0 : r.bits(s.address_bits);
    head.ordered = true;
    if (!dependent) {
        r.skip(p->extra_bits);
        r.ue();
        r.skip((p->output_flag ? 1 : 0) + (s.separate_planes ? 2 : 0));
        head.mark = {id, type, nal[1] & 7u};
        const bool starts_order = type == 19 || type == 20;
        head.mark[3] = starts_order ? 0 : r.bits(s.order_bits);
        head.has_mark = true;
    }
    head.known = r.ok();
    return head;
}

}  // namespace tavrik
