// Sound of a channel, played on the stream library's audio thread.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

class QAudioOutput;
class QIODevice;

// The window's fields: set on the stream library's audio thread, nulled on the GUI thread.
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
    // Null when there is no device. On the audio thread.
    using Opener = std::function<std::unique_ptr<SoundOutput>(int sample_rate, int channels)>;

    // Plays on the system's default device.
    explicit ChannelSound(const SoundFields& fields);
    // between_attempts: after one attempt to open a device before the next.
    ChannelSound(const SoundFields& fields, Opener opener, std::chrono::milliseconds between_attempts);
    ~ChannelSound();

    // Whether sound may wait for its device. Closing ends a wait under way within 10 ms and turns sound away
    // until the next opening. Any thread.
    static void openGate();
    static void closeGate();
    // Plays one packet and waits until the device has taken it; opens the device at the first. In the place
    // of a device that is lost the system's present one is opened; packets are dropped until it is there. To
    // be called by the stream library's audio thread alone; may outlive this object. Of one player at most
    // one call runs at a time.
    Player player() const;
    // After feedClose. A call that hangs in the device is left to itself: the device is its own then, and
    // goes when the call comes back.
    void stop();

private:
    struct Channel;
    const SoundFields m_fields;
    const Opener m_opener;
    const std::chrono::milliseconds m_betweenAttempts;
    std::shared_ptr<Channel> m_channel;
};
