// Fragmented MP4 on the disk: what has been flushed plays whatever happens to the rest.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tavrik/capture_clock.h"
#include "tavrik/capture_file.h"
#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {

// One thread. After a false error() tells why, and only the destructor may follow.
class Mp4Muxer {
public:
    struct Video {
        AVCodecID codec = AV_CODEC_ID_NONE;
        int width = 0, height = 0;
        const std::uint8_t* extradata = nullptr;
        std::size_t extradata_size = 0;
    };

    Mp4Muxer() = default;
    ~Mp4Muxer();
    Mp4Muxer(const Mp4Muxer&) = delete;
    Mp4Muxer& operator=(const Mp4Muxer&) = delete;

    bool open(const std::string& path);
    bool begun() const { return m_begun; }
    // sound: may be null.
    bool begin(const Video& video, const AVCodecParameters* sound);
    bool picture(const std::uint8_t* data, std::size_t size, const CaptureTimes& times, std::int64_t duration,
                 bool key);
    // at: in samples.
    bool sound(const std::vector<std::uint8_t>& data, std::int64_t at, int samples);
    bool hasSound() const { return m_sound != nullptr; }
    // What has come so far is a fragment on the disk after that.
    bool flush();
    bool finish();
    const std::string& error() const { return m_error; }

private:
    static int take(void* self, std::uint8_t* data, int size);
    bool addVideo(const Video& video);
    bool addSound(const AVCodecParameters* sound);
    bool write(AVPacket& packet, const AVStream* stream, AVRational unit);
    bool store();
    bool fail(int code);

    CaptureFile m_file;
    AVFormatContext* m_format = nullptr;
    AVStream* m_video = nullptr;
    AVStream* m_sound = nullptr;
    PacketPtr m_packet;
    std::vector<std::uint8_t> m_out;  // not on the disk yet
    bool m_begun = false;
    std::string m_error;
};

}  // namespace tavrik
