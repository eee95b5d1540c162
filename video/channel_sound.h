// Sound of a channel, played on the stream library's audio thread.
#pragma once

class QAudioOutput;
class QIODevice;

// The window's fields: created on the stream library's audio thread, stopped on the GUI thread after
// feedClose has ended that thread's calls; by that order alone no lock is needed.
struct SoundFields {
    QAudioOutput*& output;
    QIODevice*& device;
};

// Fields outlive it.
class ChannelSound {
public:
    explicit ChannelSound(const SoundFields& fields);

    // Whether sound may wait for its device. Closing ends a wait under way within 10 ms and turns sound away
    // until the next opening. Any thread.
    static void openGate();
    static void closeGate();
    // One packet, signed 16-bit little-endian; waits until the device has taken it. Stream library's audio
    // thread.
    void play(const unsigned char* data, int size, int sample_rate, int channels);
    // GUI thread, after feedClose: the audio thread has ended.
    void stop();

private:
    void start(int sample_rate, int channels);
    bool waitForRoom(int bytes) const;

    SoundFields m_fields;
};
