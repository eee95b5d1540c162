#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "tavrik/capture_clock.h"
#include "tavrik/capture_writer.h"
#include "tavrik/mp4_muxer.h"
#include "tavrik/parameter_sets.h"
#include "tavrik/sound_track.h"
#include "tavrik/unit_reader.h"

namespace tavrik {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Pictures that wait in memory for the next piece on the disk.
constexpr auto kLongestPiece = milliseconds(1000);
constexpr std::size_t kLargestPiece = 8u << 20;
// So much of the file's beginning waits for sound that the stream is known to have.
constexpr auto kWaitForSound = seconds(2);
// Of the very first picture; one told too short corrects itself with the next piece, one told too long does
// not.
constexpr std::int64_t kFirstTicks = 750;
// What is held although no run ends, as in a damaged stream, and sound without pictures.
constexpr std::size_t kMostHeld = 32u << 20;
constexpr std::size_t kMostPicturesHeld = 1000;
constexpr std::size_t kMostSoundHeld = 4096;
constexpr std::size_t kMostSoundBytesHeld = 8u << 20;
// Sound that is off by less simply goes on.
constexpr auto kMostDriftMs = 100;

class Mp4Writer : public CaptureWriter {
public:
    explicit Mp4Writer(CaptureFormat format)
        : m_format(std::move(format)), m_reader(m_format.codec, m_format.sets) {}

    bool open(const std::string& path) override {
        m_path = path;
        return m_muxer.open(path);
    }
    bool picture(const AccessUnitPtr& unit) override;
    bool sound(const SoundChunkPtr& chunk) override;
    bool finish() override;
    const std::string& error() const override { return m_muxer.error(); }

private:
    struct Picture {
        AccessUnitPtr unit;
        UnitFacts facts;
        CaptureTimes times;
    };

    bool endsRun(const Picture& next) const;
    bool flush(bool last);
    bool begin();
    bool write();
    CaptureTimes timesOf(const Picture& picture, bool begins_piece);
    bool soundCanBegin();
    bool writeSound();
    bool placeSound(const std::vector<SoundFrame>& frames);

    CaptureFormat m_format;
    UnitReader m_reader;
    std::string m_path;
    Mp4Muxer m_muxer;
    CaptureClock m_clock;
    SoundTrack m_track;
    std::vector<Picture> m_run;    // since the last flush
    std::vector<Picture> m_timed;  // with their times, not given to the muxer yet
    std::vector<SoundFrame> m_sound;
    std::size_t m_soundBytes = 0;  // of what came since it was empty
    std::size_t m_runBytes = 0;
    bool m_first = true;
    int m_width = 0, m_height = 0;
    bool m_soundPlaced = false;
    std::int64_t m_soundAt = 0;         // where the next frame of sound goes, in samples
    std::int64_t m_soundEnd = 0;        // of the sound in the file
    std::int64_t m_step = kFirstTicks;  // how long the picture at hand is told to last
    std::int64_t m_between = 0;         // the two before it, by their decoding times
    std::int64_t m_lastDts = kNoTime;
    std::int64_t m_written = -1;
    std::int64_t m_lastPts = 0;  // the latest of all that were written
    bool m_reordered = false;    // pictures are shown in another order than they come
    std::int64_t m_end = 0;      // of the piece before, as told to the muxer
};

bool Mp4Writer::picture(const AccessUnitPtr& unit) {
    Picture next{unit, m_reader.read(*unit), {}};
    if (m_first) {
        m_width = next.facts.width;
        m_height = next.facts.height;
    } else if (m_timed.empty() && m_run.size() == 1 && !m_muxer.begun() &&
               needsPicturesBeforeKey(unit->codec, unit->data(), unit->size())) {
        // Nobody could decode it here; it stands in the file before.
        return true;
    }
    m_first = false;
    if (endsRun(next) && !flush(false)) {
        return false;
    }
    m_runBytes += unit->size();
    m_run.push_back(std::move(next));
    return true;
}

// A run ends where everything behind it is shown after all that is in it.
bool Mp4Writer::endsRun(const Picture& next) const {
    if (m_run.empty()) {
        return false;
    }
    if (next.facts.key) {
        return true;
    }
    if (m_runBytes >= kMostHeld || m_run.size() >= kMostPicturesHeld) {
        return true;
    }
    const bool due = next.unit->stamp.arrival - m_run.front().unit->stamp.arrival >= kLongestPiece ||
                     m_runBytes >= kLargestPiece;
    return due && std::all_of(m_run.begin(), m_run.end(), [&](const Picture& p) {
               return p.facts.has_order && next.facts.has_order ? p.facts.order < next.facts.order
                                                                : p.unit->stamp.pts <= next.unit->stamp.pts;
           });
}

bool Mp4Writer::sound(const SoundChunkPtr& chunk) {
    const std::string refusal = m_track.push(*chunk, m_sound);
    if (!refusal.empty()) {
        std::fprintf(stderr, "tavrik: capture %s: %s\n", m_path.c_str(), refusal.c_str());
    }
    if (m_muxer.begun() && !m_muxer.hasSound() && !m_sound.empty()) {
        m_sound.clear();
    }
    m_soundBytes += chunk->data.size();
    if (m_sound.empty()) {
        m_soundBytes = 0;
    }
    if (m_sound.size() > kMostSoundHeld || m_soundBytes > kMostSoundBytesHeld) {
        m_sound.clear();
        m_soundBytes = 0;
        m_soundPlaced = false;
    }
    return true;
}

bool Mp4Writer::flush(bool last) {
    std::vector<CaptureClock::Picture> pictures;
    for (const Picture& picture : m_run) {
        pictures.push_back({picture.unit->stamp, picture.facts.order, picture.facts.has_order});
    }
    const std::vector<CaptureTimes> times = m_clock.run(pictures);
    for (std::size_t i = 0; i < m_run.size(); ++i) {
        m_run[i].times = times[i];
        m_timed.push_back(std::move(m_run[i]));
    }
    m_run.clear();
    m_runBytes = 0;
    if (m_timed.empty()) {
        return true;
    }
    if (!m_muxer.begun()) {
        const auto held = m_timed.back().unit->stamp.arrival - m_timed.front().unit->stamp.arrival;
        const bool sound_comes = m_format.sound_expected || m_track.parameters() != nullptr;
        const bool waits = sound_comes && !m_track.refused() && !soundCanBegin();
        if (waits && !last && held < kWaitForSound) {
            return true;
        }
        if (!begin()) {
            return false;
        }
    }
    return write() && m_muxer.flush();
}

bool Mp4Writer::begin() {
    Mp4Muxer::Video video{m_format.codec, m_width, m_height, m_format.sets.data(), m_format.sets.size()};
    if (m_format.sets.empty() && m_format.parameters != nullptr) {
        video.extradata = m_format.parameters->extradata;
        video.extradata_size = static_cast<std::size_t>(m_format.parameters->extradata_size);
    }
    const bool with_sound = soundCanBegin();
    if (m_track.parameters() != nullptr && !with_sound) {
        std::fprintf(stderr, "tavrik: capture %s: sound without times is left out\n", m_path.c_str());
    }
    return m_muxer.begin(video, with_sound ? m_track.parameters() : nullptr);
}

// The file's head tells of AC-3 what stands in a frame, and is not written without one.
bool Mp4Writer::soundCanBegin() {
    const AVCodecParameters* const track = m_track.parameters();
    if (track == nullptr || (track->codec_id != AV_CODEC_ID_AC3 && track->codec_id != AV_CODEC_ID_EAC3)) {
        return track != nullptr;
    }
    if (m_sound.empty() || !placeSound(m_sound)) {
        return false;
    }
    std::int64_t last_at = m_soundAt;
    for (std::size_t i = 0; i + 1 < m_sound.size(); ++i) {
        last_at += m_sound[i].samples;
    }
    return last_at >= 0;
}

bool Mp4Writer::write() {
    for (std::size_t i = 0; i < m_timed.size(); ++i) {
        const Picture& picture = m_timed[i];
        const CaptureTimes times = timesOf(picture, i == 0);
        const bool key = picture.facts.key || picture.unit->file_can_begin;
        if (!m_muxer.picture(picture.unit->data(), picture.unit->size(), times, m_step, key)) {
            return false;
        }
    }
    m_timed.clear();
    return writeSound();
}

// The muxer begins a piece where the one before was told to end, whatever its first picture's decoding time,
// and moves its time of showing along; so that picture is handed over with that very time. The end told is
// never behind the showing of what follows: the last of a piece lasts no longer than the two before it did,
// and in a stream that is shown in another order not beyond all that has been shown.
CaptureTimes Mp4Writer::timesOf(const Picture& picture, bool begins_piece) {
    if (m_lastDts != kNoTime) {
        const std::int64_t between = picture.times.dts - m_lastDts;
        m_step = m_between > 0 ? std::min(between, m_between) : between;
        m_between = between;
    }
    m_lastDts = picture.times.dts;
    CaptureTimes times;
    times.dts = begins_piece ? m_end : std::max(picture.times.dts, m_written + 1);
    times.pts = std::max(picture.times.pts, times.dts);
    m_reordered = m_reordered || picture.times.pts > picture.times.dts;
    m_lastPts = std::max(m_lastPts, times.pts);
    if (m_reordered) {
        m_step = std::max<std::int64_t>(std::min(m_step, m_lastPts + 1 - times.dts), 1);
    }
    m_written = times.dts;
    m_end = times.dts + m_step;
    return times;
}

bool Mp4Writer::writeSound() {
    std::vector<SoundFrame> frames;
    frames.swap(m_sound);
    m_soundBytes = 0;
    if (!m_muxer.hasSound() || !placeSound(frames)) {
        return true;
    }
    for (const SoundFrame& frame : frames) {
        const std::int64_t at = m_soundAt;
        m_soundAt += frame.samples;
        // Before the file, or before sound that is there already.
        if (at < m_soundEnd) {
            continue;
        }
        if (!m_muxer.sound(frame.data, at, frame.samples)) {
            return false;
        }
        m_soundEnd = at + std::max(frame.samples, 1);
    }
    return true;
}

// Sets where the first of the frames goes; false while that is not known. Single frames' times are told with
// the line's jitter in them, so that it is the middle one of all that counts.
bool Mp4Writer::placeSound(const std::vector<SoundFrame>& frames) {
    const std::int64_t rate = m_track.parameters()->sample_rate;
    const std::int64_t base = std::max<std::int64_t>(m_soundAt, 0);
    std::int64_t at = base;
    std::vector<std::int64_t> drifts;
    for (const SoundFrame& frame : frames) {
        const std::int64_t told = m_clock.sound(frame.stamp);
        if (told != kNoTime) {
            drifts.push_back(av_rescale(told, rate, 90000) - at);
        }
        at += frame.samples;
    }
    if (drifts.empty()) {
        return m_soundPlaced;
    }
    const auto middle = drifts.begin() + static_cast<std::ptrdiff_t>(drifts.size() / 2);
    std::nth_element(drifts.begin(), middle, drifts.end());
    if (!m_soundPlaced || std::abs(*middle) > rate * kMostDriftMs / 1000) {
        m_soundAt = base + *middle;
    }
    m_soundPlaced = true;
    return true;
}

bool Mp4Writer::finish() { return flush(true) && m_muxer.finish(); }

}  // namespace

std::unique_ptr<CaptureWriter> makeMp4Writer(CaptureFormat format) {
    return std::make_unique<Mp4Writer>(std::move(format));
}

}  // namespace tavrik
