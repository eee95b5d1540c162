// What is wrong with sending datagrams, judged from what the system reports about them.
#pragma once

#include <chrono>

#include "oskel/oskel.h"

namespace oskel {

// A datagram that nobody reports may have arrived or not; only silence over time tells. Time comes in as an
// argument. One thread at a time.
class DatagramHealth {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // Hosts report a refusal only once a second, however often they are knocked at.
    static constexpr std::chrono::milliseconds kCalm{1500};
    // A neighbour who does not answer is given up after three seconds, in which datagrams for it wait.
    static constexpr std::chrono::milliseconds kCalmWhileWaiting{4000};

    void failed(SendTrouble how) {
        m_trouble = how;
        m_hasWorked = false;
    }
    // A datagram went out, or one came from the peer.
    void worked(TimePoint now) {
        if (m_trouble != SendTrouble::kNone && !m_hasWorked) {
            m_hasWorked = true;
            m_workedAt = now;
        }
    }
    // `some_wait`: the system still holds datagrams.
    SendTrouble at(TimePoint now, bool some_wait) {
        if (m_hasWorked && now - m_workedAt >= (some_wait ? kCalmWhileWaiting : kCalm)) {
            *this = {};
        }
        return m_trouble;
    }

private:
    SendTrouble m_trouble = SendTrouble::kNone;
    bool m_hasWorked = false;  // since the last failure, first at m_workedAt
    TimePoint m_workedAt{};
};

}  // namespace oskel
