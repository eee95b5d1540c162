#include "tavrik/unit_reader.h"

#include <cstring>

namespace tavrik {

UnitReader::UnitReader(AVCodecID codec, const std::vector<std::uint8_t>& sets)
    : m_codec(codec), m_nals(codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC) {
    m_context.reset(avcodec_alloc_context3(avcodec_find_decoder(codec)));
    m_parser.reset(av_parser_init(codec));
    if (m_context == nullptr || m_parser == nullptr) {
        return;
    }
    m_parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    if (!sets.empty()) {
        m_context->extradata =
            static_cast<std::uint8_t*>(av_mallocz(sets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        if (m_context->extradata != nullptr) {
            std::memcpy(m_context->extradata, sets.data(), sets.size());
            m_context->extradata_size = static_cast<int>(sets.size());
        }
    }
}

UnitFacts UnitReader::read(const AccessUnit& unit) {
    UnitFacts facts;
    facts.key = unit.decoding_can_begin;
    if (m_context != nullptr && m_parser != nullptr) {
        std::uint8_t* data = nullptr;
        int size = 0;
        av_parser_parse2(m_parser.get(), m_context.get(), &data, &size, unit.data(),
                         static_cast<int>(unit.size()), AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
        facts.order = m_parser->output_picture_number;
        facts.has_order = m_nals;
        facts.key = facts.key || m_parser->key_frame == 1;
        facts.width = m_parser->width;
        facts.height = m_parser->height;
    }
    if (m_first && facts.width <= 0) {
        const UnitFacts decoded = sizeByDecoding(unit);
        facts.width = decoded.width;
        facts.height = decoded.height;
    }
    m_first = false;
    return facts;
}

UnitFacts UnitReader::sizeByDecoding(const AccessUnit& unit) const {
    UnitFacts facts;
    const AVCodec* const decoder = avcodec_find_decoder(m_codec);
    const CodecContextPtr context(avcodec_alloc_context3(decoder));
    const PacketPtr packet(av_packet_alloc());
    const FramePtr frame(av_frame_alloc());
    if (decoder == nullptr || context == nullptr || packet == nullptr || frame == nullptr) {
        return facts;
    }
    context->thread_count = 1;
    if (avcodec_open2(context.get(), decoder, nullptr) < 0 ||
        av_new_packet(packet.get(), static_cast<int>(unit.size())) < 0) {
        return facts;
    }
    std::memcpy(packet->data, unit.data(), unit.size());
    avcodec_send_packet(context.get(), packet.get());
    avcodec_send_packet(context.get(), nullptr);
    if (avcodec_receive_frame(context.get(), frame.get()) >= 0) {
        facts.width = frame->width;
        facts.height = frame->height;
    }
    return facts;
}

}  // namespace tavrik
