// A stream from an RTSP server, received by GStreamer, which hands out where each picture ends.
#pragma once

#include "tavrik/address.h"
#include "tavrik/rtsp_options.h"
#include "tavrik/source.h"
#include "tavrik/video_decoder.h"

namespace tavrik {

// Where GStreamer's elements are not installed, or the pictures are of an encoding that is not known here,
// FFmpeg receives in their place.
class RtspSource : public Source {
public:
    RtspSource(NetworkAddress address, Options options);
    void run(SourceSink& sink) override;

private:
    void runWithFfmpeg(SourceSink& sink);

    NetworkAddress m_address;
    Options m_given;
    RtspOptions m_options;
};

}  // namespace tavrik
