// Sound of a stream: decoded to 16-bit samples on a thread of its own, which the receiver may block.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "tavrik/callback_gate.h"
#include "tavrik/ffmpeg_ptr.h"
#include "tavrik/sound_parser.h"
#include "tavrik/sound_sync.h"
#include "tavrik/source.h"

struct SwrContext;

namespace tavrik {

// push and stop from any thread; run is the body of the sound's thread.
class AudioDecoder {
public:
    // Signed 16-bit little-endian interleaved samples.
    using Sink = std::function<void(std::uint8_t* data, int size, int sample_rate, int channels)>;
    // Packets waiting while the receiver blocks; beyond that the oldest go, so that the picture is never held
    // up.
    static constexpr std::size_t kMaxWaiting = 512;
    static constexpr std::size_t kMaxWaitingBytes = 4u << 20;

    // `sync` outlives run().
    AudioDecoder(SoundSync& sync, Sink sink) : m_sync(sync), m_sink(std::move(sink)) {}
    ~AudioDecoder();

    // Bytes are copied. `parameters` changes object when the stream's format changes.
    void push(const SoundPiece& piece, const SharedParameters& parameters);
    void run();
    void stop();

private:
    struct Item {
        PacketPtr packet;
        SharedParameters parameters;
        bool whole = true;
        Clock::time_point arrival{};
    };
    bool next(Item& item);
    bool open(const Item& item);
    void parse(const AVPacket* packet, Clock::time_point arrival);
    bool timely(std::int64_t pts, Clock::time_point arrival);
    void play(AVPacket* packet, Clock::time_point arrival);
    void decode(const AVPacket* packet);
    void deliver(const AVFrame* frame);

    SoundSync& m_sync;
    Sink m_sink;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Item> m_waiting;
    std::size_t m_waitingBytes = 0;
    bool m_stopped = false;

    // Of the sound's thread alone.
    CodecContextPtr m_context;
    SoundParser m_parser;
    SwrContext* m_resampler = nullptr;
    int m_resamplerRate = 0, m_resamplerChannels = 0, m_resamplerFormat = -1;
    std::vector<std::uint8_t> m_samples;
    std::int64_t m_nextPts = kNoTime;  // of a packet without a time of its own
    std::int64_t m_packetTicks = 0;    // how long the last packet sounded, 1/90000 s
};

}  // namespace tavrik
