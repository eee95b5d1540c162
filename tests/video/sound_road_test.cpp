// Sound from a camera on loopback through the stream library to a device that does what devices do at their
// worst: the picture goes on, and closing waits for nobody.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <thread>

#include "tests/tavrik/receiver.h"
#include "tests/tavrik/rtsp_server.h"
#include "video/channel_sound.h"

namespace {

using namespace std::chrono_literals;
namespace stream_test = tavrik::test;

constexpr int kBuffer = 1000;  // bytes; a packet of the camera becomes 640
constexpr int kPacketSamples = 320;

enum class Fault { kNone, kVanishes, kFallsSilent, kHangs };

// Outlives its device.
struct Plug {
    std::atomic<Fault> fault{Fault::kNone};
    std::atomic<bool> let_go{false};  // what hangs comes back
    std::atomic<bool> waits{false};   // somebody waits in or for the device
    std::atomic<int> taken{0};        // bytes
    std::atomic<int> largest{0};
    std::atomic<int> devices{0};
    std::atomic<int> gone{0};
    std::atomic<int> asked_in_vain{0};
};

// Takes sound as fast as it comes until its fault.
class Device : public SoundOutput {
public:
    explicit Device(Plug& plug) : m_plug(plug) { ++m_plug.devices; }
    ~Device() override { ++m_plug.gone; }
    bool stopped() const override { return m_plug.fault == Fault::kVanishes; }
    int bufferBytes() const override { return kBuffer; }
    int freeBytes() const override {
        m_plug.waits = m_plug.waits || m_plug.fault == Fault::kFallsSilent;
        m_plug.asked_in_vain += m_plug.fault == Fault::kVanishes ? 1 : 0;
        return m_plug.fault == Fault::kNone || m_plug.fault == Fault::kHangs ? kBuffer : 0;
    }
    void write(const char* /*data*/, int size) override {
        while (m_plug.fault == Fault::kHangs && !m_plug.let_go) {
            m_plug.waits = true;
            std::this_thread::sleep_for(1ms);
        }
        m_plug.taken += size;
        m_plug.largest = std::max(m_plug.largest.load(), size);
    }
    void show(const SoundFields& /*fields*/) const override {}

private:
    Plug& m_plug;
};

class SoundRoad : public testing::Test {
protected:
    static stream_test::RtspServer::Settings settings() {
        stream_test::RtspServer::Settings out;
        out.audio = true;
        return out;
    }
    SoundRoad() { ChannelSound::openGate(); }
    ~SoundRoad() override { ChannelSound::closeGate(); }
    void open() {
        m_handle = tavrik::feedOpen(m_server.url().c_str(), 0, m_receiver.onFrame(), m_sound.player(), "",
                                    true, "", nullptr, 1);
        ASSERT_TRUE(m_server.waitForPlay(stream_test::kPatienceMs));
    }
    template <class Done>
    bool play(Done done) {
        return stream_test::stream(
            [&](int) {
                m_server.sendPicture(m_encoder.encode(m_next), static_cast<std::uint32_t>(m_next) * 3600);
                m_server.sendSound(stream_test::Bytes(kPacketSamples, 0x80),
                                   static_cast<std::uint32_t>(m_next) * kPacketSamples);
                ++m_next;
            },
            done, 40);
    }
    bool shows(std::size_t more) {
        const std::size_t wanted = m_receiver.numbers().size() + more;
        return play([&] { return m_receiver.numbers().size() >= wanted; });
    }
    static std::chrono::steady_clock::time_point fiveTimesAsFast() {
        return std::chrono::steady_clock::time_point(5 * std::chrono::steady_clock::now().time_since_epoch());
    }
    // As the channel does it. Promised within 1 s; the machine of a test may be five times as slow.
    void close() {
        const auto start = std::chrono::steady_clock::now();
        ChannelSound::closeGate();
        tavrik::feedClose(m_handle);
        m_sound.stop();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    }

    Plug m_plug;
    QAudioOutput* m_output = nullptr;
    QIODevice* m_device = nullptr;
    ChannelSound m_sound{SoundFields{m_output, m_device},
                         [this](int, int) { return std::make_unique<Device>(m_plug); }, fiveTimesAsFast};
    stream_test::RtspServer m_server{settings()};
    stream_test::TestEncoder m_encoder{stream_test::EncoderSettings{}};
    stream_test::Receiver m_receiver;
    int m_next = 0;
    int m_handle = 0;
};

TEST_F(SoundRoad, APacketAboveTheDevicesWholeBufferGoesInPieces) {
    open();
    // Behind a camera that sends a tenth of a second at a time.
    EXPECT_TRUE(stream_test::stream(
        [&](int n) {
            m_server.sendPicture(m_encoder.encode(n), static_cast<std::uint32_t>(n) * 9000);
            m_server.sendSound(stream_test::Bytes(800, 0x80), static_cast<std::uint32_t>(n) * 800);
        },
        [&] { return m_plug.taken >= 16000; }, 100));
    EXPECT_EQ(m_plug.largest, kBuffer);
    close();
    EXPECT_EQ(m_plug.devices, 1);
}

TEST_F(SoundRoad, ADeviceThatVanishesTakesNoPictureAlong) {
    open();
    ASSERT_TRUE(play([&] { return m_plug.taken >= 3200; }));
    m_plug.fault = Fault::kVanishes;
    EXPECT_TRUE(shows(25));
    EXPECT_LE(m_plug.asked_in_vain, 1) << "nobody waits for it";
    m_plug.fault = Fault::kNone;
    const int before = m_plug.taken;
    EXPECT_TRUE(play([&] { return m_plug.taken > before; })) << "the next one is heard";
    EXPECT_GE(m_plug.devices, 2);
    EXPECT_EQ(m_plug.gone, m_plug.devices - 1);
    close();
    EXPECT_EQ(m_plug.gone, m_plug.devices);
}

// It says nothing and takes nothing any more: the close ends the wait at once.
TEST_F(SoundRoad, ADeviceThatFallsSilentTakesNoPictureAlong) {
    open();
    ASSERT_TRUE(play([&] { return m_plug.taken >= 3200; }));
    m_plug.fault = Fault::kFallsSilent;
    ASSERT_TRUE(play([&] { return m_plug.waits.load(); }));
    EXPECT_TRUE(shows(25));
    close();
    EXPECT_EQ(m_plug.gone, m_plug.devices) << "the wait has ended";
}

TEST_F(SoundRoad, ADeviceThatHangsTakesNoPictureAlong) {
    open();
    ASSERT_TRUE(play([&] { return m_plug.taken >= 3200; }));
    m_plug.fault = Fault::kHangs;
    ASSERT_TRUE(play([&] { return m_plug.waits.load(); }));
    EXPECT_TRUE(shows(25));
    close();
    EXPECT_EQ(m_plug.gone, 0) << "it is in use";
    m_plug.let_go = true;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (m_plug.gone == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(m_plug.gone, 1);
}

}  // namespace
