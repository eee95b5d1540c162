#include "tavrik/clip_session.h"

namespace tavrik {
namespace {

constexpr auto kCallbackPatience = std::chrono::seconds(2);
constexpr auto kThreadPatience = std::chrono::milliseconds(900);
// A gap in the time stamps longer than this is no pause to sit through.
constexpr std::int64_t kLongestGapUs = 10000000;

std::int64_t sinceEpochUs(Clock::time_point at) {
    return std::chrono::duration_cast<std::chrono::microseconds>(at.time_since_epoch()).count();
}

}  // namespace

ClipSession::ClipSession(ClipCallbacks callbacks, DecoderKind decoder)
    : m_callbacks(std::move(callbacks)), m_decoder(decoder, {}, [this](AVFrame* frame) { onFrame(frame); }) {}

bool ClipSession::prepare(const std::string& path) {
    Dictionary options;
    options.set("protocol_whitelist", "file");
    AVFormatContext* format = nullptr;
    // The prefix keeps a path with a colon in it from being read as a protocol.
    if (avformat_open_input(&format, ("file:" + path).c_str(), nullptr, options.out()) < 0) {
        return false;
    }
    m_format.reset(format);
    if (avformat_find_stream_info(format, nullptr) < 0) {
        return false;
    }
    m_videoIndex = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (m_videoIndex < 0) {
        return false;
    }
    const AVCodecParameters* parameters = format->streams[m_videoIndex]->codecpar;
    return m_decoder.open(parameters->codec_id, parameters, false);
}

bool ClipSession::start() {
    return m_workers.start([self = shared_from_this()] { self->playLoop(); });
}

std::int64_t ClipSession::lengthMs() const {
    return m_format != nullptr && m_format->duration > 0 ? m_format->duration / 1000 : 0;
}

void ClipSession::close() {
    m_gate.close();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
        m_changed.notify_all();
    }
    m_gate.waitIdle(Clock::now() + kCallbackPatience);
    m_workers.finish(Clock::now() + kThreadPatience);
}

void ClipSession::hold() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_held) {
        return;
    }
    m_held = true;
    m_heldSince = Clock::now();
    m_changed.notify_all();
}

void ClipSession::resume() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_held) {
        return;
    }
    m_held = false;
    m_zero += Clock::now() - m_heldSince;
    m_changed.notify_all();
}

bool ClipSession::stopped() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_stopped;
}

void ClipSession::playLoop() {
    if (m_callbacks.on_start != nullptr) {
        m_callbacks.on_start();
    }
    const PacketPtr packet(av_packet_alloc());
    while (packet != nullptr && !stopped() && av_read_frame(m_format.get(), packet.get()) >= 0) {
        if (packet->stream_index == m_videoIndex) {
            m_rate.addBytes(sinceEpochUs(Clock::now()), static_cast<std::size_t>(packet->size));
            m_decoder.decode(packet.get());
        }
        av_packet_unref(packet.get());
    }
    if (!stopped()) {
        m_decoder.drain();
    }
    if (m_callbacks.on_end != nullptr) {
        m_callbacks.on_end();
    }
}

void ClipSession::onFrame(AVFrame* frame) {
    const AVRational base = m_format->streams[m_videoIndex]->time_base;
    const std::int64_t pts = frame->best_effort_timestamp;
    const std::int64_t at_us = pts == AV_NOPTS_VALUE ? 0 : av_rescale_q(pts, base, AVRational{1, 1000000});
    if (!waitUntilDue(at_us) || m_inFlight.full() || !m_inFlight.track(frame)) {
        return;
    }
    const std::int64_t now = sinceEpochUs(Clock::now());
    m_rate.addPicture(now);
    m_gate.call([&] {
        if (m_callbacks.on_frame) {
            m_callbacks.on_frame(frame, m_rate.fps(now), m_rate.kilobits(now));
        }
    });
}

// False when the replay ends first.
bool ClipSession::waitUntilDue(std::int64_t position_us) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_hasFirstPts) {
        m_hasFirstPts = true;
        m_firstPtsUs = position_us;
        m_zero = m_held ? m_heldSince : Clock::now();
    }
    const auto offset = std::chrono::microseconds(position_us - m_firstPtsUs);
    if (!m_held && m_zero + offset > Clock::now() + std::chrono::microseconds(kLongestGapUs)) {
        m_zero = Clock::now() - offset;
    }
    for (;;) {
        if (m_stopped) {
            return false;
        }
        if (m_held) {
            m_changed.wait(lock, [this] { return m_stopped || !m_held; });
            continue;
        }
        const Clock::time_point due = m_zero + offset;
        if (Clock::now() >= due) {
            return true;
        }
        m_changed.wait_until(lock, due, [this] { return m_stopped || m_held; });
    }
}

}  // namespace tavrik
