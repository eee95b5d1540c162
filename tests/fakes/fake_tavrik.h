// A stand-in for the stream library: notes every call and lets a test play the part of its threads. Linked
// into a test it takes the library's place.
#pragma once

#include <string>
#include <vector>

#include "tavrik/tavrik.h"

namespace fake_tavrik {

struct Open {
    std::string url;
    int port = 0;
    std::string local_ip;
    bool is_rtsp = false;
    std::string av_options;
    int decoder = 0;
    bool has_audio = false;
    int result = 0;
    tavrik::FrameCallback on_frame;
    tavrik::AudioCallback on_audio;
    tavrik::SeiCallback on_sei;
};

struct Pull {
    int decoder = 0;
    tavrik::FrameCallback on_frame;
    tavrik::ReadCallback on_read;
};

struct Capture {
    std::string path;
    int handle = 0;
    int format = 0;
};

struct Still {
    int handle = 0;
    std::string directory;
    int reserved = 0;
    int count = 0;
    std::string path;
};

struct Clip {
    std::string path;
    int decoder = 0;
    tavrik::FrameCallback on_frame;
};

struct State {
    int decoders = 1;     // what list_decoders returns
    int next_handle = 1;  // what the next feedOpen returns; counts on while above 0
    std::vector<Open> opens;
    std::vector<Pull> pulls;
    std::vector<Capture> captures;
    std::vector<Still> stills;
    std::vector<Clip> clips;
    int clip_handle = 0;  // what clipOpen returns
    std::int32_t clip_length_ms = 0;
    tavrik::ReplayHook on_replay_start = nullptr;
    tavrik::ReplayHook on_replay_end = nullptr;
    // Runs inside feedClose, where the library waits for its threads.
    std::function<void()> at_close;
    // In the order of the calls: "open 1", "close 1", "captureEnd 1", "StillEnd 1", "pull", "clip 5".
    std::vector<std::string> calls;
};

State& state();
// Before each test.
void reset();

}  // namespace fake_tavrik
