#include "tavrik/byte_stream.h"

#include <algorithm>
#include <utility>

namespace tavrik {
namespace {

constexpr std::size_t kMostRemembered = 64u << 10;  // the largest datagram
constexpr std::size_t kMaxBytesOutOfStep = 64u << 10;
constexpr int kPiecesWanted = 4;
// Four packet heads stand within this, wherever a transport stream is joined; it holds parameter sets as
// well.
constexpr std::size_t kHeadsShowWithin = 4 * 204;
// What a decision can still need of bytes that have told nothing.
constexpr std::size_t kKeepUnknown = 1024;

bool holdsParameterSet(const std::uint8_t* data, std::size_t size) {
    for (std::size_t i = 0; i + 7 <= size; ++i) {
        if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1 &&
            codecOfParameterSet(data + i + 3, size - i - 3) != Codec::kUnknown) {
            return true;
        }
    }
    return false;
}

bool isTransport(const std::uint8_t* data, std::size_t size) {
    return wholeTsPackets(data, size) || findTsStep(data, size).stride != 0;
}

// Looking again at each piece is quadratic: keep only what is needed.
void trim(std::vector<std::uint8_t>& bytes) {
    if (bytes.size() > 2 * kKeepUnknown) {
        bytes.erase(bytes.begin(), bytes.end() - static_cast<std::ptrdiff_t>(kKeepUnknown));
    }
}

}  // namespace

ByteStream::Form formOf(const std::uint8_t* data, std::size_t size) {
    if (findTsStep(data, size).stride != 0) {
        return ByteStream::Form::kTransport;
    }
    if (size > kHeadsShowWithin && holdsParameterSet(data, size)) {
        return ByteStream::Form::kRaw;
    }
    return ByteStream::Form::kUnknown;
}

ByteStream::ByteStream(PictureSink pictures, AudioSink audio)
    : m_pictures(std::move(pictures)), m_audio(std::move(audio)), m_transport(*this) {}

void ByteStream::push(const std::uint8_t* data, std::size_t size, Clock::time_point arrival) {
    m_arrival = arrival;
    if (size == 0 || repeated(data, size)) {
        return;
    }
    switch (m_form) {
        case Form::kUnknown:
            sniff(data, size);
            break;
        case Form::kTransport:
            pushTransport(data, size);
            break;
        case Form::kRaw:
            pushRaw(data, size);
            break;
    }
}

// The network hands some datagrams out twice. Their packets' counters would look like a loss. Pieces of which
// nobody knows that they are datagrams are left alone.
bool ByteStream::repeated(const std::uint8_t* data, std::size_t size) {
    RtpPayload rtp;
    if (m_form == Form::kRaw || !(wholeTsPackets(data, size) || readRtp(data, size, rtp))) {
        return false;
    }
    if (size == m_lastPiece.size() && std::equal(data, data + size, m_lastPiece.begin())) {
        return true;
    }
    if (size <= kMostRemembered) {
        m_lastPiece.assign(data, data + size);
    } else {
        m_lastPiece.clear();
    }
    return false;
}

void ByteStream::pushTransport(const std::uint8_t* data, std::size_t size) {
    RtpPayload rtp;
    const bool in_rtp = readRtp(data, size, rtp);
    // A sender may begin or cease to put RTP heads before its packets.
    const bool changed = m_rtp ? wholeTsPackets(data, size) : in_rtp && wholeTsPackets(rtp.data, rtp.size);
    m_otherForm = changed ? m_otherForm + 1 : 0;
    if (m_otherForm >= kPiecesWanted) {
        m_rtp = !m_rtp;
        m_otherForm = 0;
    }
    if (m_rtp && in_rtp) {
        pushInOrder(rtp.data, rtp.size);
    } else {
        pushInOrder(data, size);
    }
    if (m_transport.bytesWithoutPacket() > kMaxBytesOutOfStep) {
        startOver();
    }
}

// A datagram before which packets are missing waits for the next one: the network may have exchanged the two.
// Counters have four bits only, and two losses around a short datagram look like an exchange: the one behind
// both tells.
void ByteStream::pushInOrder(const std::uint8_t* data, std::size_t size) {
    const bool datagram = wholeTsPackets(data, size) && size <= kMostRemembered;
    const TsDemuxer::Counters counters =
        datagram ? m_transport.videoCounters(data, size) : TsDemuxer::Counters{};
    if (!m_earlier.empty()) {
        pushExchanged(counters);
    }
    if (!m_held.empty()) {
        if (counters.first >= 0 && !m_transport.gapBefore(counters) &&
            m_transport.videoCounters(m_held.data(), m_held.size()).follows(counters.last)) {
            m_earlier.assign(data, data + size);
            return;
        }
        pushHeld();
    }
    if (datagram && m_transport.gapBefore(counters)) {
        m_held.assign(data, data + size);
        return;
    }
    m_transport.push(data, size);
}

// The two that look exchanged, before a datagram with these counters.
void ByteStream::pushExchanged(const TsDemuxer::Counters& next) {
    const std::vector<std::uint8_t> earlier = std::exchange(m_earlier, {});
    const auto continues = [&](const std::vector<std::uint8_t>& datagram) {
        return next.first >= 0 &&
               next.follows(m_transport.videoCounters(datagram.data(), datagram.size()).last);
    };
    const bool as_they_came = continues(earlier) && !continues(m_held);
    if (as_they_came) {
        pushHeld();
    }
    m_transport.push(earlier.data(), earlier.size());
    if (!as_they_came) {
        pushHeld();
    }
}

void ByteStream::pushHeld() {
    const std::vector<std::uint8_t> held = std::exchange(m_held, {});
    m_transport.push(held.data(), held.size());
}

void ByteStream::pushRaw(const std::uint8_t* data, std::size_t size) {
    RtpPayload rtp;
    const bool transport =
        isTransport(data, size) || (readRtp(data, size, rtp) && isTransport(rtp.data, rtp.size));
    m_otherForm = transport ? m_otherForm + 1 : 0;
    if (m_otherForm >= kPiecesWanted) {
        startOver();
        sniff(data, size);
        return;
    }
    m_video->stamp({kNoTime, kNoTime, m_arrival});
    m_video->push(data, size);
}

void ByteStream::idle() {
    if (m_video != nullptr) {
        m_video->idle();
    }
}

void ByteStream::finish() {
    if (!m_earlier.empty()) {
        pushExchanged({});
    }
    if (!m_held.empty()) {
        pushHeld();
    }
    if (m_video != nullptr) {
        m_video->finish();
    }
}

std::size_t ByteStream::bytesHeld() const {
    return m_unknown.capacity() + m_unknownRtp.capacity() + (m_video != nullptr ? m_video->bytesHeld() : 0);
}

void ByteStream::sniff(const std::uint8_t* data, std::size_t size) {
    if (sniffRtp(data, size)) {
        return;
    }
    m_unknown.insert(m_unknown.end(), data, data + size);
    const Form form = formOf(m_unknown.data(), m_unknown.size());
    const bool rtp_next = form == Form::kTransport && m_rtpPieces == 1 && m_unknown.size() == size &&
                          formOf(m_unknownRtp.data(), m_unknownRtp.size()) == Form::kTransport;
    // What looks like RTP that is not in step shows by the next datagram whether it is.
    if (form != Form::kUnknown && !rtp_next) {
        begin(form, std::move(m_unknown));
        return;
    }
    trim(m_unknown);
    trim(m_unknownRtp);
}

// True if the datagrams are RTP with a transport stream; then they have been passed on.
bool ByteStream::sniffRtp(const std::uint8_t* data, std::size_t size) {
    RtpPayload rtp;
    if (!readRtp(data, size, rtp)) {
        m_rtpPieces = 0;
        return false;
    }
    const auto expected = static_cast<std::uint16_t>(m_lastRtp.sequence + 1);
    if (m_rtpPieces == 0 || rtp.source != m_lastRtp.source || rtp.sequence != expected) {
        m_unknownRtp.clear();
        m_rtpPieces = 0;
    }
    ++m_rtpPieces;
    m_lastRtp = rtp;
    m_unknownRtp.insert(m_unknownRtp.end(), rtp.data, rtp.data + rtp.size);
    const bool sure = m_rtpPieces > 1 || wholeTsPackets(rtp.data, rtp.size);
    if (!sure || formOf(m_unknownRtp.data(), m_unknownRtp.size()) != Form::kTransport) {
        return false;
    }
    m_rtp = true;
    begin(Form::kTransport, std::move(m_unknownRtp));
    return true;
}

void ByteStream::begin(Form form, std::vector<std::uint8_t> held) {
    m_form = form;
    m_otherForm = m_rtpPieces = 0;
    m_unknown = {};
    m_unknownRtp = {};
    if (form == Form::kRaw) {
        m_video = std::make_unique<PictureStream>(Codec::kUnknown, m_pictures, PictureStream::Ends::kGuessed);
        pushRaw(held.data(), held.size());
    } else {
        m_transport.push(held.data(), held.size());
    }
}

void ByteStream::startOver() {
    m_form = Form::kUnknown;
    m_transport.reset();
    m_held.clear();
    m_earlier.clear();
    m_video.reset();
    m_unknown = {};
    m_unknownRtp = {};
    m_otherForm = m_rtpPieces = 0;
    m_rtp = false;
}

PictureStream& ByteStream::videoOf(Codec codec) {
    if (m_video == nullptr || m_video->codec() != codec) {
        m_video = std::make_unique<PictureStream>(codec, m_pictures);
    }
    return *m_video;
}

void ByteStream::tsVideoTimes(Codec codec, std::int64_t pts, std::int64_t dts) {
    videoOf(codec).stamp({pts, dts, m_arrival});
}

void ByteStream::tsVideo(Codec codec, const std::uint8_t* data, std::size_t size) {
    videoOf(codec).push(data, size);
}

void ByteStream::tsPictureEnd() {
    if (m_video != nullptr) {
        m_video->endOfPicture();
    }
}

void ByteStream::tsVideoLost() {
    if (m_video != nullptr) {
        m_video->lost();
        m_video->stamp({kNoTime, kNoTime, m_arrival});
    }
}

void ByteStream::tsAudio(int stream_type, std::int64_t pts, const std::uint8_t* data, std::size_t size) {
    if (m_audio) {
        m_audio(stream_type, {pts, kNoTime, m_arrival}, data, size);
    }
}

}  // namespace tavrik
