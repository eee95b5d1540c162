#include "tavrik/live_session.h"

#include <chrono>
#include <cstdio>
#include <utility>

namespace tavrik {
namespace {

// A stream with no key pictures at all (gradual refresh without a recovery point) is decoded after so long.
constexpr auto kMaxWaitForKey = std::chrono::seconds(8);
// A decoder further behind than this shows fewer pictures instead of old ones.
constexpr auto kMaxLag = std::chrono::seconds(2);
constexpr auto kCallbackPatience = std::chrono::seconds(2);
constexpr auto kThreadPatience = std::chrono::milliseconds(900);

std::int64_t nowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch()).count();
}

AVCodecID idOf(Codec codec, const AVCodecParameters* format) {
    if (codec == Codec::kH264) {
        return AV_CODEC_ID_H264;
    }
    if (codec == Codec::kH265) {
        return AV_CODEC_ID_HEVC;
    }
    if (codec == Codec::kMpegVideo) {
        return AV_CODEC_ID_MPEG2VIDEO;
    }
    return format != nullptr ? format->codec_id : AV_CODEC_ID_NONE;
}

Codec codecOf(AVCodecID id) {
    if (id == AV_CODEC_ID_H264) {
        return Codec::kH264;
    }
    if (id == AV_CODEC_ID_HEVC) {
        return Codec::kH265;
    }
    return Codec::kOther;
}

AVCodecID audioCodec(int stream_type) {
    switch (stream_type) {
        case kSoundMpeg1:
        case kSoundMpeg2:
            return AV_CODEC_ID_MP2;
        case kSoundAac:
            return AV_CODEC_ID_AAC;
        case kSoundLatm:
            return AV_CODEC_ID_AAC_LATM;
        case kSoundAc3:
            return AV_CODEC_ID_AC3;
        case kSoundEac3:
            return AV_CODEC_ID_EAC3;
        case kSoundDts:
            return AV_CODEC_ID_DTS;
        default:
            return AV_CODEC_ID_NONE;
    }
}

SharedParameters soundParameters(AVCodecID codec) {
    std::shared_ptr<AVCodecParameters> out(avcodec_parameters_alloc(), AvFree());
    if (out != nullptr) {
        out->codec_type = AVMEDIA_TYPE_AUDIO;
        out->codec_id = codec;
    }
    return out;
}

}  // namespace

LiveSession::LiveSession(LiveCallbacks callbacks, DecoderKind decoder, Options options)
    : m_callbacks(std::move(callbacks)),
      m_bytes([this](const AccessUnitPtr& unit) { onPicture(unit); },
              [this](int type, const Stamp& stamp, const std::uint8_t* data, std::size_t size) {
                  onTsAudio(type, stamp, data, size);
              }),
      m_decoder(decoder, std::move(options), [this](AVFrame* frame) { onFrame(frame); }) {}

bool LiveSession::start(std::unique_ptr<Source> source) {
    const std::shared_ptr<LiveSession> self = shared_from_this();
    m_source = std::move(source);
    if (!m_workers.start([self] { self->decodeLoop(); })) {
        return false;
    }
    if (m_workers.start([self] { self->receive(); })) {
        return true;
    }
    close();
    return false;
}

void LiveSession::close() {
    m_gate.close();
    stopAll();
    m_gate.waitIdle(Clock::now() + kCallbackPatience);
    m_workers.finish(Clock::now() + kThreadPatience);
}

void LiveSession::stopAll() {
    {
        const std::lock_guard<std::mutex> lock(m_stopMutex);
        m_stopped = true;
        m_stopChanged.notify_all();
    }
    m_queue.close();
    m_recorder.stop();
    m_stills.stop();
    const std::lock_guard<std::mutex> lock(m_audioMutex);
    if (m_audio != nullptr) {
        m_audio->stop();
    }
}

void LiveSession::captureBegin(const std::string& path, bool mp4) {
    if (!m_recorderRuns.exchange(true)) {
        m_recorderRuns = m_workers.start([self = shared_from_this()] { self->m_recorder.run(); });
    }
    m_recorder.begin(path, mp4);
}

void LiveSession::stillBegin(const std::string& path) {
    if (!m_stillsRun.exchange(true)) {
        m_stillsRun = m_workers.start([self = shared_from_this()] { self->m_stills.run(); });
    }
    m_stills.take(path);
}

void LiveSession::pause(int ms) {
    std::unique_lock<std::mutex> lock(m_stopMutex);
    m_stopChanged.wait_until(lock, Clock::now() + std::chrono::milliseconds(ms),
                             [this] { return m_stopped.load(); });
}

void LiveSession::receive() {
    m_source->run(*this);
    Chunk end;
    end.ends_stream = true;
    m_queue.push(std::move(end), true);
}

void LiveSession::onBytes(const std::uint8_t* data, std::size_t size) {
    Chunk chunk;
    chunk.data.assign(data, data + size);
    m_queue.push(std::move(chunk), false);
}

void LiveSession::onVideo(const VideoPiece& piece, const SharedParameters& format) {
    Chunk chunk;
    chunk.data.assign(piece.data, piece.data + piece.size);
    chunk.stamp = piece.stamp;
    chunk.format = format;
    chunk.ends_picture = piece.ends_picture;
    chunk.after_loss = piece.after_loss;
    m_sync.pictureReceived(piece.stamp.pts);
    m_queue.push(std::move(chunk), true);
}

void LiveSession::onSound(const SoundPiece& piece, const SharedParameters& format) {
    if (AudioDecoder* decoder = audio()) {
        m_recorder.sound(piece, format);
        decoder->push(piece, format);
    }
}

void LiveSession::onTsAudio(int stream_type, const Stamp& stamp, const std::uint8_t* data, std::size_t size) {
    const AVCodecID codec = audioCodec(stream_type);
    if (codec == AV_CODEC_ID_NONE) {
        return;
    }
    if (AudioDecoder* decoder = audio()) {
        if (m_tsSound == nullptr || m_tsSound->codec_id != codec) {
            m_tsSound = soundParameters(codec);
        }
        if (m_tsSound != nullptr) {
            m_recorder.sound({data, size, stamp, false}, m_tsSound);
            decoder->push({data, size, stamp, false}, m_tsSound);
        }
    }
}

AudioDecoder* LiveSession::audio() {
    if (!wantsAudio()) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(m_audioMutex);
    if (m_audio == nullptr && !m_stopped) {
        m_audio = std::make_shared<AudioDecoder>(
            m_sync, [this](std::uint8_t* data, int size, int rate, int channels) {
                m_gate.call([&] { m_callbacks.on_audio(data, size, rate, channels); });
            });
        m_workers.start([self = shared_from_this(), decoder = m_audio] { decoder->run(); });
    }
    return m_audio.get();
}

void LiveSession::decodeLoop() {
    Chunk chunk;
    for (;;) {
        switch (m_queue.pop(chunk, silenceMs())) {
            case ChunkQueue::Taken::kChunk:
                take(chunk);
                break;
            case ChunkQueue::Taken::kSilence:
                onSilence();
                break;
            case ChunkQueue::Taken::kClosed:
                return;
        }
    }
}

int LiveSession::silenceMs() const {
    if (m_silenceTold) {
        return -1;
    }
    if (m_packets && m_packets->pending()) {
        return m_packets->idleMs();
    }
    if (m_bytes.pending()) {
        return m_bytes.idleMs();
    }
    return -1;
}

void LiveSession::onSilence() {
    // The receiving thread may not have had its turn yet: bytes that wait in the system are no silence.
    if (m_source->bytesWaiting() || !m_queue.empty()) {
        return;
    }
    m_silenceTold = true;
    if (m_packets) {
        m_packets->idle();
    }
    m_bytes.idle();
}

void LiveSession::take(const Chunk& chunk) {
    m_silenceTold = false;
    m_arrived = chunk.stamp.arrival;
    if (chunk.ends_stream) {
        finish();
    } else if (chunk.format != nullptr) {
        takePiece(chunk);
    } else {
        m_bytes.push(chunk.data.data(), chunk.data.size(), chunk.stamp.arrival);
    }
}

void LiveSession::takePiece(const Chunk& chunk) {
    const bool changed = chunk.format != m_format;
    if (changed) {
        followFormat(chunk);
    }
    if (chunk.after_loss) {
        m_packets->lost();
    }
    if (changed) {
        pushDescribedSets(chunk.stamp);
    }
    m_packets->stamp(chunk.stamp);
    m_packets->push(chunk.data.data(), chunk.data.size());
    if (chunk.ends_picture) {
        m_packets->endOfPicture();
    }
}

void LiveSession::followFormat(const Chunk& chunk) {
    finish();
    m_format = chunk.format;
    m_decoder.close();
    m_packets.emplace(codecOf(m_format->codec_id), [this](const AccessUnitPtr& unit) { onPicture(unit); });
}

// Parameter sets that stand in the session's description may come in the stream never: a recording needs them
// with the pictures.
void LiveSession::pushDescribedSets(const Stamp& stamp) {
    const std::uint8_t* const sets = m_format->extradata;
    const int size = m_format->extradata_size;
    const bool annex_b = size > 4 && sets[0] == 0 && sets[1] == 0 && sets[2] <= 1;
    if (annex_b && codecOf(m_format->codec_id) != Codec::kOther) {
        m_packets->stamp({kNoTime, kNoTime, stamp.arrival});
        m_packets->push(sets, static_cast<std::size_t>(size));
    }
}

void LiveSession::finish() {
    if (m_packets) {
        m_packets->finish();
    }
    m_bytes.finish();
}

void LiveSession::onPicture(const AccessUnitPtr& shared) {
    if (m_stopped) {
        return;
    }
    const AccessUnit& unit = *shared;
    const Codec codec = unit.codec;
    m_recorder.picture(shared, idOf(codec, m_format.get()), m_format);
    m_rate.addBytes(nowUs(), unit.size());
    if (m_format == nullptr) {
        m_sync.pictureReceived(unit.stamp.pts);
    }
    passSei(codec, unit);
    if (!admit(unit) || !ensureDecoder(codec)) {
        return;
    }
    m_decoder.decode(unit.data(), unit.size(), unit.stamp.pts);
}

void LiveSession::passSei(Codec codec, const AccessUnit& unit) {
    if (unit.sei.empty() || !m_callbacks.on_sei) {
        return;
    }
    // A copy: the receiver may write on it.
    std::vector<std::uint8_t> run = unit.sei;
    run.push_back(0);
    m_gate.call(
        [&] { m_callbacks.on_sei(run.data(), static_cast<int>(run.size()), codec == Codec::kH265 ? 1 : 0); });
}

// Decoding begins at a key picture, and stops until the next one at the bound of pictures that nobody
// released or when it cannot keep up.
bool LiveSession::admit(const AccessUnit& unit) {
    const bool full = m_inFlight.full();
    if (full && !m_toldFull) {
        std::fprintf(stderr, "tavrik: %d pictures not released, dropping\n", m_inFlight.count());
        m_toldFull = true;
    }
    const auto now = Clock::now();
    const bool late = now - m_arrived > kMaxLag;
    if (!m_waitForKey && (full || late)) {
        m_waitForKey = true;
        m_waitSince = {};
    }
    if (!m_waitForKey) {
        if (unit.file_can_begin) {
            beginAnew();
        }
        m_damaged = m_damaged || unit.damaged;
        return true;
    }
    if (m_waitSince == Clock::time_point{}) {
        m_waitSince = now;
    }
    // Of a stream that is known to have no key pictures none is waited for again.
    const bool patient = !m_showsAll && now - m_waitSince < kMaxWaitForKey;
    if (full || late || (!unit.decoding_can_begin && patient)) {
        return false;
    }
    m_waitForKey = false;
    m_decoder.flush();
    showAll(!unit.decoding_can_begin);
    return true;
}

// At a key picture nothing before it counts. What the decoder has concealed would reach into it.
void LiveSession::beginAnew() {
    if (m_showsAll) {
        showAll(false);
    }
    if (m_damaged) {
        m_damaged = false;
        m_decoder.flush();
    }
}

// FFmpeg keeps pictures back until a key picture has come: here none will.
void LiveSession::showAll(bool all) {
    m_showsAll = all;
    m_decoder.showAll(all);
}

bool LiveSession::ensureDecoder(Codec codec) {
    const AVCodecID id = idOf(codec, m_format.get());
    if (id == AV_CODEC_ID_NONE) {
        return false;
    }
    if (m_decoder.isOpen() && m_decoder.codec() == id) {
        return true;
    }
    return m_decoder.open(id, m_format.get(), true);
}

void LiveSession::onFrame(AVFrame* frame) {
    m_stills.shown(frame);
    if (!m_inFlight.track(frame)) {
        return;
    }
    m_damaged = m_damaged || frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0;
    m_sync.pictureShown(frame->pts, Clock::now());
    const std::int64_t now = nowUs();
    m_rate.addPicture(now);
    const float fps = m_rate.fps(now);
    const int kilobits = m_rate.kilobits(now);
    m_gate.call([&] {
        if (m_callbacks.on_frame) {
            m_callbacks.on_frame(frame, fps, kilobits);
        }
    });
}

}  // namespace tavrik
