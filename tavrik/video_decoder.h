// Decodes pictures one by one, in software or on a device, falling back to software.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tavrik/decoder_list.h"
#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {

using Options = std::vector<std::pair<std::string, std::string>>;

// One thread at a time.
class VideoDecoder {
public:
    // A picture in system memory, valid during the call; the callee may set its opaque_ref.
    using Sink = std::function<void(AVFrame*)>;

    VideoDecoder(DecoderKind kind, Options options, Sink sink);

    // parameters may be null: then the stream's own parameter sets tell everything. low_delay: pictures leave
    // at once, in the order in which they were sent. False if the codec has no decoder.
    bool open(AVCodecID codec, const AVCodecParameters* parameters, bool low_delay);
    void close() { m_context.reset(); }
    bool isOpen() const { return m_context != nullptr; }
    AVCodecID codec() const { return m_codec; }

    // One whole picture (bytes are copied).
    void decode(const std::uint8_t* data, std::size_t size, std::int64_t pts);
    void decode(const AVPacket* packet);
    // Hands out what the decoder still holds; then only flush() or open() may follow.
    void drain();
    // Pictures of which parts are unknown are handed out too, from the next one decoded on.
    void showAll(bool all);
    // Forgets everything before the next key picture.
    void flush();

private:
    CodecContextPtr openContext(DecoderKind kind);
    void applyShowAll(AVCodecContext* context) const;
    void receiveAll();
    void deliver(AVFrame* frame);
    void noteResult(bool failed);

    DecoderKind m_kind;
    Options m_options;
    Sink m_sink;
    AVCodecID m_codec = AV_CODEC_ID_NONE;
    bool m_lowDelay = true;
    int m_ownFlags = 0, m_ownFlags2 = 0;  // of the open context, by low delay and the options
    bool m_showAll = false;
    ParametersPtr m_parameters;
    CodecContextPtr m_context;
    DecoderKind m_openKind = DecoderKind::kSoftware;
    FramePtr m_frame;
    FramePtr m_downloaded;
    PacketPtr m_packet;
    int m_failures = 0;  // in a row, without a picture
};

}  // namespace tavrik
