// Recordings of one stream, one after the other: which file takes which picture, and the thread that writes.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "tavrik/callback_gate.h"
#include "tavrik/capture_files.h"
#include "tavrik/capture_item.h"
#include "tavrik/group_ring.h"
#include "tavrik/parameter_sets.h"

namespace tavrik {

// Any thread; none but run() waits for the disk. Why a recording ended is a line on the standard error
// output.
class Recorder {
public:
    // After end() a file stays open for so long: a begin() that comes by then cuts at the next key picture,
    // so that no picture is lost between two files and none is in both.
    static constexpr auto kStaysOpen = std::chrono::milliseconds(50);
    // After so long without a key picture a recovery point begins a file, and after twice as long any picture
    // does where no file is open.
    static constexpr auto kMaxWaitForKey = std::chrono::seconds(8);
    // Pictures that wait for the disk; beyond that they are left out up to the next key picture.
    static constexpr std::size_t kMaxWaitingBytes = 96u << 20;
    // Tells the present time; never goes back. Any thread.
    using Now = std::function<Clock::time_point()>;

    explicit Recorder(Now now = Clock::now) : m_now(std::move(now)) {}

    // Every picture of the stream, in the order of decoding. format: as the container tells it, or null.
    void picture(const AccessUnitPtr& unit, AVCodecID codec, const SharedParameters& format);
    void sound(const SoundPiece& piece, const SharedParameters& format);

    // path: UTF-8. With no recording under way the file begins with the group of pictures in memory, or with
    // the next key picture. Else the present file goes on until the next key picture.
    void begin(const std::string& path, bool mp4);
    void end();

    // The body of the writing thread; returns after stop() when all that waits is on the disk.
    void run();
    void stop();

private:
    struct Job {
        enum class Kind { kItem, kBegin, kEnd };
        Kind kind = Kind::kItem;
        CaptureItem item;
        CaptureTarget target;
        CaptureFormat format;
        const char* reason = "";
        std::uint64_t serial = 0;  // of the recording
    };

    // With m_mutex held.
    void take(const CaptureItem& item);
    void beginFile(const AccessUnitPtr& first);
    void endFile(const char* reason);
    void endWhenDue(Clock::time_point now);
    bool mayBegin(const AccessUnit& unit);
    void followCodec(AVCodecID codec, Codec kind);
    void queue(Job job);
    bool nextJob(Job& job);

    void broke(std::uint64_t serial);

    const Now m_now;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job> m_jobs;
    std::size_t m_waitingBytes = 0;
    bool m_stopped = false;
    bool m_leavingOut = false;  // no room: until the next key picture
    bool m_toldLeavingOut = false;

    GroupRing m_ring;
    ParameterSets m_sets;
    std::vector<std::uint8_t> m_ringSets;  // as they stood at the ring's first picture
    AVCodecID m_codec = AV_CODEC_ID_NONE;
    SharedParameters m_format;
    bool m_hasSound = false;

    bool m_open = false;                  // a file takes what comes
    CaptureTarget m_current;              // while m_open
    std::optional<CaptureTarget> m_next;  // begins at the next key picture
    Clock::time_point m_nextSince{};
    std::optional<Clock::time_point> m_endAt;
    std::uint64_t m_serial = 0;

    CaptureFiles m_files{[this](std::uint64_t serial) { broke(serial); }};  // of the writing thread alone
};

}  // namespace tavrik
