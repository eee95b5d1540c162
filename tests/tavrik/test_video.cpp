#include "test_video.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <cmath>
#include <cstring>
#include <stdexcept>

namespace tavrik::test {
namespace {

constexpr int kBlock = 16;
constexpr int kBits = 16;
constexpr int kWhite = 235;
constexpr int kBlack = 16;

void check(bool good, const char* what) {
    if (!good) {
        throw std::runtime_error(what);
    }
}

void fillBlock(AVFrame* frame, int column, int row, int value) {
    for (int y = row * kBlock; y < (row + 1) * kBlock; ++y) {
        std::memset(frame->data[0] + y * frame->linesize[0] + column * kBlock, value, kBlock);
    }
}

constexpr int kTexture = 512;

Bytes noise(std::size_t size, std::uint32_t seed) {
    Bytes out(size);
    std::uint32_t state = seed * 2654435761u + 1;
    for (std::uint8_t& value : out) {
        state = state * 1664525u + 1013904223u;
        value = static_cast<std::uint8_t>(state >> 24);
    }
    return out;
}

bool blockIsWhite(const AVFrame* frame, int column, int row) {
    const int y = row * kBlock + kBlock / 2;
    return frame->data[0][y * frame->linesize[0] + column * kBlock + kBlock / 2] > 126;
}

void drawBlocks(AVFrame* frame, int number);

}  // namespace

void drawNumber(AVFrame* frame, int number) {
    for (int y = 0; y < frame->height; ++y) {
        for (int x = 0; x < frame->width; ++x) {
            frame->data[0][y * frame->linesize[0] + x] =
                static_cast<std::uint8_t>(64 + ((x + y + number) & 63));
        }
    }
    for (int y = 0; y < frame->height / 2; ++y) {
        std::memset(frame->data[1] + y * frame->linesize[1], 128, static_cast<std::size_t>(frame->width / 2));
        std::memset(frame->data[2] + y * frame->linesize[2], 128, static_cast<std::size_t>(frame->width / 2));
    }
    drawBlocks(frame, number);
}

void drawDetail(AVFrame* frame, int number) {
    static const Bytes texture = noise(kTexture * kTexture, 1);
    const Bytes grain = noise(1 << 16, static_cast<std::uint32_t>(number) + 2);
    for (int y = 0; y < frame->height; ++y) {
        const std::size_t row = static_cast<std::size_t>((y + 3 * number) / 4 % kTexture) * kTexture;
        std::uint8_t* to = frame->data[0] + y * frame->linesize[0];
        for (int x = 0; x < frame->width; ++x) {
            // Blocks of 4 pixels of texture, pixels of grain.
            const std::size_t at = row + static_cast<std::size_t>((x + 5 * number) / 4 % kTexture);
            const int light =
                64 + texture[at] / 2 + (grain[static_cast<std::size_t>(x * 31 + y * 977) & 0xFFFF] & 15);
            to[x] = static_cast<std::uint8_t>(light);
        }
    }
    for (int plane = 1; plane < 3; ++plane) {
        for (int y = 0; y < frame->height / 2; ++y) {
            std::memset(frame->data[plane] + y * frame->linesize[plane],
                        100 + ((y / 8 + number * plane) & 31), static_cast<std::size_t>(frame->width / 2));
        }
    }
    drawBlocks(frame, number);
}

namespace {

void drawBlocks(AVFrame* frame, int number) {
    for (int bit = 0; bit < kBits; ++bit) {
        const bool one = ((number >> (kBits - 1 - bit)) & 1) != 0;
        fillBlock(frame, bit, 0, one ? kWhite : kBlack);
        fillBlock(frame, bit, 1, one ? kBlack : kWhite);
    }
}

}  // namespace

int readNumber(const AVFrame* frame) {
    if (frame->width < kBits * kBlock || frame->height < 2 * kBlock) {
        return -1;
    }
    int number = 0;
    for (int bit = 0; bit < kBits; ++bit) {
        const bool one = blockIsWhite(frame, bit, 0);
        if (one == blockIsWhite(frame, bit, 1)) {
            return -1;
        }
        number = number * 2 + (one ? 1 : 0);
    }
    return number;
}

TestEncoder::TestEncoder(EncoderSettings settings)
    : m_detail(settings.detail), m_frame(av_frame_alloc()), m_packet(av_packet_alloc()) {
    av_log_set_level(AV_LOG_FATAL);
    const bool h264 = settings.codec == Codec::kH264;
    const AVCodec* encoder = avcodec_find_encoder_by_name(h264 ? "libx264" : "libx265");
    check(encoder != nullptr, "no encoder");
    m_context.reset(avcodec_alloc_context3(encoder));
    m_context->width = settings.width;
    m_context->height = settings.height;
    m_context->pix_fmt = AV_PIX_FMT_YUV420P;
    m_context->time_base = {1, 25};
    m_context->framerate = {25, 1};
    m_context->gop_size = settings.key_interval;
    m_context->max_b_frames = 0;
    m_context->thread_count = 1;
    if (settings.kbps > 0) {
        m_context->bit_rate = m_context->rc_max_rate = settings.kbps * 1000LL;
        m_context->rc_buffer_size = settings.kbps * 500;
    }
    av_opt_set(m_context->priv_data, "preset", "ultrafast", 0);
    av_opt_set(m_context->priv_data, "tune", "zerolatency", 0);
    const std::string common = "scenecut=0:repeat-headers=1:keyint=" + std::to_string(settings.key_interval) +
                               ":min-keyint=" + std::to_string(settings.key_interval) +
                               ":slices=" + std::to_string(settings.slices) +
                               (settings.delimiters ? ":aud=1" : "");
    if (h264) {
        const std::string own = common + ":sliced-threads=0";
        av_opt_set(m_context->priv_data, "x264-params", own.c_str(), 0);
    } else {
        const std::string own = common + ":info=0:log-level=none:pools=none:frame-threads=1";
        av_opt_set(m_context->priv_data, "x265-params", own.c_str(), 0);
    }
    check(avcodec_open2(m_context.get(), encoder, nullptr) >= 0, "encoder does not open");
    m_frame->format = AV_PIX_FMT_YUV420P;
    m_frame->width = settings.width;
    m_frame->height = settings.height;
    check(av_frame_get_buffer(m_frame.get(), 0) >= 0, "no picture");
}

Bytes TestEncoder::encode(int number) {
    check(av_frame_make_writable(m_frame.get()) >= 0, "no picture");
    (m_detail ? drawDetail : drawNumber)(m_frame.get(), number);
    m_frame->pts = m_nextPts++;
    check(avcodec_send_frame(m_context.get(), m_frame.get()) >= 0, "picture refused");
    check(avcodec_receive_packet(m_context.get(), m_packet.get()) >= 0, "no packet");
    Bytes out(m_packet->data, m_packet->data + m_packet->size);
    av_packet_unref(m_packet.get());
    return out;
}

std::vector<Bytes> nalsOf(const Bytes& b) {
    std::vector<Bytes> out;
    std::size_t i = 0;
    while (i + 3 <= b.size()) {
        if (!(b[i] == 0 && b[i + 1] == 0 && b[i + 2] == 1)) {
            ++i;
            continue;
        }
        std::size_t end = i + 3;
        while (end + 3 <= b.size() && !(b[end] == 0 && b[end + 1] == 0 && b[end + 2] <= 1)) {
            ++end;
        }
        if (end + 3 > b.size()) {
            end = b.size();
        }
        out.emplace_back(b.begin() + static_cast<std::ptrdiff_t>(i + 3),
                         b.begin() + static_cast<std::ptrdiff_t>(end));
        i = end;
    }
    return out;
}

Bytes annexB(const std::vector<Bytes>& nals) {
    Bytes out;
    for (const Bytes& nal : nals) {
        out.insert(out.end(), {0, 0, 0, 1});
        out.insert(out.end(), nal.begin(), nal.end());
    }
    return out;
}

Bytes seiNal(Codec codec, const Bytes& payload) {
    Bytes plain = codec == Codec::kH264 ? Bytes{0x06} : Bytes{0x4E, 0x01};
    const std::size_t head = plain.size();
    plain.push_back(5);
    std::size_t left = payload.size();
    for (; left >= 255; left -= 255) {
        plain.push_back(255);
    }
    plain.push_back(static_cast<std::uint8_t>(left));
    plain.insert(plain.end(), payload.begin(), payload.end());
    plain.push_back(0x80);
    Bytes out;
    int zeros = 0;
    for (std::size_t i = 0; i < plain.size(); ++i) {
        if (zeros >= 2 && plain[i] <= 3 && i >= head) {
            out.push_back(3);
            zeros = 0;
        }
        out.push_back(plain[i]);
        zeros = plain[i] == 0 ? zeros + 1 : 0;
    }
    return out;
}

Bytes withSei(Codec codec, const Bytes& unit, const Bytes& sei) {
    std::vector<Bytes> nals = nalsOf(unit);
    auto at = nals.begin();
    const auto is_slice = [codec](const Bytes& n) {
        const int type = codec == Codec::kH264 ? n[0] & 31 : (n[0] >> 1) & 63;
        return codec == Codec::kH264 ? type == 1 || type == 5 : type < 32;
    };
    // Ahead of any SEI of the encoder as well.
    while (at != nals.end() && !is_slice(*at) &&
           (codec == Codec::kH264 ? (*at)[0] % 32 != 6 : (*at)[0] != 0x4E)) {
        ++at;
    }
    nals.insert(at, sei);
    return annexB(nals);
}

namespace {

int appendBytes(void* opaque, std::uint8_t* data, int size) {
    auto* out = static_cast<Bytes*>(opaque);
    out->insert(out->end(), data, data + size);
    return size;
}

// 1024 samples a packet of a 1 kHz tone.
class ToneEncoder {
public:
    ToneEncoder() : m_frame(av_frame_alloc()), m_packet(av_packet_alloc()) {
        const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_AAC);
        check(encoder != nullptr, "no AAC encoder");
        m_context.reset(avcodec_alloc_context3(encoder));
        m_context->sample_fmt = AV_SAMPLE_FMT_FLTP;
        m_context->sample_rate = 48000;
        m_context->bit_rate = 64000;
        av_channel_layout_default(&m_context->ch_layout, 2);
        m_context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        check(avcodec_open2(m_context.get(), encoder, nullptr) >= 0, "AAC encoder does not open");
        m_frame->format = AV_SAMPLE_FMT_FLTP;
        m_frame->nb_samples = m_context->frame_size;
        m_frame->sample_rate = 48000;
        av_channel_layout_default(&m_frame->ch_layout, 2);
        check(av_frame_get_buffer(m_frame.get(), 0) >= 0, "no sound buffer");
    }
    const AVCodecContext* context() const { return m_context.get(); }
    std::int64_t samples() const { return m_samples; }
    AVPacket* next() {
        check(av_frame_make_writable(m_frame.get()) >= 0, "no sound buffer");
        for (int i = 0; i < m_frame->nb_samples; ++i) {
            const double phase = 2 * M_PI * 1000 * static_cast<double>(m_samples + i) / 48000;
            for (int c = 0; c < 2; ++c) {
                reinterpret_cast<float*>(m_frame->data[c])[i] = static_cast<float>(0.5 * std::sin(phase));
            }
        }
        m_frame->pts = m_samples;
        m_samples += m_frame->nb_samples;
        avcodec_send_frame(m_context.get(), m_frame.get());
        av_packet_unref(m_packet.get());
        return avcodec_receive_packet(m_context.get(), m_packet.get()) >= 0 ? m_packet.get() : nullptr;
    }

private:
    CodecContextPtr m_context;
    FramePtr m_frame;
    PacketPtr m_packet;
    std::int64_t m_samples = 0;
};

void writeTone(AVFormatContext* format, AVStream* stream, ToneEncoder& tone, std::int64_t until_ms) {
    while (tone.samples() * 1000 / 48000 < until_ms) {
        AVPacket* packet = tone.next();
        if (packet == nullptr) {
            continue;
        }
        packet->stream_index = stream->index;
        av_packet_rescale_ts(packet, {1, 48000}, stream->time_base);
        av_write_frame(format, packet);
    }
}

}  // namespace

Bytes muxTransportStream(Codec codec, const std::vector<Bytes>& units, bool pes_lengths, bool audio,
                         int bits_per_second) {
    Bytes out;
    AVFormatContext* format = nullptr;
    check(avformat_alloc_output_context2(&format, nullptr, "mpegts", nullptr) >= 0, "no muxer");
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(4096));
    format->pb = avio_alloc_context(buffer, 4096, 1, &out, nullptr, appendBytes, nullptr);
    av_opt_set(format->priv_data, "omit_video_pes_length", pes_lengths ? "0" : "1", 0);
    if (bits_per_second > 0) {
        av_opt_set_int(format->priv_data, "muxrate", bits_per_second, 0);
        format->max_delay = 500000;
    }
    AVStream* stream = avformat_new_stream(format, nullptr);
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = codec == Codec::kH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC;
    stream->codecpar->width = kWidth;
    stream->codecpar->height = kHeight;
    std::unique_ptr<ToneEncoder> tone;
    AVStream* sound = nullptr;
    if (audio) {
        tone = std::make_unique<ToneEncoder>();
        sound = avformat_new_stream(format, nullptr);
        avcodec_parameters_from_context(sound->codecpar, tone->context());
        sound->time_base = {1, 48000};
    }
    check(avformat_write_header(format, nullptr) >= 0, "no header");
    const PacketPtr packet(av_packet_alloc());
    std::int64_t number = 0;
    for (const Bytes& unit : units) {
        if (tone != nullptr) {
            writeTone(format, sound, *tone, number * 40);
        }
        check(av_new_packet(packet.get(), static_cast<int>(unit.size())) >= 0, "no packet");
        std::memcpy(packet->data, unit.data(), unit.size());
        packet->stream_index = 0;
        packet->pts = packet->dts = number++ * 3600;
        packet->duration = 3600;
        av_write_frame(format, packet.get());
        av_packet_unref(packet.get());
    }
    av_write_trailer(format);
    avio_flush(format->pb);
    av_freep(&format->pb->buffer);
    avio_context_free(&format->pb);
    avformat_free_context(format);
    return out;
}

}  // namespace tavrik::test
