#include "tests/fakes/fake_tavrik.h"

namespace fake_tavrik {

State& state() {
    static State the_state;
    return the_state;
}

void reset() { state() = State(); }

namespace {
void note(const char* what, int handle) {
    state().calls.push_back(std::string(what) + " " + std::to_string(handle));
}
}  // namespace

}  // namespace fake_tavrik

namespace tavrik {

using fake_tavrik::note;
using fake_tavrik::state;

int list_decoders() { return state().decoders; }

int feedOpen(const char* url, int port, FrameCallback on_frame, AudioCallback on_audio, std::string local_ip,
             bool is_rtsp, std::string av_options, SeiCallback on_sei, std::uint8_t decoder) {
    fake_tavrik::Open open;
    open.url = url;
    open.port = port;
    open.local_ip = std::move(local_ip);
    open.is_rtsp = is_rtsp;
    open.av_options = std::move(av_options);
    open.decoder = decoder;
    open.has_audio = static_cast<bool>(on_audio);
    open.result = state().next_handle > 0 ? state().next_handle++ : state().next_handle;
    open.on_frame = std::move(on_frame);
    open.on_audio = std::move(on_audio);
    open.on_sei = std::move(on_sei);
    state().opens.push_back(open);
    note("open", open.result);
    return open.result;
}

int feedPull(FrameCallback on_frame, ReadCallback on_read, std::uint8_t decoder) {
    state().pulls.push_back({decoder, std::move(on_frame), std::move(on_read)});
    state().calls.emplace_back("pull");
    return 77;
}

void feedClose(int handle) {
    note("close", handle);
    if (state().at_close) {
        state().at_close();
    }
}
void feedHold(int handle) { note("hold", handle); }
void feedResume(int handle) { note("resume", handle); }
void captureBegin(const char* path, int handle, int format) {
    state().captures.push_back({path, handle, format});
    note("captureBegin", handle);
}
void captureEnd(int handle) { note("captureEnd", handle); }
void StillBegin(int handle, const char* directory, int reserved, int count, const char* path) {
    state().stills.push_back({handle, directory, reserved, count, path});
    note("StillBegin", handle);
}
void StillEnd(int handle) { note("StillEnd", handle); }
int clipOpen(const char* path, FrameCallback on_frame, std::uint8_t decoder) {
    state().clips.push_back({path, decoder, std::move(on_frame)});
    note("clip", state().clip_handle);
    return state().clip_handle;
}
void ClipHooks(ReplayHook on_replay_start, ReplayHook on_replay_end) {
    state().on_replay_start = on_replay_start;
    state().on_replay_end = on_replay_end;
    state().calls.emplace_back("hooks");
}
std::int32_t ClipLengthMs() { return state().clip_length_ms; }

}  // namespace tavrik
