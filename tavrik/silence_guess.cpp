#include "tavrik/silence_guess.h"

#include <algorithm>
#include <cstdio>

namespace tavrik {
namespace {

using std::chrono::milliseconds;

constexpr int kShortestMs = 3;
constexpr int kTimesThePause = 3;
// Near half the time between pictures a silence says too little, and waiting costs little more.
constexpr int kMostPercentOfInterval = 45;

}  // namespace

void SilenceGuess::pushed(std::uint64_t position, Time arrival) {
    if (m_resting && arrival >= m_restUntil) {
        m_resting = false;
        decide();
    }
    if (m_pushedBefore && arrival > m_lastPush) {
        m_pauses.push_back({position, arrival - m_lastPush});
    }
    if (m_pauses.size() > kMostPauses) {
        // What is that fragmented is inside a picture.
        m_longest[m_window] = std::max(m_longest[m_window], m_pauses.front().length);
        m_pauses.pop_front();
    }
    m_pushedBefore = true;
    m_lastPush = arrival;
}

void SilenceGuess::picture(std::uint64_t begin, std::uint64_t end, Time arrival) {
    bool longer = false;
    for (; !m_pauses.empty() && m_pauses.front().position < end; m_pauses.pop_front()) {
        const Pause& pause = m_pauses.front();
        if (pause.position > begin && pause.length > m_longest[m_window]) {
            m_longest[m_window] = pause.length;
            longer = true;
        }
    }
    if (m_pictureBefore) {
        m_intervals.push_back(arrival - m_lastPicture);
    }
    m_pictureBefore = true;
    m_lastPicture = arrival;
    if (m_intervals.size() >= static_cast<std::size_t>(kPictures)) {
        closeWindow();
    } else if (longer) {
        decide();
    }
}

void SilenceGuess::closeWindow() {
    const auto middle = m_intervals.begin() + static_cast<std::ptrdiff_t>(m_intervals.size() / 2);
    std::nth_element(m_intervals.begin(), middle, m_intervals.end());
    m_interval = *middle;
    m_intervals.clear();
    m_windowsFull = std::min(m_windowsFull + 1, kWindows);
    m_window = (m_window + 1) % kWindows;
    m_longest[m_window] = Duration{};
    decide();
}

void SilenceGuess::decide() {
    m_silenceMs = -1;
    if (m_resting || m_windowsFull == 0) {
        return;
    }
    const Duration pause = *std::max_element(m_longest.begin(), m_longest.end());
    const auto silence = std::max<milliseconds>(std::chrono::ceil<milliseconds>(pause * kTimesThePause),
                                                milliseconds(kShortestMs));
    if (silence * 100 < m_interval * kMostPercentOfInterval) {
        m_silenceMs = static_cast<int>(silence.count());
    }
}

void SilenceGuess::wrong() {
    if (m_resting) {
        return;
    }
    std::fprintf(stderr, "tavrik: a silence of %d ms was inside a picture, waiting for the next picture\n",
                 m_silenceMs);
    for (const Pause& pause : m_pauses) {
        m_longest[m_window] = std::max(m_longest[m_window], pause.length);
    }
    m_pauses.clear();
    m_resting = true;
    m_restUntil = m_lastPush + kRest;
    m_silenceMs = -1;
}

}  // namespace tavrik
