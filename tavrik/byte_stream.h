// A stream of which only the bytes are known: transport stream, alone or in RTP, or raw Annex B, H.264 or
// H.265, told by what arrives.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "tavrik/picture_stream.h"
#include "tavrik/rtp_payload.h"
#include "tavrik/ts_demuxer.h"

namespace tavrik {

// Not thread-safe. A sender that changes its form is followed.
class ByteStream : private TsDemuxer::Handler {
public:
    using Clock = std::chrono::steady_clock;
    using PictureSink = PictureStream::Sink;
    // One whole PES payload of the sound; stream_type as in ts_tables.h; the stamp of what begins in it.
    using AudioSink =
        std::function<void(int stream_type, const Stamp& stamp, const std::uint8_t* data, std::size_t size)>;
    enum class Form { kUnknown, kTransport, kRaw };

    ByteStream(PictureSink pictures, AudioSink audio);

    // One datagram, or a piece of a stream without RTP. arrival: when it came.
    void push(const std::uint8_t* data, std::size_t size, Clock::time_point arrival = {});
    // No byte has come for idleMs() milliseconds, and none waits in the system or in a queue.
    void idle();
    // The stream has ended: what waits is let go.
    void finish();
    bool pending() const { return m_video != nullptr && m_video->pending(); }
    // -1 while silence ends nothing.
    int idleMs() const { return m_video != nullptr ? m_video->idleMs() : -1; }
    Form form() const { return m_form; }
    // Of its buffers.
    std::size_t bytesHeld() const;

private:
    void tsVideoTimes(Codec codec, std::int64_t pts, std::int64_t dts) override;
    void tsVideo(Codec codec, const std::uint8_t* data, std::size_t size) override;
    void tsPictureEnd() override;
    void tsVideoLost() override;
    void tsAudio(int stream_type, std::int64_t pts, const std::uint8_t* data, std::size_t size) override;

    PictureStream& videoOf(Codec codec);
    void sniff(const std::uint8_t* data, std::size_t size);
    bool sniffRtp(const std::uint8_t* data, std::size_t size);
    bool repeated(const std::uint8_t* data, std::size_t size);
    void pushTransport(const std::uint8_t* data, std::size_t size);
    void pushInOrder(const std::uint8_t* data, std::size_t size);
    void pushExchanged(const TsDemuxer::Counters& next);
    void pushHeld();
    void pushRaw(const std::uint8_t* data, std::size_t size);
    void startOver();
    void begin(Form form, std::vector<std::uint8_t> held);

    PictureSink m_pictures;
    AudioSink m_audio;
    Form m_form = Form::kUnknown;
    Clock::time_point m_arrival{};
    std::vector<std::uint8_t> m_unknown;  // while the form is unknown, bounded
    // While the form is unknown: the payload of the last datagrams, if they are one RTP stream without a gap.
    std::vector<std::uint8_t> m_unknownRtp;
    int m_rtpPieces = 0;
    RtpPayload m_lastRtp;
    bool m_rtp = false;  // the transport stream comes in RTP
    TsDemuxer m_transport;
    std::unique_ptr<PictureStream> m_video;
    std::vector<std::uint8_t> m_lastPiece;  // of the transport stream
    std::vector<std::uint8_t> m_held;       // a datagram that waits for those before it
    std::vector<std::uint8_t> m_earlier;    // one that came behind it and seems to belong before it
    int m_otherForm = 0;                    // pieces in a row that look like another form
};

// What the bytes are: Transport where four packet heads stand in step, Raw where a parameter set begins and
// there are enough bytes to see that those heads are missing, else Unknown.
ByteStream::Form formOf(const std::uint8_t* data, std::size_t size);

}  // namespace tavrik
