// Tells a station's own knowledge of the aircraft from what it has merely heard from the pod's feeds.
//
// A station that gets the simulated inertial unit's frames sends position and attitude back in every command.
// If the pod took those for the aircraft's true ones, it would fly on by what it said a moment ago: heading
// and speed would never change again, and the aircraft would leave its flight for good on a straight line.
#pragma once

#include <cstdint>
#include <deque>

#include "simulator/world/flight.h"

namespace podsim {

class NavEcho {
public:
    // What a feed says now, with the time that stands in its frame. `by_station`: the aircraft's place is one
    // that a station has told. now_ns never falls.
    void told(const NavInput& said, bool by_station, std::int64_t now_ns);
    // True if a station's block is such a word coming back, later by at most ten seconds; what the wire
    // rounds makes no difference. Once own flight has come back, the same block stays an echo however often
    // and long it comes. A place that a station has told and heard again is an echo where the time in the
    // block is the one told, too.
    bool isEcho(const NavInput& heard, std::int64_t now_ns);

private:
    struct Word {
        NavInput said;
        bool by_station;
        std::int64_t at_ns;
    };

    std::deque<Word> m_words;
    NavInput m_lastEcho;
    bool m_hasLastEcho = false;
};

}  // namespace podsim
