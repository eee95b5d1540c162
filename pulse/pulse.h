// One stream of arrivals (pictures, reports, frames sent ...) as an operator asks for it: does it still come,
// and how old is the last one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace sorvane {

enum class PulseState : std::uint8_t {
    kAbsent,  // not in use: there is nothing to be told
    kOk,
    kWarn,    // later than its own rhythm lets expect, or in use and nothing has come yet
    kDanger,  // older than two seconds, or known to be broken
};

struct PulseReading {
    PulseState state = PulseState::kAbsent;
    // Since the last arrival; before the first one since the use began. Negative: on demand, and nothing was
    // asked yet.
    std::int64_t age_ms = 0;
};

// Since the use began.
struct PulseCounts {
    std::int64_t came = 0;
    std::int64_t failed = 0;   // of those that were to go, not taken
    std::int64_t pauses = 0;   // times that nothing came for so long that it was no longer ok
    std::int64_t missing = 0;  // about as many would have come in the pauses
    std::int64_t longest_pause_ms = 0;
};

// In use is what is open: a channel, a link. What comes otherwise is not counted, and a new use starts anew.
//
// By itself comes what follows without anybody's doing: pictures, reports, the periodic frame. Usual is the
// mean of its last gaps without the two longest, so that neither a pause nor a burst changes it; another
// rhythm is learned within about thirty arrivals.
//
// On demand goes what is sent only when the operator presses something. Silence is no fault then, so the age
// is told and not judged; judged is whether the last one went and whether the line is known to be broken.
//
// Times are milliseconds of any clock that never goes back. One thread.
class Pulse {
public:
    static constexpr std::int64_t kDangerMs = 2000;
    static constexpr int kUsualIntervals = 3;  // as many may pass
    // Less than this is not told apart: the strip looks ten times a second.
    static constexpr std::int64_t kLeastWarnMs = 100;

    // How it stands now; to be called before each of the others whenever it may have changed.
    void follow(bool in_use, bool by_itself, std::int64_t now_ms);
    // It is known that nothing gets through, whatever is taken.
    void setBroken(bool broken) { m_broken = broken; }

    // One has come, or has been taken. True when it ended a pause, whose length is lastPauseMs() then.
    bool came(std::int64_t now_ms);
    // One was to go and has not been taken.
    void failed();

    PulseReading read(std::int64_t now_ms) const;
    bool inUse() const { return m_inUse; }
    bool byItself() const { return m_byItself; }
    // Mean gap in milliseconds; negative while fewer than four have come.
    double usualMs() const;
    // Arrivals a second, over the last two seconds.
    double rate(std::int64_t now_ms) const;
    const PulseCounts& counts() const { return m_counts; }
    std::int64_t lastPauseMs() const { return m_lastPauseMs; }

private:
    static constexpr std::size_t kArrivals = 33;  // 32 gaps
    static constexpr std::int64_t kNever = -1;

    void startAnew(std::int64_t now_ms);
    // The i-th arrival that is remembered, 0 the oldest.
    std::int64_t arrival(std::size_t i) const { return m_arrivals[(m_first + i) % kArrivals]; }
    std::int64_t last() const { return m_count > 0 ? arrival(m_count - 1) : kNever; }
    bool late(std::int64_t age_ms) const;
    void noteGap(std::int64_t gap_ms);

    bool m_inUse = false;
    bool m_byItself = true;
    bool m_broken = false;
    bool m_lastFailed = false;
    std::int64_t m_sinceMs = 0;  // beginning of the use, or of coming by itself
    std::array<std::int64_t, kArrivals> m_arrivals{};
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    PulseCounts m_counts;
    std::int64_t m_lastPauseMs = 0;
};

}  // namespace sorvane
