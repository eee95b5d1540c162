#include "tavrik/byte_stream.h"

#include <algorithm>

namespace tavrik {
namespace {

constexpr std::size_t kMaxUnknownBytes = 256u << 10;
constexpr std::size_t kMaxBytesOutOfStep = 64u << 10;
constexpr std::size_t kSyncsWanted = 4;
constexpr int kPiecesWanted = 4;
constexpr std::size_t kPacket = TsDemuxer::kPacketBytes;

// Sync bytes from offset on, 188 apart, as far as the data goes; 0 where one is missing.
std::size_t syncsFrom(const std::uint8_t* data, std::size_t size, std::size_t offset) {
    std::size_t count = 0;
    for (; offset < size && count < kSyncsWanted; offset += kPacket, ++count) {
        if (data[offset] != TsDemuxer::kSync) {
            return 0;
        }
    }
    return count;
}

bool holdsParameterSet(const std::uint8_t* data, std::size_t size) {
    for (std::size_t i = 0; i + 7 <= size; ++i) {
        if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1 &&
            codecOfParameterSet(data + i + 3, size - i - 3) != Codec::kUnknown) {
            return true;
        }
    }
    return false;
}

bool wholePackets(const std::uint8_t* data, std::size_t size) {
    if (size < 2 * kPacket || size % kPacket != 0) {
        return false;
    }
    for (std::size_t at = 0; at < size; at += kPacket) {
        if (data[at] != TsDemuxer::kSync) {
            return false;
        }
    }
    return true;
}

}  // namespace

ByteStream::Form formOf(const std::uint8_t* data, std::size_t size) {
    for (std::size_t offset = 0; offset + (kSyncsWanted - 1) * kPacket < size; ++offset) {
        if (syncsFrom(data, size, offset) == kSyncsWanted) {
            return ByteStream::Form::kTransport;
        }
    }
    if (syncsFrom(data, size, 0) == 0 && holdsParameterSet(data, size)) {
        return ByteStream::Form::kRaw;
    }
    return ByteStream::Form::kUnknown;
}

ByteStream::ByteStream(PictureSink pictures, AudioSink audio)
    : m_pictures(std::move(pictures)), m_audio(std::move(audio)), m_transport(*this) {}

void ByteStream::push(const std::uint8_t* data, std::size_t size, Clock::time_point arrival) {
    m_arrival = arrival;
    if (size == 0) {
        return;
    }
    switch (m_form) {
        case Form::kUnknown:
            sniff(data, size);
            break;
        case Form::kTransport:
            m_transport.push(data, size);
            if (m_transport.bytesWithoutPacket() > kMaxBytesOutOfStep) {
                startOver();
            }
            break;
        case Form::kRaw:
            m_packetLike = wholePackets(data, size) ? m_packetLike + 1 : 0;
            if (m_packetLike >= kPiecesWanted) {
                startOver();
                sniff(data, size);
            } else {
                m_video->stamp({kNoTime, kNoTime, arrival});
                m_video->push(data, size);
            }
            break;
    }
}

void ByteStream::idle() {
    if (m_video != nullptr) {
        m_video->idle();
    }
}

void ByteStream::finish() {
    if (m_video != nullptr) {
        m_video->finish();
    }
}

void ByteStream::sniff(const std::uint8_t* data, std::size_t size) {
    m_unknown.insert(m_unknown.end(), data, data + size);
    const Form form = formOf(m_unknown.data(), m_unknown.size());
    if (form != Form::kUnknown) {
        begin(form);
        const std::vector<std::uint8_t> held = std::move(m_unknown);
        m_unknown = {};
        push(held.data(), held.size(), m_arrival);
        return;
    }
    // Looking again at each piece is quadratic: keep only what a decision can still need.
    constexpr std::size_t kKeep = kSyncsWanted * kPacket;
    if (m_unknown.size() > std::min(kMaxUnknownBytes, 2 * kKeep)) {
        m_unknown.erase(m_unknown.begin(), m_unknown.end() - static_cast<std::ptrdiff_t>(kKeep));
    }
}

void ByteStream::begin(Form form) {
    m_form = form;
    m_packetLike = 0;
    if (form == Form::kRaw) {
        m_video = std::make_unique<PictureStream>(Codec::kUnknown, m_pictures);
    }
}

void ByteStream::startOver() {
    m_form = Form::kUnknown;
    m_transport.reset();
    m_video.reset();
    m_unknown.clear();
    m_packetLike = 0;
}

void ByteStream::tsVideo(Codec codec, const std::uint8_t* data, std::size_t size) {
    if (m_video == nullptr || m_video->codec() != codec) {
        m_video = std::make_unique<PictureStream>(codec, m_pictures);
    }
    m_video->push(data, size);
}

void ByteStream::tsPictureEnd() {
    if (m_video != nullptr) {
        m_video->endOfPicture();
    }
}

void ByteStream::tsAudio(int stream_type, const std::uint8_t* data, std::size_t size) {
    if (m_audio) {
        m_audio(stream_type, data, size);
    }
}

}  // namespace tavrik
