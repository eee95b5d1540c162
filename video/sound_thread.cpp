#include "video/sound_thread.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QObject>
#include <QThread>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kLook = std::chrono::milliseconds(10);
constexpr int kEndPatienceMs = 500;
constexpr std::size_t kMostThreads = 8;

// Under the runner's mutex.
struct Done {
    std::condition_variable changed;
    bool done = false;
    bool left_behind = false;
};

}  // namespace

struct SoundThread::Runner {
    QThread thread;
    QObject worker;
    std::mutex mutex;
    int left_behind = 0;  // works that nobody waits for any more and that are not done yet
    Clock::time_point left_since{};

    Runner() {
        thread.setObjectName(QStringLiteral("sound"));
        worker.moveToThread(&thread);
        thread.start();
    }
    bool hangs(std::chrono::milliseconds patience) {
        const std::lock_guard<std::mutex> lock(mutex);
        return left_behind > 0 && Clock::now() - left_since > patience;
    }
    void finished(const Done& work) { left_behind -= work.left_behind ? 1 : 0; }
    void leave(Done& work) {
        work.left_behind = true;
        if (left_behind++ == 0) {
            left_since = Clock::now();
        }
    }
};

struct SoundThread::Runners {
    std::mutex mutex;
    std::vector<Runner*> all;

    // With the application.
    void end() {
        const std::lock_guard<std::mutex> lock(mutex);
        for (Runner* runner : all) {
            // Behind whatever is to be deleted yet.
            SoundThread(*runner).post([runner] { runner->thread.quit(); });
        }
        const QDeadlineTimer deadline(kEndPatienceMs);
        for (Runner* runner : all) {
            runner->thread.wait(deadline);
        }
    }
};

// Never destroyed: a thread of the stream library's that was left behind may ask at any time, and they may
// hang with the sound server.
SoundThread::Runners& SoundThread::runners() {
    static Runners* const made = [] {
        qAddPostRoutine([] { runners().end(); });
        return new Runners;
    }();
    return *made;
}

// The first that does not hang: the toolkit's connection is the very first one's.
SoundThread SoundThread::present(std::chrono::milliseconds hangs) {
    const std::lock_guard<std::mutex> lock(runners().mutex);
    std::vector<Runner*>& all = runners().all;
    for (Runner* runner : all) {
        if (!runner->hangs(hangs)) {
            return SoundThread(*runner);
        }
    }
    if (all.size() < kMostThreads) {
        all.push_back(new Runner);
    }
    return SoundThread(*all.back());
}

void SoundThread::post(std::function<void()> work) const {
    QMetaObject::invokeMethod(&m_runner->worker, std::move(work), Qt::QueuedConnection);
}

bool SoundThread::run(std::function<void()> work, const std::function<bool()>& still_wanted) const {
    const auto done = std::make_shared<Done>();
    post([done, runner = m_runner, work = std::move(work)] {
        work();
        const std::lock_guard<std::mutex> lock(runner->mutex);
        done->done = true;
        runner->finished(*done);
        done->changed.notify_all();
    });
    std::unique_lock<std::mutex> lock(m_runner->mutex);
    while (!done->changed.wait_for(lock, kLook, [&done] { return done->done; })) {
        if (!still_wanted()) {
            m_runner->leave(*done);
            return false;
        }
    }
    return true;
}
