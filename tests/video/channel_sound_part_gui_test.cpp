// Sound against a device of the test's, one that hangs included.
#include "video/channel_sound.h"

#include <gtest/gtest.h>

#include <QAudioOutput>
#include <QCoreApplication>
#include <QPointer>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/widgets/wait.h"
#include "video/sound_thread.h"

namespace {

// What the devices of a test have seen; outlives all of them.
struct Log {
    std::mutex mutex;
    std::condition_variable changed;
    bool hangs = false;  // a write waits while it is set
    bool stopped = false;
    bool ended = false;
    int waiting = 0;
    int devices = 0;
    int gone = 0;
    std::vector<int> pieces;

    template <class Condition>
    bool waitFor(Condition condition) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(10), condition);
    }
    void release() {
        const std::lock_guard<std::mutex> lock(mutex);
        hangs = false;
        changed.notify_all();
    }
};

constexpr std::chrono::milliseconds kShort(50);

class FakeOutput : public SoundOutput {
public:
    explicit FakeOutput(Log& log) : m_log(log) {
        const std::lock_guard<std::mutex> lock(m_log.mutex);
        ++m_log.devices;
    }
    ~FakeOutput() override {
        const std::lock_guard<std::mutex> lock(m_log.mutex);
        ++m_log.gone;
        m_log.changed.notify_all();
    }
    bool stopped() const override { return m_log.stopped; }
    int bufferBytes() const override { return 8; }
    int freeBytes() const override { return m_log.ended ? -1 : 8; }
    void write(const char* /*data*/, int size) override {
        std::unique_lock<std::mutex> lock(m_log.mutex);
        m_log.pieces.push_back(size);
        ++m_log.waiting;
        m_log.changed.notify_all();
        m_log.changed.wait(lock, [this] { return !m_log.hangs; });
        --m_log.waiting;
    }
    void show(const SoundFields& fields) const override {
        fields.device = reinterpret_cast<QIODevice*>(&m_log);
    }

private:
    Log& m_log;
};

class Sound : public ::testing::Test {
protected:
    Sound() { ChannelSound::openGate(); }
    ~Sound() override { ChannelSound::closeGate(); }
    ChannelSound::Opener opener() {
        return [this](int, int) { return std::make_unique<FakeOutput>(log); };
    }

    Log log;
    QAudioOutput* output = nullptr;
    QIODevice* device = nullptr;
    const unsigned char packet[20] = {};
};

TEST_F(Sound, ALongPacketGoesInPiecesToOneDevice) {
    ChannelSound sound({output, device}, opener(), kShort);
    const ChannelSound::Player play = sound.player();
    EXPECT_EQ(log.devices, 0) << "opened at the first packet";
    play(packet, 20, 48000, 2);
    play(packet, 4, 48000, 2);
    EXPECT_EQ(log.pieces, (std::vector<int>{8, 8, 4, 4}));
    EXPECT_EQ(log.devices, 1);
    EXPECT_NE(device, nullptr);
    sound.stop();
    EXPECT_EQ(log.gone, 1);
    EXPECT_EQ(device, nullptr);
    play(packet, 4, 48000, 2);
    EXPECT_EQ(log.devices, 1) << "a player of a closed channel is silent";
    sound.player()(packet, 4, 48000, 2);
    EXPECT_EQ(log.devices, 2);
}

TEST_F(Sound, ADeviceThatStopsOrIsNotThereTakesNothing) {
    ChannelSound none(
        {output, device}, [](int, int) { return std::unique_ptr<SoundOutput>(); }, kShort);
    none.player()(packet, 20, 48000, 2);
    EXPECT_EQ(device, nullptr);
    ChannelSound sound({output, device}, opener(), kShort);
    log.stopped = true;
    sound.player()(packet, 20, 48000, 2);
    EXPECT_TRUE(log.pieces.empty());
}

// However it was lost; what comes meanwhile is let go, at once.
TEST_F(Sound, ALostDeviceIsFollowedByTheNextOne) {
    ChannelSound sound({output, device}, opener(), kShort);
    const ChannelSound::Player play = sound.player();
    for (bool* fault : {&log.stopped, &log.ended}) {
        play(packet, 4, 48000, 2);
        ASSERT_NE(device, nullptr);
        const int before = log.devices;
        *fault = true;
        play(packet, 20, 48000, 2);
        EXPECT_EQ(device, nullptr);
        EXPECT_EQ(log.devices, before);
        *fault = false;
        const std::size_t pieces = log.pieces.size();
        EXPECT_TRUE(waitFor(
            [&] {
                play(packet, 4, 48000, 2);
                return log.pieces.size() > pieces;
            },
            20000));
        EXPECT_EQ(log.devices, before + 1) << "the lost one takes nothing more";
        EXPECT_EQ(log.gone, before);
        EXPECT_NE(device, nullptr);
    }
}

TEST_F(Sound, ADeviceThatIsNotThereYetIsAskedForAgain) {
    int asked = 0;
    ChannelSound sound(
        {output, device},
        [&](int, int) {
            return ++asked < 3 ? std::unique_ptr<SoundOutput>() : std::make_unique<FakeOutput>(log);
        },
        kShort);
    const ChannelSound::Player play = sound.player();
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_TRUE(waitFor(
        [&] {
            play(packet, 4, 48000, 2);
            return !log.pieces.empty();
        },
        20000));
    EXPECT_EQ(asked, 3);
    EXPECT_GE(std::chrono::steady_clock::now() - begun, 2 * kShort) << "not at each packet";
}

TEST_F(Sound, TheGateTurnsSoundAway) {
    ChannelSound sound({output, device}, opener(), kShort);
    ChannelSound::closeGate();
    sound.player()(packet, 20, 48000, 2);
    EXPECT_EQ(log.devices, 0);
}

// A sound server that does not answer keeps the call; neither the close nor the end of the program waits for
// it or touches what it uses.
TEST_F(Sound, ACallThatHangsKeepsItsDeviceUntilItComesBack) {
    log.hangs = true;
    auto sound = std::make_unique<ChannelSound>(SoundFields{output, device}, opener(), kShort);
    std::thread hanging([this, play = sound->player()] { play(packet, 20, 48000, 2); });
    ASSERT_TRUE(log.waitFor([this] { return log.waiting == 1; }));
    ChannelSound::closeGate();
    sound->stop();
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(log.gone, 0) << "the device is in use";
    ChannelSound::openGate();
    log.release();
    hanging.join();
    EXPECT_EQ(log.gone, 1);

    log.hangs = true;
    std::thread again([this, play = sound->player()] { play(packet, 4, 48000, 2); });
    ASSERT_TRUE(log.waitFor([this] { return log.waiting == 1; }));
    sound.reset();
    EXPECT_EQ(log.gone, 1);
    log.release();
    again.join();
    EXPECT_EQ(log.gone, 2);
    EXPECT_EQ(device, nullptr);
}

// --- the system's output ---

class SystemSound : public ::testing::Test {
protected:
    ~SystemSound() override {
        sound.closeGate();
        sound.stop();
    }
    // One packet from a thread of the stream library's.
    void playOnItsThread(int size) {
        std::thread([this, size] {
            std::vector<unsigned char> packet(static_cast<std::size_t>(std::max(size, 0)));
            sound.player()(packet.data(), size, 48000, 2);
        }).join();
    }

    QAudioOutput* output = nullptr;
    QIODevice* device = nullptr;
    ChannelSound sound{SoundFields{output, device}};
};

TEST_F(SystemSound, IsTurnedAwayUntilTheGateOpens) {
    playOnItsThread(4);
    EXPECT_EQ(output, nullptr);
    sound.openGate();
    playOnItsThread(0);
    playOnItsThread(-4);
    EXPECT_EQ(output, nullptr);
    playOnItsThread(4);
    ASSERT_NE(output, nullptr);
    EXPECT_NE(output->thread(), QCoreApplication::instance()->thread()) << "it may hang";
    EXPECT_TRUE(output->thread()->isRunning()) << "what the server says reaches it";
}

TEST(SoundThreadWork, ThatHangsIsWaitedForNoLongerThanItIsWanted) {
    std::mutex hang;
    std::unique_lock<std::mutex> hangs(hang);
    const SoundThread first = SoundThread::present();
    first.post([&hang] { const std::lock_guard<std::mutex> wait(hang); });
    const auto done = std::make_shared<std::atomic<bool>>(false);
    int asked = 0;
    EXPECT_FALSE(first.run([done] { *done = true; }, [&asked] { return ++asked < 3; }));
    EXPECT_EQ(asked, 3);
    EXPECT_FALSE(*done);
    // After a while another thread does what comes.
    const auto begun = std::chrono::steady_clock::now();
    const auto works = [] { return SoundThread::present().run([] {}, [] { return false; }); };
    EXPECT_TRUE(waitFor(works, 30000));
    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::seconds(4));
    hangs.unlock();
    EXPECT_TRUE(waitFor([&done] { return done->load(); }, 20000)) << "done later";
    QThread* at = nullptr;
    QThread* now_at = nullptr;
    EXPECT_TRUE(first.run([&at] { at = QThread::currentThread(); }, [] { return true; }));
    EXPECT_TRUE(
        SoundThread::present().run([&now_at] { now_at = QThread::currentThread(); }, [] { return true; }));
    EXPECT_EQ(now_at, at) << "the first again";
}

TEST_F(SystemSound, StoppingLetsGoOfBoth) {
    sound.stop();
    sound.openGate();
    playOnItsThread(4);
    QPointer<QAudioOutput> was = output;
    ASSERT_FALSE(was.isNull());
    sound.stop();
    EXPECT_EQ(output, nullptr);
    EXPECT_EQ(device, nullptr);
    EXPECT_TRUE(waitFor([&was] { return was.isNull(); }, 20000));
    // The next stream begins with an output of its own.
    playOnItsThread(4);
    EXPECT_NE(output, nullptr);
}

TEST_F(SystemSound, AClosedGateEndsAWait) {
    sound.openGate();
    // With a device the thread waits for it, without one it plays on; either way it ends.
    std::atomic<bool> ended{false};
    std::thread stream([&, play = sound.player()] {
        std::vector<unsigned char> packet(1 << 16);
        for (int i = 0; i < 100; ++i) {
            play(packet.data(), static_cast<int>(packet.size()), 8000, 2);
        }
        ended = true;
    });
    sound.closeGate();
    EXPECT_TRUE(waitFor([&] { return ended.load(); }));
    stream.join();
}

}  // namespace
