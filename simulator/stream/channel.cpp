#include "simulator/stream/channel.h"

#include <algorithm>
#include <chrono>

#include "simulator/pod/renderer.h"
#include "simulator/pod/text.h"
#include "simulator/stream/clock.h"
#include "simulator/wire/report.h"

namespace podsim {
namespace {

// The clock of the standard library that monotonicNs() reads.
std::chrono::steady_clock::time_point timePoint(std::int64_t ns) {
    return std::chrono::steady_clock::time_point(std::chrono::nanoseconds(ns));
}

PictureView viewOf(const I420Image& image) {
    return {{image.y.data(), image.u.data(), image.v.data()},
            {image.width, image.width / 2, image.width / 2}};
}

}  // namespace

Channel::Channel(int index, const ChannelOptions& options, std::uint64_t seed, const Pod& pod, EventLog& log)
    : index_(index), options_(options), seed_(seed), pod_(pod), log_(log) {}

Channel::~Channel() {
    stop();
}

bool Channel::start(RtspServer* rtsp, std::string& error) {
    rtsp_ = rtsp;
    encoder_ = makeEncoder(options_.encoder, error);
    if (!encoder_) return false;
    bitrate_kbps_ = options_.encoder.bitrate_kbps;
    const auto add = [&](VideoOutput::Form form, const std::string& to) {
        if (to.empty()) return true;
        auto output = VideoOutput::open(form, options_.encoder.codec, to, seed_ + outputs_.size(), error);
        if (!output) return false;
        outputs_.push_back(std::move(output));
        return true;
    };
    if (!add(VideoOutput::Form::kTransportStream, options_.ts_to) ||
        !add(VideoOutput::Form::kRaw, options_.raw_to)) {
        return false;
    }
    thread_ = std::thread([this] { run(); });
    return true;
}

void Channel::stop() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
}

void Channel::wake() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        woken_ = true;
    }
    changed_.notify_all();
}

void Channel::setFaults(const FaultSettings& faults) {
    const std::lock_guard<std::mutex> lock(mutex_);
    faults_ = faults;
}

bool Channel::wanted() const {
    return !outputs_.empty() || (rtsp_ && rtsp_->watched(index_));
}

void Channel::pause() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return stopping_ || woken_; });
    woken_ = false;
}

void Channel::waitUntil(std::int64_t due_ns) {
    for (;;) {
        std::int64_t next = due_ns;
        for (auto& output : outputs_) {
            output->pump(monotonicNs());
            if (const auto due = output->nextDue()) next = std::min(next, *due);
        }
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_until(lock, timePoint(next), [this] { return stopping_; });
        if (stopping_ || monotonicNs() >= due_ns) return;
    }
}

void Channel::adoptBitrate(int kbps) {
    if (kbps <= 0 || kbps == bitrate_kbps_) return;
    bitrate_kbps_ = kbps;
    const bool done = encoder_->setBitrate(std::clamp(kbps, 64, 100000));
    log_.event("bitrate", formatText("channel=%d kbps=%d done=%d", index_, kbps, done ? 1 : 0));
}

bool Channel::nextPicture(Renderer& renderer, I420Image& image) {
    const Snapshot state = pod_.snapshot();
    adoptBitrate(state.encoder_bitrate_kbps);
    const std::uint32_t number = frames_;
    renderer.render(state, number, image);
    if (rtsp_ && rtsp_->takeKeyRequest(index_)) force_key_ = true;

    log_.event("frame", formatText("channel=%d number=%u", index_, number));
    AccessUnit unit;
    if (!encoder_->encode(viewOf(image), force_key_, unit)) {
        log_.event("encoder-error", formatText("channel=%d number=%u", index_, number));
        return false;
    }
    ++frames_;
    force_key_ = false;
    const Codec codec = options_.encoder.codec;
    const auto sei = buildSeiNal(codec, encodeSeiPayload(seiFieldsOf(state)));
    const std::size_t at = seiInsertOffset(codec, unit.bytes.data(), unit.bytes.size());
    unit.bytes.insert(unit.bytes.begin() + static_cast<std::ptrdiff_t>(at), sei.begin(), sei.end());
    handOut(unit);
    return true;
}

void Channel::handOut(AccessUnit& unit) {
    if (rtsp_) rtsp_->push(index_, unit);
    for (auto& output : outputs_) {
        output->send(unit, monotonicNs());
    }
}

void Channel::run() {
    Renderer renderer(options_.encoder.width, options_.encoder.height, index_);
    renderer.setNumberPlace(options_.number_place);
    I420Image image;
    const std::int64_t period_ns = 1'000'000'000LL / options_.encoder.fps;
    std::int64_t due = monotonicNs();
    for (;;) {
        FaultSettings faults;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (stopping_) return;
            faults = faults_;
        }
        if (!wanted()) {
            pause();
            force_key_ = true;
            due = monotonicNs();
            continue;
        }
        // A stalled stream sends nothing at all, its viewers stay connected.
        const bool stalled = faults.silence;
        for (auto& output : outputs_) {
            output->setFaults(faults);
        }
        if (!stalled) nextPicture(renderer, image);
        due += period_ns;
        // A machine that cannot keep up lowers the rate; it does not make up for it in bursts.
        const std::int64_t now = monotonicNs();
        if (due < now - 2 * period_ns) due = now;
        waitUntil(due);
    }
}

}  // namespace podsim
