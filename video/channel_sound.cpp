#include "video/channel_sound.h"

#include <QAudioDeviceInfo>
#include <QAudioFormat>
#include <QAudioOutput>
#include <QByteArray>
#include <QPointer>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr unsigned long kWaitMs = 10;
// Each attempt asks the system anew, which may be a line on the standard error output.
constexpr milliseconds kFirstPause(1000);
constexpr milliseconds kLongestPause(16000);
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

bool gateOpen() { return g_gateOpen; }

// The toolkit's objects; touched and deleted on one sound's thread alone.
struct Toolkit {
    std::unique_ptr<QAudioOutput> output;
    QPointer<QIODevice> device;  // the output deletes it when it loses its server

    void open(int sample_rate, int channels) {
        QAudioDeviceInfo info = QAudioDeviceInfo::defaultOutputDevice();
        // A server without any device tells one all the same, and the toolkit would wait for it for ever.
        if (info.deviceName().isEmpty() || !info.preferredFormat().isValid()) {
            info = QAudioDeviceInfo();
        }
        output = std::make_unique<QAudioOutput>(info, pcmFormat(sample_rate, channels, info));
        if (!info.isNull()) {
            device = output->start();
        }
    }
    bool stopped() const { return device == nullptr || output->state() == QAudio::StoppedState; }
};

class SystemOutput : public SoundOutput {
public:
    // To wait on would be to stay with a thread that hangs: the next attempt asks for the present one.
    static std::unique_ptr<SoundOutput> open(int sample_rate, int channels, milliseconds hangs) {
        std::unique_ptr<SystemOutput> made(new SystemOutput(hangs));
        const Clock::time_point deadline = Clock::now() + hangs;
        const bool opened = made->m_thread.run(
            [toolkit = made->m_toolkit, sample_rate, channels] { toolkit->open(sample_rate, channels); },
            [deadline] { return gateOpen() && Clock::now() < deadline; });
        return opened ? std::move(made) : nullptr;
    }
    bool stopped() const override {
        return ask([](const Toolkit& toolkit) { return toolkit.stopped() ? 1 : 0; }, 1) != 0;
    }
    int bufferBytes() const override {
        return ask([](const Toolkit& toolkit) { return toolkit.output->bufferSize(); }, 0);
    }
    // Of a stream that the server has ended the toolkit says nothing else.
    int freeBytes() const override {
        return ask([](const Toolkit& toolkit) { return toolkit.output->bytesFree(); }, 0);
    }
    void write(const char* data, int size) override {
        ask(
            [bytes = QByteArray(data, size)](const Toolkit& toolkit) {
                return toolkit.device != nullptr ? static_cast<int>(toolkit.device->write(bytes)) : 0;
            },
            0);
    }
    void show(const SoundFields& fields) const override {
        fields.output = m_toolkit->output.get();
        fields.device = m_toolkit->device;
    }

private:
    explicit SystemOutput(milliseconds hangs)
        : m_thread(SoundThread::present(hangs)),
          m_toolkit(new Toolkit,
                    [thread = m_thread](Toolkit* toolkit) { thread.post([toolkit] { delete toolkit; }); }) {}
    // `otherwise` where the gate closes first.
    int ask(std::function<int(const Toolkit&)> what, int otherwise) const {
        const auto answer = std::make_shared<int>(otherwise);
        const bool told = m_thread.run(
            [toolkit = m_toolkit, answer, what = std::move(what)] { *answer = what(*toolkit); }, gateOpen);
        return told ? *answer : otherwise;
    }

    const SoundThread m_thread;
    const std::shared_ptr<Toolkit> m_toolkit;
};

enum class Written { kAll, kTurnedAway, kLost };

// Waits until that many bytes fit, as long as it takes: a server that stands still is not asked for another
// device, since it would not answer.
Written waitForRoom(const SoundOutput& output, int bytes) {
    while (g_gateOpen) {
        const int room = output.stopped() ? -1 : output.freeBytes();
        if (room >= bytes) {
            return Written::kAll;
        }
        if (room < 0) {
            return g_gateOpen ? Written::kLost : Written::kTurnedAway;
        }
        QThread::msleep(kWaitMs);
    }
    return Written::kTurnedAway;
}

Written write(SoundOutput& output, const char* data, int size) {
    // A packet beyond the device's whole buffer would wait for ever: it goes in pieces.
    const int piece = std::max(output.bufferBytes(), 1);
    for (int done = 0; done < size;) {
        const int next = std::min(piece, size - done);
        const Written room = waitForRoom(output, next);
        if (room != Written::kAll) {
            return room;
        }
        output.write(data + done, next);
        done += next;
    }
    return Written::kAll;
}

}  // namespace

// From one opening of the channel to its close. While `busy` the output is the player's alone, without the
// mutex, since it may hang there; else whoever has the mutex may take it.
struct ChannelSound::Channel {
    explicit Channel(Now clock) : now(std::move(clock)) {}

    const Now now;
    std::mutex mutex;
    bool busy = false;
    bool closed = false;
    std::unique_ptr<SoundOutput> output;
    bool lost = true;                  // it takes nothing, or there is none
    Clock::time_point next_attempt;    // to open another one
    milliseconds pause = kFirstPause;  // after the next attempt in vain

    void play(const SoundFields& fields, const Opener& opener, const unsigned char* data, int size,
              int sample_rate, int channels);
    void begin(const SoundFields& fields, std::unique_ptr<SoundOutput> device);
    std::unique_ptr<SoundOutput> end(const SoundFields& fields);
};

// One that is lost is kept until the next is there: it is what the fields show.
void ChannelSound::Channel::begin(const SoundFields& fields, std::unique_ptr<SoundOutput> device) {
    if (device != nullptr && !device->stopped()) {
        pause = kFirstPause;
        next_attempt = now() + kFirstPause;
    } else {
        next_attempt = now() + pause;
        pause = std::min(2 * pause, kLongestPause);
    }
    if (device == nullptr) {
        return;
    }
    lost = false;
    const std::lock_guard<std::mutex> lock(mutex);
    output.swap(device);
    if (!closed) {
        output->show(fields);
    }
}

// What is left to be let go.
std::unique_ptr<SoundOutput> ChannelSound::Channel::end(const SoundFields& fields) {
    const std::lock_guard<std::mutex> lock(mutex);
    busy = false;
    if (closed) {
        return std::move(output);
    }
    if (lost) {
        fields.device = nullptr;
    }
    return nullptr;
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
    if (lost && now() >= next_attempt) {
        begin(fields, opener(sample_rate, channels));
    }
    if (!lost) {
        lost = write(*output, reinterpret_cast<const char*>(data), size) == Written::kLost;
    }
    end(fields);
}

void ChannelSound::openGate() { g_gateOpen = true; }
void ChannelSound::closeGate() { g_gateOpen = false; }

ChannelSound::Opener ChannelSound::systemDevice(milliseconds hangs) {
    return
        [hangs](int sample_rate, int channels) { return SystemOutput::open(sample_rate, channels, hangs); };
}

ChannelSound::ChannelSound(const SoundFields& fields, Opener opener, Now now)
    : m_fields(fields),
      m_opener(std::move(opener)),
      m_now(std::move(now)),
      m_channel(std::make_shared<Channel>(m_now)) {}

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
    m_channel = std::make_shared<Channel>(m_now);
}
