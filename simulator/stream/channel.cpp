#include "simulator/stream/channel.h"

#include <algorithm>
#include <chrono>
#include <utility>

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
    if (!openSource(error) || !openOutputs(error)) {
        return false;
    }
    m_thread = std::thread([this] { run(); });
    return true;
}

bool Channel::openSource(std::string& error) {
    if (!m_options.clip.empty()) {
        auto clip = ClipSource::open(m_options.clip, error);
        if (clip == nullptr) {
            return false;
        }
        m_clip = std::move(clip);
        return true;
    }
    auto encoder = makeEncoder(m_options.encoder, error);
    if (encoder == nullptr) {
        return false;
    }
    m_encoder = std::move(encoder);
    m_bitrateKbps = m_options.encoder.bitrate_kbps;
    m_renderer = std::make_unique<Renderer>(m_options.encoder.width, m_options.encoder.height, m_index);
    m_renderer->setNumberPlace(m_options.number_place);
    return true;
}

bool Channel::openOutputs(std::string& error) {
    if (m_options.sound && (m_soundSource = makeSound(error)) == nullptr) {
        return false;
    }
    using Form = VideoOutput::Form;
    const std::pair<Form, const std::string&> wanted[] = {{Form::kTransportStream, m_options.ts_to},
                                                          {Form::kRaw, m_options.raw_to},
                                                          {Form::kBlocks, m_options.blocks_to}};
    for (const auto& [form, to] : wanted) {
        if (to.empty()) {
            continue;
        }
        auto output =
            VideoOutput::open({form, m_options.encoder.codec, to, m_options.block_header, m_options.sound},
                              m_seed + m_outputs.size(), error);
        if (!output) {
            return false;
        }
        m_outputs.push_back(std::move(output));
    }
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

void Channel::restart(const RestartSettings& settings) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_restart = settings;
        m_woken = true;
    }
    m_changed.notify_all();
}

void Channel::restartIfAsked() {
    std::optional<RestartSettings> asked;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        asked.swap(m_restart);
    }
    if (!asked) {
        return;
    }
    const EncoderSettings before = m_options.encoder;
    if (m_clip == nullptr) {
        m_options.encoder.codec = asked->codec.value_or(before.codec);
        m_options.encoder.width = asked->width > 0 ? asked->width : before.width;
        m_options.encoder.height = asked->height > 0 ? asked->height : before.height;
    }
    std::string error;
    const bool done = openSource(error);
    if (!done) {
        m_options.encoder = before;
    }
    const EncoderSettings& now = m_options.encoder;
    for (auto& output : m_outputs) {
        output->restart(now.codec);
    }
    if (m_rtsp) {
        m_rtsp->restart(m_index, now.codec);
    }
    m_forceKey = true;
    m_log.event("restart",
                formatText("channel=%d codec=%s size=%dx%d done=%d", m_index,
                           now.codec == Codec::kH265 ? "h265" : "h264", now.width, now.height, done));
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

bool Channel::encodePicture(AccessUnit& unit) {
    const Snapshot state = m_pod.snapshot();
    adoptBitrate(state.encoder_bitrate_kbps);
    m_renderer->render(state, m_frames, m_image);
    if (m_rtsp && m_rtsp->takeKeyRequest(m_index)) {
        m_forceKey = true;
    }
    m_log.event("frame", formatText("channel=%d number=%u", m_index, m_frames.load()));
    if (!m_encoder->encode(viewOf(m_image), m_forceKey, unit)) {
        m_log.event("encoder-error", formatText("channel=%d number=%u", m_index, m_frames.load()));
        return false;
    }
    m_forceKey = false;
    const Codec codec = m_options.encoder.codec;
    const auto sei = buildSeiNal(codec, encodeSeiPayload(seiFieldsOf(state)));
    const std::size_t at = seiInsertOffset(codec, unit.bytes.data(), unit.bytes.size());
    unit.bytes.insert(unit.bytes.begin() + static_cast<std::ptrdiff_t>(at), sei.begin(), sei.end());
    return true;
}

bool Channel::nextPicture() {
    AccessUnit unit;
    if (m_clip != nullptr) {
        m_log.event("frame", formatText("channel=%d number=%u", m_index, m_frames.load()));
        if (!m_clip->next(unit)) {
            return false;
        }
    } else if (!encodePicture(unit)) {
        return false;
    }
    handOut(unit);
    handOutSound();
    ++m_frames;
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

// The sound up to this picture; a mark sounds from one picture of each second to the next.
void Channel::handOutSound() {
    if (m_soundSource == nullptr) {
        return;
    }
    std::vector<SoundUnit> units;
    const auto fps = static_cast<std::uint32_t>(m_options.encoder.fps);
    const bool mark = m_frames % fps == 1 % fps;
    m_soundSource->advance(monotonicNs(), mark, units);
    for (const SoundUnit& unit : units) {
        if (m_rtsp) {
            m_rtsp->pushSound(m_index, unit);
        }
        for (auto& output : m_outputs) {
            output->sendSound(unit, monotonicNs());
        }
    }
}

void Channel::run() {
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
        restartIfAsked();
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
            nextPicture();
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
