#include "tavrik/capture_clock.h"

#include <algorithm>
#include <numeric>

namespace tavrik {
namespace {

constexpr std::int64_t kSecond = 90000;
// A stream's time that runs ahead of the wall clock by more has jumped.
constexpr std::int64_t kMostAhead = 5 * kSecond;
constexpr std::int64_t kLeastStep = kSecond / 1000;
// Pictures are sent no further out of the order of showing.
constexpr std::int64_t kMostReordered = kSecond;

std::int64_t ticks(CaptureClock::Clock::duration time) {
    return std::chrono::duration_cast<std::chrono::microseconds>(time).count() * 9 / 100;
}

template <class Value>
bool rises(const std::vector<std::size_t>& ranks, Value value) {
    for (std::size_t i = 1; i < ranks.size(); ++i) {
        if (value(ranks[i]) <= value(ranks[i - 1])) {
            return false;
        }
    }
    return true;
}

std::vector<std::size_t> orderOfShowing(const std::vector<CaptureClock::Picture>& pictures) {
    std::vector<std::size_t> ranks(pictures.size());
    std::iota(ranks.begin(), ranks.end(), 0u);
    const auto sorted = [&](auto value) {
        std::vector<std::size_t> out = ranks;
        std::stable_sort(out.begin(), out.end(),
                         [&](std::size_t a, std::size_t b) { return value(a) < value(b); });
        return out;
    };
    const auto order = [&](std::size_t i) { return pictures[i].order; };
    const auto time = [&](std::size_t i) { return pictures[i].stamp.pts; };
    const auto all = [&](auto has) { return std::all_of(pictures.begin(), pictures.end(), has); };
    if (all([](const auto& p) { return p.has_order; })) {
        const auto out = sorted(order);
        if (rises(out, order)) {
            return out;
        }
    }
    std::int64_t latest = kNoTime;
    const bool near = all([&](const CaptureClock::Picture& p) {
        latest = std::max(latest, p.stamp.pts);
        return p.stamp.pts != kNoTime && latest - p.stamp.pts <= kMostReordered;
    });
    if (near) {
        const auto out = sorted(time);
        if (rises(out, time)) {
            return out;
        }
    }
    return ranks;
}

bool stampsHold(const std::vector<CaptureClock::Picture>& pictures, const std::vector<std::size_t>& ranks) {
    const auto time = [&](std::size_t i) { return pictures[i].stamp.pts; };
    for (const CaptureClock::Picture& picture : pictures) {
        if (picture.stamp.pts == kNoTime) {
            return false;
        }
    }
    const std::int64_t told = time(ranks.back()) - time(ranks.front());
    const std::int64_t passed = ticks(pictures.back().stamp.arrival - pictures.front().stamp.arrival);
    return rises(ranks, time) && told <= passed + kMostAhead;
}

}  // namespace

std::vector<CaptureTimes> CaptureClock::run(const std::vector<Picture>& pictures) {
    if (pictures.empty()) {
        return {};
    }
    const Ranks ranks = orderOfShowing(pictures);
    m_told = stampsHold(pictures, ranks);
    std::vector<std::int64_t> shown = m_told ? byStamps(pictures, ranks) : byArrival(pictures, ranks);
    m_lastArrival = pictures.back().stamp.arrival;
    return withDecodingTimes(std::move(shown), ranks);
}

std::vector<std::int64_t> CaptureClock::byStamps(const std::vector<Picture>& pictures, const Ranks& ranks) {
    const std::int64_t first = pictures[ranks.front()].stamp.pts;
    if (!m_begun) {
        m_offset = -first;
    } else {
        const std::int64_t passed = ticks(pictures.front().stamp.arrival - m_lastArrival);
        const std::int64_t expected = m_lastPts + std::max(passed, kLeastStep);
        const std::int64_t told = first + m_offset;
        if (!m_stamped || told <= m_lastPts || told > expected + kMostAhead) {
            m_offset = expected - first;
        }
    }
    m_stamped = true;
    std::vector<std::int64_t> shown;
    for (const Picture& picture : pictures) {
        shown.push_back(picture.stamp.pts + m_offset);
    }
    return shown;
}

std::vector<std::int64_t> CaptureClock::byArrival(const std::vector<Picture>& pictures,
                                                  const Ranks& ranks) const {
    const Clock::time_point origin = m_begun ? m_lastArrival : pictures.front().stamp.arrival;
    std::int64_t last = m_begun ? m_lastPts : -kLeastStep;
    const std::int64_t from = m_begun ? m_lastPts : 0;
    std::vector<std::int64_t> shown(pictures.size());
    for (std::size_t i = 0; i < ranks.size(); ++i) {
        last = std::max(last + kLeastStep, from + ticks(pictures[i].stamp.arrival - origin));
        shown[ranks[i]] = last;
    }
    return shown;
}

std::vector<CaptureTimes> CaptureClock::withDecodingTimes(std::vector<std::int64_t> shown,
                                                          const Ranks& ranks) {
    std::int64_t delay = 0;
    for (std::size_t i = 0; i < ranks.size(); ++i) {
        delay = std::max(delay, shown[ranks[i]] - shown[i]);
    }
    if (!m_begun) {
        // The first is decoded at 0, whatever its pictures' order.
        for (std::int64_t& time : shown) {
            time += delay;
        }
        m_offset += delay;
    }
    m_begun = true;
    m_delay = std::max(m_delay, delay);
    std::vector<std::int64_t> sorted;
    for (const std::size_t rank : ranks) {
        sorted.push_back(shown[rank]);
    }
    std::vector<CaptureTimes> out;
    for (std::size_t i = 0; i < ranks.size(); ++i) {
        m_lastDts = std::max(m_lastDts + 1, sorted[i] - m_delay);
        out.push_back({std::max(shown[i], m_lastDts), m_lastDts});
        m_lastPts = std::max(m_lastPts, out.back().pts);
    }
    return out;
}

std::int64_t CaptureClock::sound(const Stamp& stamp) const {
    return m_stamped && m_told && stamp.pts != kNoTime ? stamp.pts + m_offset : kNoTime;
}

}  // namespace tavrik
