#include "tavrik/parameter_sets.h"

#include "tavrik/annex_b.h"
#include "tavrik/bit_reader.h"

namespace tavrik {
namespace {

constexpr int kSequence264 = 7, kVideo265 = 32, kSequence265 = 33;
constexpr int kSkippedLeading = 8, kSkippedLeadingReference = 9;

int typeOf(Codec codec, const std::uint8_t* nal) {
    return codec == Codec::kH264 ? nal[0] & 0x1F : (nal[0] >> 1) & 0x3F;
}

// ITU-T H.265 7.3.3
void skipProfile(BitReader& r, std::uint32_t sub_layers) {
    r.skip(96);
    bool profile[8] = {}, level[8] = {};
    for (std::uint32_t i = 0; i < sub_layers; ++i) {
        profile[i] = r.bit() != 0;
        level[i] = r.bit() != 0;
    }
    if (sub_layers > 0) {
        r.skip(2 * (8 - static_cast<int>(sub_layers)));
    }
    for (std::uint32_t i = 0; i < sub_layers; ++i) {
        r.skip((profile[i] ? 88 : 0) + (level[i] ? 8 : 0));
    }
}

std::uint32_t numberOf(Codec codec, int type, const std::uint8_t* nal, std::size_t size) {
    const std::size_t head = codec == Codec::kH265 ? 2 : type == kSequence264 ? 4 : 1;
    if (size <= head) {
        return 0;
    }
    BitReader r(nal + head, size - head);
    if (codec == Codec::kH265 && type == kVideo265) {
        return r.bits(4);
    }
    if (codec == Codec::kH265 && type == kSequence265) {
        r.skip(4);
        const std::uint32_t sub_layers = r.bits(3);
        r.skip(1);
        skipProfile(r, sub_layers);
    }
    return r.ue();
}

}  // namespace

bool ParameterSets::learn(const std::uint8_t* unit, std::size_t size) {
    if (m_codec != Codec::kH264 && m_codec != Codec::kH265) {
        return false;
    }
    bool found = false;
    leadingNals(m_codec, unit, size, [&](const std::uint8_t* nal, std::size_t nal_size) {
        if (nal_size > kMaxSetBytes || describeNal(m_codec, nal, nal_size).parameter_set == 0) {
            return;
        }
        const int type = typeOf(m_codec, nal);
        // A picture set has at most 256 numbers; a number beyond that is a fault.
        const std::uint32_t number = numberOf(m_codec, type, nal, nal_size) & 0xFF;
        m_sets[{type, number}].assign(nal, nal + nal_size);
        found = true;
    });
    return found;
}

std::vector<std::uint8_t> ParameterSets::bytes() const {
    std::vector<std::uint8_t> out;
    for (const auto& [key, nal] : m_sets) {
        out.insert(out.end(), {0, 0, 0, 1});
        out.insert(out.end(), nal.begin(), nal.end());
    }
    return out;
}

bool needsPicturesBeforeKey(Codec codec, const std::uint8_t* unit, std::size_t size) {
    if (codec != Codec::kH265) {
        return false;
    }
    const std::uint8_t* slice = leadingNals(codec, unit, size, [](const std::uint8_t*, std::size_t) {});
    const int type = slice != nullptr ? typeOf(codec, slice) : -1;
    return type == kSkippedLeading || type == kSkippedLeadingReference;
}

}  // namespace tavrik
