// Cuts sound that comes in pieces of any size into frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {

// Not thread-safe.
class SoundParser {
public:
    struct Frame {
        const std::uint8_t* data = nullptr;  // valid during the call
        std::size_t size = 0;
        std::int64_t pts = AV_NOPTS_VALUE;  // 1/90000 s
        int samples = 0;                    // how long it sounds; 0 where the parser does not know
    };
    using Sink = std::function<void(const Frame& frame)>;
    // FFmpeg's parsers keep all that is no frame until one begins or ends: beyond so much it is thrown away.
    // A hundred times the largest frame of a usual coding.
    static constexpr std::size_t kMostKept = 512u << 10;

    // False if there is no parser for that coding.
    bool open(AVCodecID codec);
    bool isOpen() const { return m_parser != nullptr; }
    // pts: of what begins in the piece. The parser notes in `context` what the frames tell of themselves.
    void push(AVCodecContext& context, const std::uint8_t* data, std::size_t size, std::int64_t pts,
              const Sink& sink);

private:
    ParserPtr m_parser;
    std::vector<std::uint8_t> m_padded;
    AVCodecID m_codec = AV_CODEC_ID_NONE;
    std::size_t m_kept = 0;  // at most; since the last frame
};

}  // namespace tavrik
