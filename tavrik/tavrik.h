// Pictures of the station: opens, decodes, records and replays video streams behind thirteen operations.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

struct AVFrame;

namespace tavrik {

// A decoded picture. The frame belongs to the library and is valid only during the call; clone it to keep it.
// `fps` is pictures per second over the last second, `bitrate` payload kilobits per second (bits / 1000)
// likewise. Called on the stream's decoder thread.
using FrameCallback = std::function<void(AVFrame* frame, float fps, int bitrate)>;
// Signed 16-bit little-endian interleaved PCM, `size` bytes. Called on the stream's audio thread, which may
// block in it. Sound waits for its picture where the stream tells the times of both; what lies more than
// 300 ms behind the picture is not handed out.
using AudioCallback = std::function<void(unsigned char* data, int size, int sample_rate, int channels)>;
// A run of SEI NAL units of one picture, each with a 4-byte start code, emulation prevention in place.
// One zero byte follows the last (trailing_zero_8bits of the byte stream format), so that a reader that looks
// for the byte behind a message finds one. kind: 0 H.264, 1 H.265. Called on the stream's thread.
using SeiCallback = std::function<void(void* data, int size, int kind)>;
// Pulls up to `capacity` bytes of an elementary stream or transport stream; returns the bytes copied, 0 if
// none waits.
using ReadCallback = std::function<int(unsigned char* dest, int capacity)>;
using ReplayHook = void (*)();

// Bit i set: decoder i is available: 0 software, 1 CUDA, 2 Quick Sync. Bit 0 is always set.
int list_decoders();

// Opens a stream and returns at once; threads of its own do the rest.
// is_rtsp: `url` is an rtsp:// or http:// address, `port` is ignored. Otherwise `url` is the sender's bare IP
// address or a multicast group (joined on local_ip), may be empty; `port` the local UDP port to bind;
// local_ip the interface, empty = any (and so is a loopback one when `url` names another host or a group);
// transport stream or raw Annex B, H.264 or H.265, is told by the bytes.
// av_options: "key=value;key=value" with FFmpeg's keys and units. Over RTSP: rtsp_transport (udp, tcp,
// udp_multicast, http; none: tcp, and udp where the server refuses that), max_delay (microseconds that a
// missing datagram is waited for; 50000) and reorder_queue_size=0 (not at all), timeout or stimeout
// (microseconds without a packet after which the stream ends; none: never), buffer_size, min_port, max_port,
// allowed_media_types, user_agent. Other keys go to the decoder and, for http:// and rtsps://, to FFmpeg's
// receiver. decoder: 1 software, 2 CUDA, 4 Quick Sync; one that is
// not there falls back to software. Returns a handle above 0, or 0 for a malformed or refused address
// (control characters, foreign protocol, port out of range). It never reconnects by itself. Empty callables
// are allowed for audio and SEI.
int feedOpen(const char* url, int port, FrameCallback on_frame, AudioCallback on_audio, std::string local_ip,
             bool is_rtsp, std::string av_options, SeiCallback on_sei, std::uint8_t decoder);
// Decodes a stream pulled through on_read. One pull at a time: it ends with the next feedPull or with a
// feedClose of a handle that is not open (0 or stale).
int feedPull(FrameCallback on_frame, ReadCallback on_read, std::uint8_t decoder);
// Stops a stream or replay; within 1 s also when the network hangs. No callback begins once it has been
// called, and none runs after it has returned: it waits for one that is under way, but no longer than 2 s (a
// callback that never returns is left behind). From inside a callback of the same stream it does not wait for
// that callback.
void feedClose(int handle);
void feedHold(int handle);
void feedResume(int handle);

// The four below act on the pull where the handle is not open, and on nothing where there is none. They
// return at once; what happens to a file is a line on the standard error output. Records the stream as it
// comes to `path` (UTF-8, its directory exists), begun anew if it exists. format 1: MP4, with the sound that
// MP4 takes where the stream hands out sound; 0: the elementary stream in Annex B. The file begins with the
// group of pictures in memory, else with the next key picture. While another file is being recorded, or has
// ended less than 50 ms ago, that one goes on until the next key picture, where the new one begins; its own
// path again changes nothing. The recording ends with captureEnd, feedClose, a change of the coding, or an
// error of the disk: what an MP4 file has by then plays.
void captureBegin(const char* path, int handle, int format);
void captureEnd(int handle);
// The picture shown last, or the first to come, as a JPEG file at its full size. path: GBK; directories that
// are missing are made.
void StillBegin(int handle, const char* directory, int reserved, int count, const char* path);
// Forgets stills that wait for a first picture.
void StillEnd(int handle);

// Replays a recorded file at its own pace. `path` is Latin-1, so a file of another name cannot be replayed.
// Returns a handle above 0, or 0 on failure. A replay that ends by itself closes its file, and its handle
// with it.
int clipOpen(const char* path, FrameCallback on_frame, std::uint8_t decoder);
// Both are called once a replay that clipOpen begins from now on, on a thread of its own; the second also
// after feedClose. Null: none.
void ClipHooks(ReplayHook on_replay_start, ReplayHook on_replay_end);
// Duration of the file opened last by clipOpen, in milliseconds; 0 if none.
std::int32_t ClipLengthMs();

}  // namespace tavrik
