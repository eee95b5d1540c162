#include "video/channel_sound.h"

#include <QAudioDeviceInfo>
#include <QAudioFormat>
#include <QAudioOutput>
#include <QCoreApplication>
#include <QThread>
#include <algorithm>
#include <atomic>

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

}  // namespace

void ChannelSound::openGate() { g_gateOpen = true; }
void ChannelSound::closeGate() { g_gateOpen = false; }

ChannelSound::ChannelSound(const SoundFields& fields) : m_fields(fields) {}

void ChannelSound::start(int sample_rate, int channels) {
    const QAudioDeviceInfo device = QAudioDeviceInfo::defaultOutputDevice();
    // No parent: that one lives on another thread. The GUI thread takes the object over and deletes it.
    m_fields.output = new QAudioOutput(device, pcmFormat(sample_rate, channels, device));
    m_fields.device = m_fields.output->start();
    m_fields.output->moveToThread(QCoreApplication::instance()->thread());
}

// Waits until that many bytes fit; false when the gate closed or the device stopped first.
bool ChannelSound::waitForRoom(int bytes) const {
    while (g_gateOpen) {
        if (m_fields.output->state() == QAudio::StoppedState) {
            return false;
        }
        if (m_fields.output->bytesFree() >= bytes) {
            return true;
        }
        QThread::msleep(kWaitMs);
    }
    return false;
}

void ChannelSound::play(const unsigned char* data, int size, int sample_rate, int channels) {
    if (!g_gateOpen || size <= 0) {
        return;
    }
    if (m_fields.output == nullptr) {
        start(sample_rate, channels);
    }
    // Without a sound device there is nothing to write to, now or later.
    if (m_fields.device == nullptr) {
        return;
    }
    // A packet beyond the device's whole buffer would wait for ever: it goes in pieces.
    const int piece = std::max(m_fields.output->bufferSize(), 1);
    for (int done = 0; done < size;) {
        const int next = std::min(piece, size - done);
        if (!waitForRoom(next)) {
            return;
        }
        m_fields.device->write(reinterpret_cast<const char*>(data) + done, next);
        done += next;
    }
}

void ChannelSound::stop() {
    if (m_fields.output == nullptr) {
        return;
    }
    m_fields.output->stop();
    m_fields.output->deleteLater();
    m_fields.output = nullptr;
    m_fields.device = nullptr;
}
