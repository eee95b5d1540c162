// Sound of channel 1, played on the stream library's audio thread.
#include <QAudioDeviceInfo>
#include <QAudioFormat>
#include <QAudioOutput>
#include <QThread>
#include <algorithm>
#include <atomic>

#include "app/korvath.h"
#include "video/audio_gate.h"

namespace {

constexpr unsigned long kWaitMs = 10;
std::atomic<bool> g_gate_open{false};

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

// Waits until that many bytes fit; false when the gate closed or the device stopped first.
bool waitForRoom(const QAudioOutput& output, int bytes) {
    while (g_gate_open) {
        if (output.state() == QAudio::StoppedState) return false;
        if (output.bytesFree() >= bytes) return true;
        QThread::msleep(kWaitMs);
    }
    return false;
}

}  // namespace

void audio_gate::open() {
    g_gate_open = true;
}
void audio_gate::close() {
    g_gate_open = false;
}

void Korvath::onAudio(unsigned char* data, int size, int sample_rate, int channels) {
    if (!g_gate_open || size <= 0) return;
    if (audio_output == nullptr) {
        const QAudioDeviceInfo device = QAudioDeviceInfo::defaultOutputDevice();
        // No parent: that one lives on another thread. The GUI thread takes the object over and deletes it.
        audio_output = new QAudioOutput(device, pcmFormat(sample_rate, channels, device));
        audio_device = audio_output->start();
        audio_output->moveToThread(thread());
    }
    // Without a sound device there is nothing to write to, now or later.
    if (audio_device == nullptr) return;
    // A packet beyond the device's whole buffer would wait for ever: it goes in pieces.
    const int piece = std::max(audio_output->bufferSize(), 1);
    for (int done = 0; done < size;) {
        const int next = std::min(piece, size - done);
        if (!waitForRoom(*audio_output, next)) return;
        audio_device->write(reinterpret_cast<const char*>(data) + done, next);
        done += next;
    }
}

// After feedClose: the audio thread has ended.
void Korvath::closeAudio() {
    if (audio_output == nullptr) return;
    audio_output->stop();
    audio_output->deleteLater();
    audio_output = nullptr;
    audio_device = nullptr;
}
