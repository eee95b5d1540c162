// Sends a film over a line that rests at random places inside pictures, and compares what is shown with it.
#pragma once

#include <cstdint>
#include <string>

#include "film.h"
#include "wire_forms.h"

namespace tavrik::test {

enum class Way { kUdp, kRtspTcp, kRtspUdp };

struct RunSettings {
    Way way = Way::kUdp;
    WireForm form;       // over UDP
    bool sound = false;  // beside the pictures of RTSP
    bool stalls = true;
    // The form proves the end of a picture with nothing behind it, so that the last one has to be shown too.
    bool ends_by_itself = true;
    std::size_t pictures = 100;
    std::uint64_t seed = 1;  // of the stalls
    int busy_threads = 0;    // that run beside
};

struct RunResult {
    Comparison comparison;
    std::uint64_t stalls = 0;
    // Datagrams that the system dropped before anybody had read them: the run then claims nothing.
    std::uint64_t dropped = 0;
    std::uint64_t dropped_before = 0;  // by the line itself

    bool valid() const { return dropped + dropped_before == 0; }

    std::string text() const;
};

// So many pictures follow those that are judged where the form needs them to end the last one.
constexpr std::size_t kTailPictures = 3;

// At 25 pictures a second; stalls of 1 to 500 ms, one in six pictures, many short ones and few long ones.
// After a stall the bytes of UDP follow at no more than four times the film's rate. Throws std::runtime_error
// if the stream does not open.
RunResult runStalled(const Film& film, const RunSettings& settings);

// Datagrams to that port of this machine that the system has dropped since its socket was opened.
std::uint64_t droppedAt(int port);

// The number in an environment variable.
std::uint64_t fromEnvironment(const char* name, std::uint64_t otherwise);

}  // namespace tavrik::test
