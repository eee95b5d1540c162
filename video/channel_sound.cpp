#include "video/channel_sound.h"

#include <QAudioDeviceInfo>
#include <QAudioFormat>
#include <QAudioOutput>
#include <QCoreApplication>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace {

constexpr unsigned long kWaitMs = 10;
// Outlives every object: a callback that the stream library has left behind still asks it.
std::atomic<bool> g_gateOpen{false};

QAudioFormat pcmFormat(int sample_rate, int channels, const QAudioDeviceInfo& device) {
    QAudioFormat format;
    format.setSampleRate(sample_rate);
    format.setSampleSize(16);
    format.setChannelCount(channels);
    format.setCodec(QStringLiteral("audio/pcm"));
    format.setByteOrder(QAudioFormat::LittleEndian);
    format.setSampleType(QAudioFormat::SignedInt);
    return device.isFormatSupported(format) ? format : device.nearestFormat(format);
}

class SystemOutput : public SoundOutput {
public:
    SystemOutput(int sample_rate, int channels) {
        const QAudioDeviceInfo device = QAudioDeviceInfo::defaultOutputDevice();
        // No parent: that one lives on another thread. The GUI thread takes the object over and deletes it.
        m_output = new QAudioOutput(device, pcmFormat(sample_rate, channels, device));
        m_device = m_output->start();
        m_output->moveToThread(QCoreApplication::instance()->thread());
    }
    ~SystemOutput() override {
        if (QThread::currentThread() == m_output->thread()) {
            m_output->stop();
        }
        m_output->deleteLater();
    }
    bool stopped() const override {
        // Without a sound device there is nothing to write to, now or later.
        return m_device == nullptr || m_output->state() == QAudio::StoppedState;
    }
    int bufferBytes() const override { return m_output->bufferSize(); }
    int freeBytes() const override { return m_output->bytesFree(); }
    void write(const char* data, int size) override { m_device->write(data, size); }
    void show(const SoundFields& fields) const override {
        fields.output = m_output;
        fields.device = m_device;
    }

private:
    QAudioOutput* m_output = nullptr;
    QIODevice* m_device = nullptr;
};

// Waits until that many bytes fit; false when the gate closed or the device stopped first.
bool waitForRoom(const SoundOutput& output, int bytes) {
    while (g_gateOpen) {
        if (output.stopped()) {
            return false;
        }
        if (output.freeBytes() >= bytes) {
            return true;
        }
        QThread::msleep(kWaitMs);
    }
    return false;
}

void write(SoundOutput& output, const char* data, int size) {
    // A packet beyond the device's whole buffer would wait for ever: it goes in pieces.
    const int piece = std::max(output.bufferBytes(), 1);
    for (int done = 0; done < size;) {
        const int next = std::min(piece, size - done);
        if (!waitForRoom(output, next)) {
            return;
        }
        output.write(data + done, next);
        done += next;
    }
}

}  // namespace

// From one opening of the channel to its close. While `busy` the output is the player's alone, without the
// mutex, since it may hang there; else whoever has the mutex may take it.
struct ChannelSound::Channel {
    std::mutex mutex;
    bool busy = false;
    bool closed = false;
    bool opened = false;
    std::unique_ptr<SoundOutput> output;

    void play(const SoundFields& fields, const Opener& opener, const unsigned char* data, int size,
              int sample_rate, int channels);
    void begin(const SoundFields& fields, std::unique_ptr<SoundOutput> device);
};

void ChannelSound::Channel::begin(const SoundFields& fields, std::unique_ptr<SoundOutput> device) {
    const std::lock_guard<std::mutex> lock(mutex);
    output = std::move(device);
    if (!closed && output != nullptr) {
        output->show(fields);
    }
}

void ChannelSound::Channel::play(const SoundFields& fields, const Opener& opener, const unsigned char* data,
                                 int size, int sample_rate, int channels) {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (closed || busy) {
            return;
        }
        busy = true;
    }
    if (!std::exchange(opened, true)) {
        begin(fields, opener(sample_rate, channels));
    }
    if (output != nullptr) {
        write(*output, reinterpret_cast<const char*>(data), size);
    }
    std::unique_ptr<SoundOutput> left;
    const std::lock_guard<std::mutex> lock(mutex);
    busy = false;
    if (closed) {
        left = std::move(output);
    }
}

void ChannelSound::openGate() { g_gateOpen = true; }
void ChannelSound::closeGate() { g_gateOpen = false; }

ChannelSound::ChannelSound(const SoundFields& fields)
    : ChannelSound(fields, [](int sample_rate, int channels) {
          return std::make_unique<SystemOutput>(sample_rate, channels);
      }) {}

ChannelSound::ChannelSound(const SoundFields& fields, Opener opener)
    : m_fields(fields), m_opener(std::move(opener)), m_channel(std::make_shared<Channel>()) {}

ChannelSound::~ChannelSound() { stop(); }

ChannelSound::Player ChannelSound::player() const {
    return [channel = m_channel, fields = m_fields, opener = m_opener](const unsigned char* data, int size,
                                                                       int sample_rate, int channels) {
        if (g_gateOpen && size > 0) {
            channel->play(fields, opener, data, size, sample_rate, channels);
        }
    };
}

void ChannelSound::stop() {
    std::unique_ptr<SoundOutput> output;
    {
        const std::lock_guard<std::mutex> lock(m_channel->mutex);
        m_channel->closed = true;
        if (!m_channel->busy) {
            output = std::move(m_channel->output);
        }
        m_fields.output = nullptr;
        m_fields.device = nullptr;
    }
    m_channel = std::make_shared<Channel>();
}
