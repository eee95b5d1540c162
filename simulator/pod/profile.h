// Scripts by which the pod moves without a station, so that its reports hold something to look at.
#pragma once

#include <cstddef>

namespace podsim {

class Pod;

enum class Profile {
    kNone,
    kScan,   // azimuth and elevation swing between their ends
    kSlew,   // to one direction after the other, as fast as the servo goes
    kTrack,  // locks on points off the picture's centre, one after the other: the deviation jumps and decays
};

// Gives the pod the commands that a station would give, each as a command that came alone. A station's own
// commands act as always; the script's next one comes when it is due.
class ProfileScript {
public:
    explicit ProfileScript(Profile profile) : m_profile(profile) {}

    // So much time has passed.
    void step(Pod& pod, double dt_s);

private:
    void beginScan(Pod& pod) const;

    Profile m_profile;
    double m_wait_s = 0;
    std::size_t m_next = 0;
};

}  // namespace podsim
