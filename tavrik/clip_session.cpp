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
    : callbacks_(std::move(callbacks)), decoder_(decoder, {}, [this](AVFrame* frame) { onFrame(frame); }) {}

bool ClipSession::prepare(const std::string& path) {
    Dictionary options;
    options.set("protocol_whitelist", "file");
    AVFormatContext* format = nullptr;
    // The prefix keeps a path with a colon in it from being read as a protocol.
    if (avformat_open_input(&format, ("file:" + path).c_str(), nullptr, options.out()) < 0) return false;
    format_.reset(format);
    if (avformat_find_stream_info(format, nullptr) < 0) return false;
    video_index_ = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (video_index_ < 0) return false;
    const AVCodecParameters* parameters = format->streams[video_index_]->codecpar;
    return decoder_.open(parameters->codec_id, parameters, false);
}

bool ClipSession::start() {
    return workers_.start([self = shared_from_this()] { self->playLoop(); });
}

std::int64_t ClipSession::lengthMs() const {
    return format_ != nullptr && format_->duration > 0 ? format_->duration / 1000 : 0;
}

void ClipSession::close() {
    gate_.close();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
        changed_.notify_all();
    }
    gate_.waitIdle(Clock::now() + kCallbackPatience);
    workers_.finish(Clock::now() + kThreadPatience);
}

void ClipSession::hold() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (held_) return;
    held_ = true;
    held_since_ = Clock::now();
    changed_.notify_all();
}

void ClipSession::resume() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!held_) return;
    held_ = false;
    zero_ += Clock::now() - held_since_;
    changed_.notify_all();
}

bool ClipSession::stopped() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return stopped_;
}

void ClipSession::playLoop() {
    if (callbacks_.on_start != nullptr) callbacks_.on_start();
    const PacketPtr packet(av_packet_alloc());
    while (packet != nullptr && !stopped() && av_read_frame(format_.get(), packet.get()) >= 0) {
        if (packet->stream_index == video_index_) {
            rate_.addBytes(sinceEpochUs(Clock::now()), static_cast<std::size_t>(packet->size));
            decoder_.decode(packet.get());
        }
        av_packet_unref(packet.get());
    }
    if (!stopped()) decoder_.drain();
    if (callbacks_.on_end != nullptr) callbacks_.on_end();
}

void ClipSession::onFrame(AVFrame* frame) {
    const AVRational base = format_->streams[video_index_]->time_base;
    const std::int64_t pts = frame->best_effort_timestamp;
    const std::int64_t at_us = pts == AV_NOPTS_VALUE ? 0 : av_rescale_q(pts, base, AVRational{1, 1000000});
    if (!waitUntilDue(at_us) || in_flight_.full() || !in_flight_.track(frame)) return;
    const std::int64_t now = sinceEpochUs(Clock::now());
    rate_.addPicture(now);
    gate_.call([&] {
        if (callbacks_.on_frame) callbacks_.on_frame(frame, rate_.fps(now), rate_.kilobits(now));
    });
}

// False when the replay ends first.
bool ClipSession::waitUntilDue(std::int64_t position_us) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!has_first_pts_) {
        has_first_pts_ = true;
        first_pts_us_ = position_us;
        zero_ = held_ ? held_since_ : Clock::now();
    }
    const auto offset = std::chrono::microseconds(position_us - first_pts_us_);
    if (!held_ && zero_ + offset > Clock::now() + std::chrono::microseconds(kLongestGapUs)) {
        zero_ = Clock::now() - offset;
    }
    for (;;) {
        if (stopped_) return false;
        if (held_) {
            changed_.wait(lock, [this] { return stopped_ || !held_; });
            continue;
        }
        const Clock::time_point due = zero_ + offset;
        if (Clock::now() >= due) return true;
        changed_.wait_until(lock, due, [this] { return stopped_ || held_; });
    }
}

}  // namespace tavrik
