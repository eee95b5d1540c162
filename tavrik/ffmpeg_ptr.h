// Owning pointers for FFmpeg's objects. They hide the C headers' C++ traps from the rest.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/buffer.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
}

#include <memory>

namespace tavrik {

struct AvFree {
    void operator()(AVFrame* p) const { av_frame_free(&p); }
    void operator()(AVPacket* p) const { av_packet_free(&p); }
    void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
    void operator()(AVCodecParameters* p) const { avcodec_parameters_free(&p); }
    void operator()(AVCodecParserContext* p) const { av_parser_close(p); }
    void operator()(AVBSFContext* p) const { av_bsf_free(&p); }
    void operator()(AVFormatContext* p) const { avformat_close_input(&p); }
    void operator()(AVBufferRef* p) const { av_buffer_unref(&p); }
};

using FramePtr = std::unique_ptr<AVFrame, AvFree>;
using PacketPtr = std::unique_ptr<AVPacket, AvFree>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, AvFree>;
using ParametersPtr = std::unique_ptr<AVCodecParameters, AvFree>;
using ParserPtr = std::unique_ptr<AVCodecParserContext, AvFree>;
using BitstreamFilterPtr = std::unique_ptr<AVBSFContext, AvFree>;
using FormatPtr = std::unique_ptr<AVFormatContext, AvFree>;
using BufferPtr = std::unique_ptr<AVBufferRef, AvFree>;

// A dictionary handed to FFmpeg, which takes out what it knows.
class Dictionary {
public:
    Dictionary() = default;
    ~Dictionary() { av_dict_free(&m_dictionary); }
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;
    void set(const char* key, const char* value) { av_dict_set(&m_dictionary, key, value, 0); }
    AVDictionary** out() { return &m_dictionary; }

private:
    AVDictionary* m_dictionary = nullptr;
};

}  // namespace tavrik
