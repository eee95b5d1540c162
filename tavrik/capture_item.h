// What goes into recordings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tavrik/access_unit.h"
#include "tavrik/ffmpeg_ptr.h"
#include "tavrik/source.h"

namespace tavrik {

// Sound as it came; never changed once it is made.
struct SoundChunk {
    std::vector<std::uint8_t> data;
    Stamp stamp;  // of the first frame that begins in it
    bool whole = true;
    SharedParameters parameters;
};

using SoundChunkPtr = std::shared_ptr<const SoundChunk>;

// One of the two.
struct CaptureItem {
    AccessUnitPtr picture;
    SoundChunkPtr sound;

    // In memory: pieces of a few bytes fill it too.
    std::size_t bytes() const {
        constexpr std::size_t kItself = 256;
        const std::size_t data = picture != nullptr ? picture->padded.size()
                                 : sound != nullptr ? sound->data.size()
                                                    : 0;
        return data + kItself;
    }
};

// What a file needs to know of its stream before the first picture.
struct CaptureFormat {
    AVCodecID codec = AV_CODEC_ID_NONE;
    SharedParameters parameters;     // of the container, may be null
    std::vector<std::uint8_t> sets;  // parameter sets before the first picture, Annex B
    bool sound_expected = false;     // the stream has had sound
};

}  // namespace tavrik
