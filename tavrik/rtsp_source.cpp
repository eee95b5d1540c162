#include "tavrik/rtsp_source.h"

#include <cstdio>
#include <utility>

#include "tavrik/gstreamer_elements.h"
#include "tavrik/network_source.h"
#include "tavrik/rtsp_session.h"

namespace tavrik {

RtspSource::RtspSource(NetworkAddress address, Options options)
    : m_address(std::move(address)), m_given(std::move(options)), m_options(rtspOptions(m_given)) {}

void RtspSource::run(SourceSink& sink) {
    if (!gstreamerReady()) {
        std::fprintf(stderr, "tavrik: GStreamer's RTSP elements are missing, FFmpeg receives instead\n");
        runWithFfmpeg(sink);
        return;
    }
    for (const RtspTransport transport : m_options.transports) {
        RtspSession session(sink, m_address, m_options, transport);
        const RtspSession::End end = session.run();
        if (sink.stopped() || end == RtspSession::End::kOver) {
            return;
        }
        if (end == RtspSession::End::kForeignPictures) {
            runWithFfmpeg(sink);
            return;
        }
    }
}

void RtspSource::runWithFfmpeg(SourceSink& sink) {
    NetworkSource source(m_address, m_given);
    source.run(sink);
}

}  // namespace tavrik
