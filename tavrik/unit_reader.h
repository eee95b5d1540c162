// What a picture's own bytes tell of it.
#pragma once

#include <cstdint>
#include <vector>

#include "tavrik/access_unit.h"
#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {

struct UnitFacts {
    std::int64_t order = 0;  // of showing, among the pictures up to the next key picture
    bool has_order = false;
    bool key = false;
    int width = 0, height = 0;  // 0: not told
};

// One thread. Pictures in the order of decoding, from a key picture on.
class UnitReader {
public:
    // sets: parameter sets before the first picture, Annex B.
    UnitReader(AVCodecID codec, const std::vector<std::uint8_t>& sets);
    UnitFacts read(const AccessUnit& unit);

private:
    UnitFacts sizeByDecoding(const AccessUnit& unit) const;

    AVCodecID m_codec;
    bool m_nals;
    CodecContextPtr m_context;
    ParserPtr m_parser;
    bool m_first = true;
};

}  // namespace tavrik
