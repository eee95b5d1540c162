#include "tavrik/sound_parser.h"

namespace tavrik {

bool SoundParser::open(AVCodecID codec) {
    m_codec = codec;
    m_kept = 0;
    m_parser.reset(av_parser_init(codec));
    return m_parser != nullptr;
}

void SoundParser::push(AVCodecContext& context, const std::uint8_t* data, std::size_t size, std::int64_t pts,
                       const Sink& sink) {
    // Parsers read beyond the end of what they are given.
    m_padded.assign(data, data + size);
    m_padded.resize(size + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    data = m_padded.data();
    while (size > 0 && m_parser != nullptr) {
        std::uint8_t* frame = nullptr;
        int bytes = 0;
        const int used = av_parser_parse2(m_parser.get(), &context, &frame, &bytes, data,
                                          static_cast<int>(size), pts, AV_NOPTS_VALUE, 0);
        pts = AV_NOPTS_VALUE;
        if (used < 0 || (used == 0 && bytes == 0)) {
            return;
        }
        data += used;
        size -= static_cast<std::size_t>(used);
        m_kept += static_cast<std::size_t>(used);
        if (bytes > 0) {
            m_kept = 0;
            sink({frame, static_cast<std::size_t>(bytes), m_parser->pts, m_parser->duration});
        } else if (m_kept > kMostKept) {
            open(m_codec);
        }
    }
}

}  // namespace tavrik
