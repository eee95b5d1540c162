#include "tavrik/clip_session.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "tavrik/stamp.h"

namespace tavrik {
namespace {

constexpr auto kCallbackPatience = std::chrono::seconds(2);
constexpr auto kThreadPatience = std::chrono::milliseconds(900);
std::int64_t sinceEpochUs(Clock::time_point at) {
    return std::chrono::duration_cast<std::chrono::microseconds>(at.time_since_epoch()).count();
}

// Ends FFmpeg's reading and searching once a replay is stopped.
int stopRequested(void* stopped) { return static_cast<const std::atomic<bool>*>(stopped)->load() ? 1 : 0; }

// A picture on the sleeve of a sound file is no video.
bool isFilm(const AVStream& stream) { return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0; }

std::chrono::nanoseconds usualStep(const AVStream& stream) {
    const AVRational rate = stream.avg_frame_rate;
    constexpr double kSlowest = 1, kFastest = 240;
    const double per_second = rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0;
    if (per_second < kSlowest || per_second > kFastest) {
        return std::chrono::milliseconds(40);
    }
    return std::chrono::nanoseconds(static_cast<std::int64_t>(1e9 / per_second));
}

}  // namespace

ClipSession::ClipSession(ClipCallbacks callbacks, DecoderKind decoder)
    : m_callbacks(std::move(callbacks)),
      m_decoder(decoder, {}, [this](AVFrame* frame) { onFrame(frame); }),
      m_pace(Clock::now) {}

bool ClipSession::prepare(const std::string& path) {
    // Opening a pipe or a device would wait for its other end.
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return false;
    }
    AVFormatContext* format = avformat_alloc_context();
    if (format == nullptr) {
        return false;
    }
    format->interrupt_callback = {stopRequested, &m_stopped};
    Dictionary options;
    options.set("protocol_whitelist", "file");
    // The prefix keeps a path with a colon in it from being read as a protocol.
    if (avformat_open_input(&format, ("file:" + path).c_str(), nullptr, options.out()) < 0) {
        return false;
    }
    m_format.reset(format);
    if (avformat_find_stream_info(format, nullptr) < 0) {
        return false;
    }
    m_videoIndex = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (m_videoIndex < 0 || !isFilm(*format->streams[m_videoIndex])) {
        return false;
    }
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        format->streams[i]->discard = static_cast<int>(i) == m_videoIndex ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    m_pace.setUsualStep(usualStep(*format->streams[m_videoIndex]));
    const AVCodecParameters* parameters = format->streams[m_videoIndex]->codecpar;
    return m_decoder.open(parameters->codec_id, parameters, false);
}

bool ClipSession::start(std::function<void()> on_done) {
    m_onDone = std::move(on_done);
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
    m_pace.hold();
    m_changed.notify_all();
}

void ClipSession::resume() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pace.resume();
    m_changed.notify_all();
}

void ClipSession::playLoop() {
    if (m_callbacks.on_start != nullptr) {
        m_callbacks.on_start();
    }
    const PacketPtr packet(av_packet_alloc());
    while (packet != nullptr && !m_stopped && av_read_frame(m_format.get(), packet.get()) >= 0) {
        if (packet->stream_index == m_videoIndex) {
            m_rate.addBytes(sinceEpochUs(Clock::now()), static_cast<std::size_t>(packet->size));
            m_decoder.decode(packet.get());
        }
        av_packet_unref(packet.get());
    }
    if (!m_stopped) {
        m_decoder.drain();
    }
    // Whoever never closes the handle of a replay that has ended shall not hold its file.
    m_decoder.close();
    m_format.reset();
    m_onDone();
    if (m_callbacks.on_end != nullptr) {
        m_callbacks.on_end();
    }
}

void ClipSession::onFrame(AVFrame* frame) {
    const AVRational base = m_format->streams[m_videoIndex]->time_base;
    const std::int64_t pts = frame->best_effort_timestamp;
    const std::int64_t at_us =
        pts == AV_NOPTS_VALUE ? kNoTime : av_rescale_q(pts, base, AVRational{1, 1000000});
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
    m_pace.next(position_us);
    while (!m_stopped && !m_pace.isDue()) {
        if (m_pace.held()) {
            m_changed.wait(lock);
        } else {
            m_changed.wait_until(lock, m_pace.due());
        }
    }
    return !m_stopped;
}

}  // namespace tavrik
