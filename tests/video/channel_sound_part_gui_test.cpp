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
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
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

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

// Stands still until a test lets time pass.
class TestClock {
public:
    void pass(Clock::duration time) { m_now += time; }
    ChannelSound::Now now() {
        return [this] { return m_now; };
    }

private:
    Clock::time_point m_now = Clock::now();
};

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
    TestClock clock;
    QAudioOutput* output = nullptr;
    QIODevice* device = nullptr;
    const unsigned char packet[20] = {};
};

TEST_F(Sound, ALongPacketGoesInPiecesToOneDevice) {
    ChannelSound sound({output, device}, opener(), clock.now());
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
    ChannelSound none({output, device}, [](int, int) { return std::unique_ptr<SoundOutput>(); });
    none.player()(packet, 20, 48000, 2);
    EXPECT_EQ(device, nullptr);
    ChannelSound sound({output, device}, opener(), clock.now());
    log.stopped = true;
    sound.player()(packet, 20, 48000, 2);
    EXPECT_TRUE(log.pieces.empty());
}

// However it was lost; what comes meanwhile is let go, at once.
TEST_F(Sound, ALostDeviceIsFollowedByTheNextOne) {
    ChannelSound sound({output, device}, opener(), clock.now());
    const ChannelSound::Player play = sound.player();
    for (bool* fault : {&log.stopped, &log.ended}) {
        play(packet, 4, 48000, 2);
        clock.pass(seconds(1) - std::chrono::milliseconds(1));
        ASSERT_NE(device, nullptr);
        const int before = log.devices;
        *fault = true;
        play(packet, 20, 48000, 2);
        EXPECT_EQ(device, nullptr);
        EXPECT_EQ(log.devices, before);
        *fault = false;
        const std::size_t pieces = log.pieces.size();
        play(packet, 4, 48000, 2);
        EXPECT_EQ(log.pieces.size(), pieces) << "the lost one takes nothing more";
        clock.pass(std::chrono::milliseconds(1));
        play(packet, 4, 48000, 2);
        EXPECT_EQ(log.pieces.size(), pieces + 1);
        EXPECT_EQ(log.devices, before + 1);
        EXPECT_EQ(log.gone, before);
        EXPECT_NE(device, nullptr);
    }
}

// Null or stopped. What has opened once is asked for as often as at first.
TEST_F(Sound, ADeviceThatIsNotThereIsAskedForAgainEverLessOften) {
    enum class Gives { kNothing, kStopped, kDevice } gives = Gives::kNothing;
    int asked = 0;
    ChannelSound sound(
        {output, device},
        [&](int, int) {
            ++asked;
            log.stopped = gives != Gives::kDevice;
            return gives == Gives::kNothing ? nullptr : std::make_unique<FakeOutput>(log);
        },
        clock.now());
    // Seconds from attempt to attempt, with a packet each.
    const auto pauses = [&, play = sound.player()](std::size_t count) {
        std::vector<int> all;
        for (int passed = 1; all.size() < count && passed < 100; ++passed) {
            clock.pass(seconds(1));
            const int before = asked;
            play(packet, 4, 48000, 2);
            if (asked > before) {
                all.push_back(std::exchange(passed, 0));
            }
        }
        return all;
    };
    const std::vector<int> growing{1, 1, 2, 4, 8, 16, 16, 16};
    EXPECT_EQ(pauses(8), growing);
    gives = Gives::kDevice;
    EXPECT_EQ(pauses(1), (std::vector<int>{16}));
    EXPECT_EQ(log.pieces.size(), 1U);
    log.stopped = true;
    sound.player()(packet, 4, 48000, 2);
    gives = Gives::kStopped;
    EXPECT_EQ(pauses(8), growing);
    sound.stop();
    EXPECT_EQ(log.gone, log.devices);
}

TEST_F(Sound, TheGateTurnsSoundAway) {
    ChannelSound sound({output, device}, opener(), clock.now());
    ChannelSound::closeGate();
    sound.player()(packet, 20, 48000, 2);
    EXPECT_EQ(log.devices, 0);
}

// A sound server that does not answer keeps the call; neither the close nor the end of the program waits for
// it or touches what it uses.
TEST_F(Sound, ACallThatHangsKeepsItsDeviceUntilItComesBack) {
    log.hangs = true;
    auto sound = std::make_unique<ChannelSound>(SoundFields{output, device}, opener(), clock.now());
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

// Holds the sound's present thread until it is gone.
class HeldThread {
public:
    HeldThread() {
        thread.post([this] { const std::lock_guard<std::mutex> wait(m_mutex); });
    }
    ~HeldThread() { release(); }
    // Also waits until the thread has done what was left to it.
    void release() {
        if (m_hold.owns_lock()) {
            m_hold.unlock();
            EXPECT_TRUE(thread.run([] {}, within(seconds(30))));
        }
    }
    static std::function<bool()> within(Clock::duration time) {
        return [deadline = Clock::now() + time] { return Clock::now() < deadline; };
    }

    const SoundThread thread = SoundThread::present();

private:
    std::mutex m_mutex;
    std::unique_lock<std::mutex> m_hold{m_mutex};
};

QThread* at(const SoundThread& thread) {
    const auto found = std::make_shared<QThread*>(nullptr);
    EXPECT_TRUE(thread.run([found] { *found = QThread::currentThread(); }, HeldThread::within(seconds(30))));
    return *found;
}

TEST(SoundThreadWork, ThatHangsIsWaitedForNoLongerThanItIsWanted) {
    QThread* const first = at(SoundThread::present());
    HeldThread held;
    const auto done = std::make_shared<std::atomic<bool>>(false);
    int asked = 0;
    EXPECT_FALSE(held.thread.run([done] { *done = true; }, [&asked] { return ++asked < 3; }));
    EXPECT_EQ(asked, 3);
    EXPECT_FALSE(*done);
    // After a while another thread does what comes.
    EXPECT_FALSE(SoundThread::present(std::chrono::hours(1)).run([] {}, [] { return false; }));
    const auto next = [] { return SoundThread::present(std::chrono::milliseconds(1)); };
    EXPECT_TRUE(waitFor([&] { return next().run([] {}, HeldThread::within(seconds(1))); }, 30000));
    EXPECT_NE(at(next()), first);
    EXPECT_EQ(SoundThread::kHangs, seconds(5));
    held.release();
    EXPECT_TRUE(*done) << "done later";
    EXPECT_EQ(at(next()), first) << "the first again";
}

// Whoever opens soon after a thread began to hang is given that thread.
TEST_F(SystemSound, IsOpenedOnAnotherThreadWhereTheFirstHangs) {
    const HeldThread held;
    TestClock clock;
    ChannelSound hasty({output, device}, ChannelSound::systemDevice(std::chrono::milliseconds(500)),
                       clock.now());
    ChannelSound::openGate();
    std::atomic<int> attempts{0};
    std::atomic<bool> opened{false};
    std::thread stream([&, play = hasty.player()] {
        const std::vector<unsigned char> packet(4);
        while (attempts < 20 && !opened) {
            play(packet.data(), 4, 48000, 2);
            ++attempts;
            opened = output != nullptr;
            clock.pass(seconds(16));
        }
    });
    EXPECT_TRUE(waitFor([&] { return opened.load(); }, 30000)) << attempts;
    EXPECT_GE(attempts, 2) << "the first attempt found the thread that hangs";
    ChannelSound::closeGate();
    stream.join();
    hasty.stop();
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
