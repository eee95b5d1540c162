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
        if (data[offset] != TsDemuxer::kSync) return 0;
    }
    return count;
}

bool holdsParameterSet(const std::uint8_t* data, std::size_t size) {
    for (std::size_t i = 0; i + 7 <= size; ++i) {
        if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1 &&
            codecOfParameterSet(data + i + 3, size - i - 3) != Codec::Unknown) {
            return true;
        }
    }
    return false;
}

bool wholePackets(const std::uint8_t* data, std::size_t size) {
    if (size < 2 * kPacket || size % kPacket != 0) return false;
    for (std::size_t at = 0; at < size; at += kPacket) {
        if (data[at] != TsDemuxer::kSync) return false;
    }
    return true;
}

}  // namespace

ByteStream::Form formOf(const std::uint8_t* data, std::size_t size) {
    for (std::size_t offset = 0; offset + (kSyncsWanted - 1) * kPacket < size; ++offset) {
        if (syncsFrom(data, size, offset) == kSyncsWanted) return ByteStream::Form::Transport;
    }
    if (syncsFrom(data, size, 0) == 0 && holdsParameterSet(data, size)) return ByteStream::Form::Raw;
    return ByteStream::Form::Unknown;
}

ByteStream::ByteStream(PictureSink pictures, AudioSink audio)
    : pictures_(std::move(pictures)), audio_(std::move(audio)), transport_(*this) {}

void ByteStream::push(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return;
    switch (form_) {
        case Form::Unknown:
            sniff(data, size);
            break;
        case Form::Transport:
            transport_.push(data, size);
            if (transport_.bytesWithoutPacket() > kMaxBytesOutOfStep) startOver();
            break;
        case Form::Raw:
            packet_like_ = wholePackets(data, size) ? packet_like_ + 1 : 0;
            if (packet_like_ >= kPiecesWanted) {
                startOver();
                sniff(data, size);
            } else {
                video_->push(data, size);
            }
            break;
    }
}

void ByteStream::idle() {
    if (video_ != nullptr) video_->idle();
}

void ByteStream::sniff(const std::uint8_t* data, std::size_t size) {
    unknown_.insert(unknown_.end(), data, data + size);
    const Form form = formOf(unknown_.data(), unknown_.size());
    if (form != Form::Unknown) {
        begin(form);
        const std::vector<std::uint8_t> held = std::move(unknown_);
        unknown_ = {};
        push(held.data(), held.size());
        return;
    }
    // Looking again at each piece is quadratic: keep only what a decision can still need.
    constexpr std::size_t kKeep = kSyncsWanted * kPacket;
    if (unknown_.size() > std::min(kMaxUnknownBytes, 2 * kKeep)) {
        unknown_.erase(unknown_.begin(), unknown_.end() - static_cast<std::ptrdiff_t>(kKeep));
    }
}

void ByteStream::begin(Form form) {
    form_ = form;
    packet_like_ = 0;
    if (form == Form::Raw) video_ = std::make_unique<PictureStream>(Codec::Unknown, pictures_);
}

void ByteStream::startOver() {
    form_ = Form::Unknown;
    transport_.reset();
    video_.reset();
    unknown_.clear();
    packet_like_ = 0;
}

void ByteStream::tsVideo(Codec codec, const std::uint8_t* data, std::size_t size) {
    if (video_ == nullptr || video_->codec() != codec)
        video_ = std::make_unique<PictureStream>(codec, pictures_);
    video_->push(data, size);
}

void ByteStream::tsPictureEnd() {
    if (video_ != nullptr) video_->endOfPicture();
}

void ByteStream::tsAudio(int stream_type, const std::uint8_t* data, std::size_t size) {
    if (audio_) audio_(stream_type, data, size);
}

}  // namespace tavrik
