// A stream that FFmpeg fetches: HTTP, RTSP over TLS, and RTSP where GStreamer is of no use.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "tavrik/address.h"
#include "tavrik/source.h"
#include "tavrik/video_decoder.h"

namespace tavrik {

class NetworkSource : public Source {
public:
    NetworkSource(NetworkAddress address, Options options)
        : m_address(std::move(address)), m_options(std::move(options)) {}
    void run(SourceSink& sink) override;

private:
    static int interrupted(void* self);
    std::vector<std::string> reachableAddresses(SourceSink& sink) const;
    FormatPtr openFirst(SourceSink& sink, const std::vector<std::string>& addresses);
    FormatPtr open(SourceSink& sink, const std::string& address);
    void read(SourceSink& sink, AVFormatContext* format);
    void passVideo(SourceSink& sink, const AVStream* stream, AVPacket* packet);
    bool prepareVideo(const AVStream* stream);
    void passVideoPacket(SourceSink& sink, const AVPacket* packet);
    void passSound(SourceSink& sink, const AVStream* stream, const AVPacket* packet);

    NetworkAddress m_address;
    Options m_options;
    const SourceSink* m_sink = nullptr;
    std::atomic<std::int64_t> m_deadlineUs{0};  // 0: none
    std::atomic<bool> m_sayingGoodbye{false};   // only the deadline counts

    int m_videoIndex = -1;
    int m_audioIndex = -1;
    SharedParameters m_videoFormat, m_audioFormat;
    AVRational m_videoUnit{1, 90000};   // of the packets' times
    std::int64_t m_lastTime = kNoTime;  // pts of the last piece
    bool m_wholePictures = false;       // the container's packets are pictures
    int m_pictureLimit = 0;             // but not those of this size and above; 0: no limit
    BitstreamFilterPtr m_toAnnexB;      // for containers with length-prefixed NALs
};

}  // namespace tavrik
