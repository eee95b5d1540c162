#include "tavrik/ts_demuxer.h"

#include <algorithm>

namespace tavrik {
namespace {

constexpr std::size_t kMaxAudioBytes = 256u << 10;
// A muxer that has to give each PES packet a length splits large pictures at about the longest.
constexpr std::size_t kLongestSurelyWhole = 65000;
// Ten minutes at 25 a second.
constexpr int kStuffingDoubted = 15000;

int pidAt(const std::uint8_t* p) { return ((p[0] & 0x1F) << 8) | p[1]; }

// True if the adaptation field holds bytes that serve nothing but to fill the packet up. `field` is its
// length byte.
bool isStuffed(const std::uint8_t* field) {
    const std::size_t length = field[0];
    if (length == 0) {
        return true;
    }
    const std::uint8_t flags = field[1];
    std::size_t at = 2;
    const std::size_t end = 1 + length;
    at += (flags & 0x10) != 0 ? 6 : 0;  // PCR
    at += (flags & 0x08) != 0 ? 6 : 0;  // OPCR
    at += (flags & 0x04) != 0 ? 1 : 0;  // splice countdown
    for (const std::uint8_t flag : {0x02, 0x01}) {
        // Private data and the extension tell their own length.
        if ((flags & flag) != 0 && at < end) {
            at += 1u + field[at];
        }
    }
    if (at >= end) {
        return flags == 0;
    }
    return std::all_of(field + at, field + end, [](std::uint8_t byte) { return byte == 0xFF; });
}

// Whether the first bytes of a PES payload can begin a picture; else the picture before goes on in it.
bool canBeginPicture(Codec codec, const std::uint8_t* data, std::size_t size) {
    std::size_t zeros = 0;
    while (zeros < size && data[zeros] == 0) {
        ++zeros;
    }
    if (size < 4 || zeros + 1 >= size) {
        return true;
    }
    if (zeros < 2 || data[zeros] != 1) {
        return false;
    }
    // Picture, sequence, group.
    const std::uint8_t code = data[zeros + 1];
    return codec != Codec::kMpegVideo || code == 0x00 || code == 0xB3 || code == 0xB8;
}

std::int64_t timeAt(const std::uint8_t* p) {
    return (static_cast<std::int64_t>(p[0] & 0x0E) << 29) | (p[1] << 22) | ((p[2] & 0xFE) << 14) |
           (p[3] << 7) | (p[4] >> 1);
}

}  // namespace

void TsDemuxer::reset() {
    m_packets.reset();
    m_tables.reset();
    m_video = m_audio = Pes{};
    m_lastTime = kNoTime;
    m_stuffingDoubted = 0;
}

TsDemuxer::Counters TsDemuxer::videoCounters(const std::uint8_t* data, std::size_t size) const {
    Counters found;
    if (size % kTsPacketBytes != 0) {
        return found;
    }
    for (const std::uint8_t* p = data; p != data + size; p += kTsPacketBytes) {
        const bool has_payload = (p[3] & 0x10) != 0;
        const int pid = ((p[1] & 0x1F) << 8) | p[2];
        if (p[0] != kTsSync || pid != m_video.stream.pid || !has_payload) {
            continue;
        }
        found.last = p[3] & 0x0F;
        if (found.first < 0) {
            found.first = found.last;
            found.jump_told = (p[3] & 0x20) != 0 && p[4] > 0 && (p[5] & 0x80) != 0;
        }
    }
    return found;
}

void TsDemuxer::packet(const std::uint8_t* p) {
    const bool damaged = (p[1] & 0x80) != 0;
    const bool scrambled = (p[3] & 0xC0) != 0;
    const bool has_payload = (p[3] & 0x10) != 0;
    const bool starts = (p[1] & 0x40) != 0;
    const int pid = pidAt(p + 1);
    const std::size_t offset = (p[3] & 0x20) != 0 ? 5u + p[4] : 4;
    if (damaged || scrambled || !has_payload || offset >= kTsPacketBytes) {
        return;
    }
    for (Pes* pes : {&m_video, &m_audio}) {
        if (pes->stream.pid == pid) {
            pesPacket(*pes, p, offset);
            return;
        }
    }
    if (m_tables.packet(pid, p + offset, kTsPacketBytes - offset, starts)) {
        choose(m_video, m_tables.video());
        choose(m_audio, m_tables.audio());
    }
}

void TsDemuxer::choose(Pes& pes, const TsStream& stream) {
    if (!(pes.stream == stream)) {
        pes = Pes{};
        pes.stream = stream;
    }
}

void TsDemuxer::pesPacket(Pes& pes, const std::uint8_t* p, std::size_t offset) {
    const bool starts = (p[1] & 0x40) != 0;
    const bool has_field = (p[3] & 0x20) != 0;
    const bool jump_told = has_field && p[4] > 0 && (p[5] & 0x80) != 0;
    const int counter = p[3] & 0x0F;
    const std::uint8_t* payload = p + offset;
    const std::size_t size = kTsPacketBytes - offset;
    // A packet may be sent twice in a row, with another clock in its adaptation field.
    if (counter == pes.counter && size == pes.last.size() &&
        std::equal(pes.last.begin(), pes.last.end(), payload)) {
        return;
    }
    const bool gap = pes.counter >= 0 && counter != ((pes.counter + 1) & 0x0F) && !jump_told;
    pes.counter = counter;
    pes.last.assign(payload, payload + size);
    const bool video = &pes == &m_video;
    if (gap) {
        lose(pes, starts);
    } else if (video) {
        judgeStuffing(pes, !starts);
    }
    pesData(pes, payload, size, starts);
    pes.last_stuffed = has_field && isStuffed(p + 4);
    if (video && pes.last_stuffed && pes.state == State::kPayload && !pes.bounded && m_stuffingDoubted == 0) {
        pesEnd(pes);
        pes.state = State::kStuffed;
    }
}

// Packets of the stream are missing before the present one.
void TsDemuxer::lose(Pes& pes, bool starts) {
    pes.last_stuffed = false;
    if (&pes == &m_audio) {
        pes.payload.clear();
        pes.state = starts ? pes.state : State::kClosed;
        return;
    }
    m_handler.tsVideoLost();
    if (starts) {
        return;
    }
    // How much is missing nobody knows, and the head of another PES packet may be among it: what follows is
    // passed on, its slices tell whose they are.
    pes.state = State::kPayload;
    pes.header.clear();
    pes.bounded = pes.fresh = false;
}

// Stuffing in a packet after which the same PES packet goes on proves nothing, now and for a while.
void TsDemuxer::judgeStuffing(Pes& pes, bool goes_on) {
    const bool taken = pes.state == State::kStuffed;
    if (goes_on && pes.last_stuffed && (taken || pes.state == State::kPayload)) {
        m_stuffingDoubted = kStuffingDoubted;
        pes.state = State::kPayload;
    } else if (!goes_on && m_stuffingDoubted > 0) {
        --m_stuffingDoubted;
    }
}

void TsDemuxer::pesData(Pes& pes, const std::uint8_t* data, std::size_t size, bool starts) {
    if (starts) {
        pesStart(pes);
    }
    if (pes.state == State::kPayload) {
        pesPayload(pes, data, size);
    }
    if (pes.state != State::kHeader) {
        return;
    }
    pes.header.insert(pes.header.end(), data, data + size);
    if (!pesHeaderComplete(pes)) {
        return;
    }
    const std::vector<std::uint8_t> head = std::move(pes.header);
    pes.header.clear();
    const std::size_t skip = 9u + head[8];
    pesPayload(pes, head.data() + skip, head.size() - skip);
}

void TsDemuxer::pesStart(Pes& pes) {
    if (pes.state == State::kPayload) {
        if (&pes == &m_video) {
            pes.end_due = true;
        } else {
            pesEnd(pes);
        }
    }
    pes.state = State::kHeader;
    pes.header.clear();
}

// False while bytes are missing, or when it is no PES header: then the packet is closed.
bool TsDemuxer::pesHeaderComplete(Pes& pes) {
    const auto& h = pes.header;
    if (h.size() < 9) {
        return false;
    }
    if (h[0] != 0 || h[1] != 0 || h[2] != 1 || (h[6] & 0xC0) != 0x80) {
        pes.state = State::kClosed;
        return false;
    }
    if (h.size() < 9u + h[8]) {
        return false;
    }
    const std::size_t length = (static_cast<std::size_t>(h[4]) << 8) | h[5];
    const std::size_t after = 3u + h[8];
    pes.bounded = length > after;
    pes.left = pes.bounded ? length - after : 0;
    pes.splittable = length > kLongestSurelyWhole;
    pes.fresh = true;
    readTimes(pes);
    pes.state = State::kPayload;
    return true;
}

void TsDemuxer::readTimes(Pes& pes) {
    const auto& h = pes.header;
    const bool has_pts = (h[7] & 0x80) != 0 && h[8] >= 5;
    const bool has_dts = has_pts && (h[7] & 0x40) != 0 && h[8] >= 10;
    pes.pts = has_pts ? unwrapped(timeAt(h.data() + 9)) : kNoTime;
    pes.dts = has_dts ? unwrapped(timeAt(h.data() + 14)) : pes.pts;
}

// The time next to the last one that has the same 33 bits.
std::int64_t TsDemuxer::unwrapped(std::int64_t time) {
    constexpr std::int64_t kWrap = std::int64_t{1} << 33;
    if (m_lastTime != kNoTime) {
        const std::int64_t ahead = (time - m_lastTime) & (kWrap - 1);
        time = m_lastTime + (ahead >= kWrap / 2 ? ahead - kWrap : ahead);
    }
    m_lastTime = time;
    return time;
}

void TsDemuxer::pesPayload(Pes& pes, const std::uint8_t* data, std::size_t size) {
    if (pes.bounded) {
        size = std::min(size, pes.left);
    }
    if (&pes == &m_video) {
        if (size > 0) {
            videoPayload(pes, data, size);
        }
    } else if (pes.payload.size() + size <= kMaxAudioBytes) {
        pes.payload.insert(pes.payload.end(), data, data + size);
    }
    if (!pes.bounded) {
        return;
    }
    pes.left -= size;
    if (pes.left > 0) {
        return;
    }
    if (pes.splittable && &pes == &m_video) {
        pes.end_due = true;
        pes.state = State::kClosed;
    } else {
        pesEnd(pes);
    }
}

void TsDemuxer::videoPayload(Pes& pes, const std::uint8_t* data, std::size_t size) {
    const Codec codec = videoCodecOf(pes.stream.type);
    if (pes.fresh) {
        pes.fresh = false;
        const bool goes_on = pes.end_due && !canBeginPicture(codec, data, size);
        if (pes.end_due && !goes_on) {
            m_handler.tsPictureEnd();
        }
        pes.end_due = false;
        if (!goes_on) {
            m_handler.tsVideoTimes(codec, pes.pts, pes.dts);
        }
    }
    m_handler.tsVideo(codec, data, size);
}

void TsDemuxer::pesEnd(Pes& pes) {
    pes.state = State::kClosed;
    if (&pes == &m_video) {
        m_handler.tsPictureEnd();
    } else if (!pes.payload.empty()) {
        m_handler.tsAudio(pes.stream.type, pes.pts, pes.payload.data(), pes.payload.size());
        pes.payload.clear();
    }
}

}  // namespace tavrik
