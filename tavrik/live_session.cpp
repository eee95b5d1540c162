#include "tavrik/live_session.h"

#include <chrono>
#include <cstdio>
#include <utility>

namespace tavrik {
namespace {

// A stream with no key pictures at all (gradual refresh without a recovery point) is decoded after so many.
constexpr int kMaxSkipped = 250;
// A decoder further behind than this shows fewer pictures instead of old ones.
constexpr auto kMaxLag = std::chrono::seconds(2);
constexpr auto kCallbackPatience = std::chrono::seconds(2);
constexpr auto kThreadPatience = std::chrono::milliseconds(900);

std::int64_t nowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch()).count();
}

AVCodecID idOf(Codec codec, const AVCodecParameters* format) {
    if (codec == Codec::H264) return AV_CODEC_ID_H264;
    if (codec == Codec::H265) return AV_CODEC_ID_HEVC;
    return format != nullptr ? format->codec_id : AV_CODEC_ID_NONE;
}

Codec codecOf(AVCodecID id) {
    if (id == AV_CODEC_ID_H264) return Codec::H264;
    if (id == AV_CODEC_ID_HEVC) return Codec::H265;
    return Codec::Other;
}

AVCodecID audioCodec(int stream_type) {
    switch (stream_type) {
        case 0x03:
        case 0x04:
            return AV_CODEC_ID_MP2;
        case 0x0F:
            return AV_CODEC_ID_AAC;
        case 0x11:
            return AV_CODEC_ID_AAC_LATM;
        case 0x81:
            return AV_CODEC_ID_AC3;
        default:
            return AV_CODEC_ID_NONE;
    }
}

}  // namespace

LiveSession::LiveSession(LiveCallbacks callbacks, DecoderKind decoder, Options options)
    : callbacks_(std::move(callbacks)),
      bytes_([this](Codec codec, const AccessUnit& unit) { onPicture(codec, unit); },
             [this](int type, const std::uint8_t* data, std::size_t size) { onTsAudio(type, data, size); }),
      decoder_(decoder, std::move(options), [this](AVFrame* frame) { onFrame(frame); }) {}

bool LiveSession::start(std::unique_ptr<Source> source) {
    const std::shared_ptr<LiveSession> self = shared_from_this();
    source_ = std::move(source);
    if (!workers_.start([self] { self->decodeLoop(); })) return false;
    if (workers_.start([self] { self->source_->run(*self); })) return true;
    close();
    return false;
}

void LiveSession::close() {
    gate_.close();
    stopAll();
    gate_.waitIdle(Clock::now() + kCallbackPatience);
    workers_.finish(Clock::now() + kThreadPatience);
}

void LiveSession::stopAll() {
    {
        const std::lock_guard<std::mutex> lock(stop_mutex_);
        stopped_ = true;
        stop_changed_.notify_all();
    }
    queue_.close();
    const std::lock_guard<std::mutex> lock(audio_mutex_);
    if (audio_ != nullptr) audio_->stop();
}

void LiveSession::pause(int ms) {
    std::unique_lock<std::mutex> lock(stop_mutex_);
    stop_changed_.wait_until(lock, Clock::now() + std::chrono::milliseconds(ms),
                             [this] { return stopped_.load(); });
}

void LiveSession::onBytes(const std::uint8_t* data, std::size_t size) {
    queue_.push(Chunk{{data, data + size}, AV_NOPTS_VALUE, nullptr}, false);
}

void LiveSession::onVideoPacket(const AVPacket* packet, const SharedParameters& format) {
    if (packet->size > 0)
        queue_.push(Chunk{{packet->data, packet->data + packet->size}, packet->pts, format}, true);
}

void LiveSession::onAudioPacket(const AVPacket* packet, const AVCodecParameters* format) {
    if (AudioDecoder* decoder = audio()) decoder->push(packet, format);
}

void LiveSession::onTsAudio(int stream_type, const std::uint8_t* data, std::size_t size) {
    const AVCodecID codec = audioCodec(stream_type);
    if (codec == AV_CODEC_ID_NONE) return;
    if (AudioDecoder* decoder = audio()) decoder->push(codec, data, size);
}

AudioDecoder* LiveSession::audio() {
    if (!wantsAudio()) return nullptr;
    const std::lock_guard<std::mutex> lock(audio_mutex_);
    if (audio_ == nullptr && !stopped_) {
        audio_ = std::make_shared<AudioDecoder>([this](std::uint8_t* data, int size, int rate, int channels) {
            gate_.call([&] { callbacks_.on_audio(data, size, rate, channels); });
        });
        workers_.start([self = shared_from_this(), decoder = audio_] { decoder->run(); });
    }
    return audio_.get();
}

void LiveSession::decodeLoop() {
    Chunk chunk;
    for (;;) {
        switch (queue_.pop(chunk, silenceMs())) {
            case ChunkQueue::Taken::Chunk:
                take(chunk);
                break;
            case ChunkQueue::Taken::Silence:
                onSilence();
                break;
            case ChunkQueue::Taken::Closed:
                return;
        }
    }
}

int LiveSession::silenceMs() const {
    if (packets_ && packets_->pending()) return packets_->idleMs();
    if (bytes_.pending()) return bytes_.idleMs();
    return -1;
}

void LiveSession::onSilence() {
    // The receiving thread may not have had its turn yet: bytes that wait in the system are no silence.
    if (source_->bytesWaiting()) return;
    if (packets_) packets_->idle();
    bytes_.idle();
}

void LiveSession::take(const Chunk& chunk) {
    const auto before = std::exchange(arrived_, chunk.arrived);
    if (chunk.format != nullptr) {
        takePacket(chunk, before);
    } else {
        bytes_.push(chunk.data.data(), chunk.data.size());
    }
}

void LiveSession::takePacket(const Chunk& chunk, Clock::time_point before) {
    if (chunk.format != format_) {
        if (packets_) packets_->idle();
        format_ = chunk.format;
        decoder_.close();
        packets_.emplace(codecOf(format_->codec_id),
                         [this](Codec codec, const AccessUnit& unit) { onPicture(codec, unit); });
    } else if (chunk.pts != last_pts_) {
        packets_->endOfPicture();
    } else if (chunk.pts != AV_NOPTS_VALUE) {
        packets_->samePicture(
            static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(chunk.arrived - before).count()));
    }
    last_pts_ = chunk.pts;
    packets_->push(chunk.data.data(), chunk.data.size());
}

void LiveSession::onPicture(Codec codec, const AccessUnit& unit) {
    if (stopped_) return;
    rate_.addBytes(nowUs(), unit.bytes.size());
    passSei(codec, unit);
    if (!admit(unit) || !ensureDecoder(codec)) return;
    decoder_.decode(unit.bytes.data(), unit.bytes.size(), AV_NOPTS_VALUE);
}

void LiveSession::passSei(Codec codec, const AccessUnit& unit) {
    if (unit.sei.empty() || !callbacks_.on_sei) return;
    // A copy: the receiver may write on it.
    std::vector<std::uint8_t> run = unit.sei;
    run.push_back(0);
    gate_.call(
        [&] { callbacks_.on_sei(run.data(), static_cast<int>(run.size()), codec == Codec::H265 ? 1 : 0); });
}

// Decoding begins at a key picture, and stops until the next one at the bound of pictures that nobody
// released or when it cannot keep up.
bool LiveSession::admit(const AccessUnit& unit) {
    const bool full = in_flight_.full();
    if (full && !told_full_) {
        std::fprintf(stderr, "tavrik: %d pictures not released, dropping\n", in_flight_.count());
        told_full_ = true;
    }
    const bool late = Clock::now() - arrived_ > kMaxLag;
    if (!wait_for_key_ && (full || late)) {
        wait_for_key_ = true;
        skipped_ = 0;
    }
    if (!wait_for_key_) return true;
    ++skipped_;
    if (full || late || (!unit.key && skipped_ < kMaxSkipped)) return false;
    wait_for_key_ = false;
    decoder_.flush();
    return true;
}

bool LiveSession::ensureDecoder(Codec codec) {
    const AVCodecID id = idOf(codec, format_.get());
    if (id == AV_CODEC_ID_NONE) return false;
    if (decoder_.isOpen() && decoder_.codec() == id) return true;
    return decoder_.open(id, format_.get(), true);
}

void LiveSession::onFrame(AVFrame* frame) {
    if (!in_flight_.track(frame)) return;
    const std::int64_t now = nowUs();
    rate_.addPicture(now);
    const float fps = rate_.fps(now);
    const int kilobits = rate_.kilobits(now);
    gate_.call([&] {
        if (callbacks_.on_frame) callbacks_.on_frame(frame, fps, kilobits);
    });
}

}  // namespace tavrik
