// Reads streams with FFmpeg, as any receiver would.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace podsim {

// Joining a stream in its middle is reported at length; the tests look at what comes out.
inline const bool kQuietDecoder = (av_log_set_level(AV_LOG_FATAL), true);

// Decodes access units one by one; hands out every picture at once.
class AvDecoder {
public:
    explicit AvDecoder(AVCodecID id) {
        const AVCodec* codec = avcodec_find_decoder(id);
        m_context = avcodec_alloc_context3(codec);
        m_context->thread_count = 1;
        m_context->flags |= AV_CODEC_FLAG_LOW_DELAY;
        m_good = avcodec_open2(m_context, codec, nullptr) == 0;
        m_frame = av_frame_alloc();
    }
    ~AvDecoder() {
        av_frame_free(&m_frame);
        avcodec_free_context(&m_context);
    }
    AvDecoder(const AvDecoder&) = delete;
    AvDecoder& operator=(const AvDecoder&) = delete;

    bool good() const { return m_good; }
    // The number of pictures that came out.
    int decode(const std::vector<std::uint8_t>& unit, const std::function<void(const AVFrame&)>& on_picture) {
        std::vector<std::uint8_t> padded = unit;
        padded.resize(unit.size() + AV_INPUT_BUFFER_PADDING_SIZE);
        AVPacket* packet = av_packet_alloc();
        packet->data = padded.data();
        packet->size = static_cast<int>(unit.size());
        avcodec_send_packet(m_context, packet);
        av_packet_free(&packet);
        int pictures = 0;
        while (avcodec_receive_frame(m_context, m_frame) == 0) {
            ++pictures;
            on_picture(*m_frame);
        }
        return pictures;
    }

private:
    AVCodecContext* m_context = nullptr;
    AVFrame* m_frame = nullptr;
    bool m_good = false;
};

// Opens an address and reads video packets until enough came or the time is over.
class AvSource {
public:
    explicit AvSource(std::chrono::seconds patience)
        : m_deadline(std::chrono::steady_clock::now() + patience), m_context(avformat_alloc_context()) {
        m_context->interrupt_callback = {&AvSource::expired, this};
    }
    ~AvSource() { avformat_close_input(&m_context); }
    AvSource(const AvSource&) = delete;
    AvSource& operator=(const AvSource&) = delete;

    bool open(const std::string& url, const char* format,
              const std::vector<std::pair<const char*, const char*>>& set) {
        AVDictionary* options = nullptr;
        for (const auto& each : set) {
            av_dict_set(&options, each.first, each.second, 0);
        }
        const int result =
            avformat_open_input(&m_context, url.c_str(), av_find_input_format(format), &options);
        av_dict_free(&options);
        return result == 0;
    }
    // Reads `count` packets of the first video stream, and keeps the sound between them. False when they did
    // not come in time.
    bool read(int count, std::vector<std::vector<std::uint8_t>>& packets) {
        AVPacket* packet = av_packet_alloc();
        while (count > 0 && av_read_frame(m_context, packet) >= 0) {
            const AVStream* stream = m_context->streams[packet->stream_index];
            if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
                codec = stream->codecpar->codec_id;
                packets.emplace_back(packet->data, packet->data + packet->size);
                --count;
                picture_s = timeOf(*packet, *stream);
            } else if (stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
                sound_codec = stream->codecpar->codec_id;
                sounds.emplace_back(packet->data, packet->data + packet->size);
                sound_s = timeOf(*packet, *stream);
            }
            av_packet_unref(packet);
        }
        av_packet_free(&packet);
        return count == 0;
    }
    unsigned streams() const { return m_context->nb_streams; }
    AVCodecID codec = AV_CODEC_ID_NONE;
    AVCodecID sound_codec = AV_CODEC_ID_NONE;
    std::vector<std::vector<std::uint8_t>> sounds;
    double picture_s = 0;  // times of the latest picture and sound
    double sound_s = 0;

private:
    static double timeOf(const AVPacket& packet, const AVStream& stream) {
        return static_cast<double>(packet.pts) * av_q2d(stream.time_base);
    }
    static int expired(void* self) {
        return std::chrono::steady_clock::now() > static_cast<AvSource*>(self)->m_deadline;
    }
    std::chrono::steady_clock::time_point m_deadline;
    AVFormatContext* m_context;
};

}  // namespace podsim
