// Sound of a channel: handed over on the stream library's audio thread, which waits until the device takes
// it; the toolkit's devices live on a SoundThread.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "video/sound_thread.h"

class QAudioOutput;
class QIODevice;

// The window's fields: set on the stream library's audio thread; nulled on the GUI thread, and the device of
// one that is lost on the audio thread.
struct SoundFields {
    QAudioOutput*& output;
    QIODevice*& device;
};

// What takes the samples. Used by one thread at a time; any operation may hang with the system's sound
// server.
class SoundOutput {
public:
    SoundOutput() = default;
    virtual ~SoundOutput() = default;
    SoundOutput(const SoundOutput&) = delete;
    SoundOutput& operator=(const SoundOutput&) = delete;

    // It will take nothing any more.
    virtual bool stopped() const = 0;
    // Bytes that it holds at most, and that it would take now; below 0: as stopped.
    virtual int bufferBytes() const = 0;
    virtual int freeBytes() const = 0;
    virtual void write(const char* data, int size) = 0;
    // Notes it in the fields.
    virtual void show(const SoundFields& fields) const = 0;
};

// Fields outlive it. GUI thread but where told.
class ChannelSound {
public:
    // Signed 16-bit little-endian samples, bytes, samples a second, channels.
    using Player = std::function<void(const unsigned char* data, int size, int sample_rate, int channels)>;
    // Without a device an output that is stopped, or null. On the audio thread.
    using Opener = std::function<std::unique_ptr<SoundOutput>(int sample_rate, int channels)>;
    // Tells the present time; never goes back. On the audio thread.
    using Now = std::function<std::chrono::steady_clock::time_point()>;

    explicit ChannelSound(const SoundFields& fields, Opener opener = systemDevice(SoundThread::kHangs),
                          Now now = std::chrono::steady_clock::now);
    ~ChannelSound();

    // Opens the system's default device; null where the gate closes first, or where the server has said
    // nothing for as long as a thread that hangs is waited for.
    static Opener systemDevice(std::chrono::milliseconds hangs);
    // Whether sound may wait for its device. Closing ends a wait under way within 10 ms and turns sound away
    // until the next opening. Any thread.
    static void openGate();
    static void closeGate();
    // Plays one packet and waits until the device has taken it; opens the device at the first. In the place
    // of a device that is lost the system's present one is opened; packets are dropped until it is there. 1 s
    // after an attempt in vain comes the next, 2 s after that one, and so on up to 16 s. To be called by the
    // stream library's audio thread alone; may outlive this object. Of one player at most one call runs at a
    // time.
    Player player() const;
    // After feedClose. A call that hangs in the device is left to itself: the device is its own then, and
    // goes when the call comes back.
    void stop();

private:
    struct Channel;
    const SoundFields m_fields;
    const Opener m_opener;
    const Now m_now;
    std::shared_ptr<Channel> m_channel;
};
