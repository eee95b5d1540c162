// MPEG transport stream (ISO/IEC 13818-1): finds the first programme with video and hands out its elementary
// streams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tavrik/nal.h"
#include "tavrik/stamp.h"
#include "tavrik/ts_packets.h"
#include "tavrik/ts_tables.h"

namespace tavrik {

// Not thread-safe. Takes any split and any noise.
class TsDemuxer {
public:
    class Handler {
    public:
        virtual ~Handler() = default;
        // What tsVideo gives next begins a PES packet with these times: 1/90000 s, running on where the 33
        // bits of the stream wrap; kNoTime where it has none.
        virtual void tsVideoTimes(Codec codec, std::int64_t pts, std::int64_t dts) = 0;
        virtual void tsVideo(Codec codec, const std::uint8_t* data, std::size_t size) = 0;
        // The PES packet has ended, as its length says, or the stuffing of its last packet, or the next one.
        virtual void tsPictureEnd() = 0;
        // Bytes are missing between the last tsVideo and the next.
        virtual void tsVideoLost() = 0;
        // One whole PES payload; stream_type as in ts_tables.h; pts of what begins in it.
        virtual void tsAudio(int stream_type, std::int64_t pts, const std::uint8_t* data,
                             std::size_t size) = 0;
    };

    explicit TsDemuxer(Handler& handler)
        : m_handler(handler), m_packets([this](const std::uint8_t* p) { packet(p); }) {}
    TsDemuxer(const TsDemuxer&) = delete;
    TsDemuxer& operator=(const TsDemuxer&) = delete;

    void push(const std::uint8_t* data, std::size_t size) { m_packets.push(data, size); }
    void reset();
    // The first and last continuity counter of the video's packets among whole packets of kTsPacketBytes in
    // step; -1: there are none.
    struct Counters {
        int first = -1, last = -1;
        bool jump_told = false;  // the first need not follow anything
        bool follows(int counter) const {
            return first < 0 || jump_told || first == counter || first == ((counter + 1) & 0x0F);
        }
    };
    Counters videoCounters(const std::uint8_t* data, std::size_t size) const;
    // True if packets of the video are missing between what has been pushed and these.
    bool gapBefore(const Counters& packets) const {
        return m_video.counter >= 0 && !packets.follows(m_video.counter);
    }
    // Bytes since the last good packet: large when this is no transport stream (any more).
    std::size_t bytesWithoutPacket() const { return m_packets.bytesWithoutPacket(); }

private:
    enum class State {
        kClosed,
        kHeader,  // its head is not complete
        kPayload,
        kStuffed,  // taken for ended by its stuffing
    };
    struct Pes {
        TsStream stream;
        int counter = -1;                // continuity counter of the last packet
        std::vector<std::uint8_t> last;  // payload of the last packet
        bool last_stuffed = false;
        State state = State::kClosed;
        std::vector<std::uint8_t> header;  // until complete
        bool bounded = false;
        std::size_t left = 0;     // payload bytes still to come, if bounded
        bool splittable = false;  // so long that the picture may go on in the next one
        bool fresh = false;       // no payload byte yet
        bool end_due = false;     // the one before has not been told to have ended
        std::int64_t pts = kNoTime, dts = kNoTime;
        std::vector<std::uint8_t> payload;  // audio only
    };

    void packet(const std::uint8_t* p);
    void pesPacket(Pes& pes, const std::uint8_t* p, std::size_t offset);
    void choose(Pes& pes, const TsStream& stream);
    void lose(Pes& pes, bool starts);
    void judgeStuffing(Pes& pes, bool goes_on);
    void pesData(Pes& pes, const std::uint8_t* data, std::size_t size, bool starts);
    void pesStart(Pes& pes);
    bool pesHeaderComplete(Pes& pes);
    void readTimes(Pes& pes);
    std::int64_t unwrapped(std::int64_t time);
    void pesPayload(Pes& pes, const std::uint8_t* data, std::size_t size);
    void videoPayload(Pes& pes, const std::uint8_t* data, std::size_t size);
    void pesEnd(Pes& pes);

    Handler& m_handler;
    TsPackets m_packets;
    TsTables m_tables;
    Pes m_video, m_audio;
    std::int64_t m_lastTime = kNoTime;
    int m_stuffingDoubted = 0;  // PES packets that have to pass before stuffing counts again
};

}  // namespace tavrik
