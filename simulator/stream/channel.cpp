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
    : m_index(index), m_options(options), m_seed(seed), m_pod(pod), m_log(log) {}

Channel::~Channel() { stop(); }

bool Channel::start(RtspServer* rtsp, std::string& error) {
    m_rtsp = rtsp;
    m_encoder = makeEncoder(m_options.encoder, error);
    if (!m_encoder) {
        return false;
    }
    m_bitrateKbps = m_options.encoder.bitrate_kbps;
    const auto add = [&](VideoOutput::Form form, const std::string& to) {
        if (to.empty()) {
            return true;
        }
        auto output = VideoOutput::open(form, m_options.encoder.codec, to, m_seed + m_outputs.size(), error);
        if (!output) {
            return false;
        }
        m_outputs.push_back(std::move(output));
        return true;
    };
    if (!add(VideoOutput::Form::kTransportStream, m_options.ts_to) ||
        !add(VideoOutput::Form::kRaw, m_options.raw_to)) {
        return false;
    }
    m_thread = std::thread([this] { run(); });
    return true;
}

void Channel::stop() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Channel::wake() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_woken = true;
    }
    m_changed.notify_all();
}

void Channel::setFaults(const FaultSettings& faults) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_faults = faults;
}

bool Channel::wanted() const { return !m_outputs.empty() || (m_rtsp && m_rtsp->watched(m_index)); }

void Channel::pause() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stopping || m_woken; });
    m_woken = false;
}

void Channel::waitUntil(std::int64_t due_ns) {
    for (;;) {
        std::int64_t next = due_ns;
        for (auto& output : m_outputs) {
            output->pump(monotonicNs());
            if (const auto due = output->nextDue()) {
                next = std::min(next, *due);
            }
        }
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_until(lock, timePoint(next), [this] { return m_stopping; });
        if (m_stopping || monotonicNs() >= due_ns) {
            return;
        }
    }
}

void Channel::adoptBitrate(int kbps) {
    if (kbps <= 0 || kbps == m_bitrateKbps) {
        return;
    }
    m_bitrateKbps = kbps;
    const bool done = m_encoder->setBitrate(std::clamp(kbps, 64, 100000));
    m_log.event("bitrate", formatText("channel=%d kbps=%d done=%d", m_index, kbps, done ? 1 : 0));
}

bool Channel::nextPicture(Renderer& renderer, I420Image& image) {
    const Snapshot state = m_pod.snapshot();
    adoptBitrate(state.encoder_bitrate_kbps);
    const std::uint32_t number = m_frames;
    renderer.render(state, number, image);
    if (m_rtsp && m_rtsp->takeKeyRequest(m_index)) {
        m_forceKey = true;
    }

    m_log.event("frame", formatText("channel=%d number=%u", m_index, number));
    AccessUnit unit;
    if (!m_encoder->encode(viewOf(image), m_forceKey, unit)) {
        m_log.event("encoder-error", formatText("channel=%d number=%u", m_index, number));
        return false;
    }
    ++m_frames;
    m_forceKey = false;
    const Codec codec = m_options.encoder.codec;
    const auto sei = buildSeiNal(codec, encodeSeiPayload(seiFieldsOf(state)));
    const std::size_t at = seiInsertOffset(codec, unit.bytes.data(), unit.bytes.size());
    unit.bytes.insert(unit.bytes.begin() + static_cast<std::ptrdiff_t>(at), sei.begin(), sei.end());
    handOut(unit);
    return true;
}

void Channel::handOut(AccessUnit& unit) {
    if (m_rtsp) {
        m_rtsp->push(m_index, unit);
    }
    for (auto& output : m_outputs) {
        output->send(unit, monotonicNs());
    }
}

void Channel::run() {
    Renderer renderer(m_options.encoder.width, m_options.encoder.height, m_index);
    renderer.setNumberPlace(m_options.number_place);
    I420Image image;
    const std::int64_t period_ns = 1'000'000'000LL / m_options.encoder.fps;
    std::int64_t due = monotonicNs();
    for (;;) {
        FaultSettings faults;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_stopping) {
                return;
            }
            faults = m_faults;
        }
        if (!wanted()) {
            pause();
            m_forceKey = true;
            due = monotonicNs();
            continue;
        }
        // A stalled stream sends nothing at all, its viewers stay connected.
        const bool stalled = faults.silence;
        for (auto& output : m_outputs) {
            output->setFaults(faults);
        }
        if (m_rtsp) {
            m_rtsp->setFaults(m_index, faults);
        }
        if (!stalled) {
            nextPicture(renderer, image);
        }
        due += period_ns;
        // A machine that cannot keep up lowers the rate; it does not make up for it in bursts.
        const std::int64_t now = monotonicNs();
        if (due < now - 2 * period_ns) {
            due = now;
        }
        waitUntil(due);
    }
}

}  // namespace podsim
