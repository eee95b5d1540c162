// A stream that FFmpeg fetches: RTSP or HTTP.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "tavrik/address.h"
#include "tavrik/source.h"
#include "tavrik/video_decoder.h"

namespace tavrik {

class NetworkSource : public Source {
public:
    NetworkSource(NetworkAddress address, Options options)
        : address_(std::move(address)), options_(std::move(options)) {}
    void run(SourceSink& sink) override;

private:
    static int interrupted(void* self);
    std::string reachableAddress(SourceSink& sink);
    FormatPtr open(SourceSink& sink, const std::string& address);
    void read(SourceSink& sink, AVFormatContext* format);
    void passVideo(SourceSink& sink, const AVStream* stream, AVPacket* packet);
    bool prepareVideo(const AVStream* stream);

    NetworkAddress address_;
    Options options_;
    const SourceSink* sink_ = nullptr;
    std::atomic<std::int64_t> deadline_us_{0};  // 0: none
    std::atomic<bool> saying_goodbye_{false};   // only the deadline counts

    int video_index_ = -1;
    int audio_index_ = -1;
    SharedParameters video_format_;
    BitstreamFilterPtr to_annex_b_;  // for containers with length-prefixed NALs
};

}  // namespace tavrik
