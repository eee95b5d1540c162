// The thread that the toolkit's sound lives on.
#pragma once

#include <chrono>
#include <functional>

// The toolkit's connection to the system's sound server belongs to the thread that first asks for a device,
// and comes back after the server did only if that thread runs an event loop: the stream library's threads
// run none, and the GUI thread must not wait for a sound server that hangs. The thread begins when it is
// first asked for and ends with the application; what is asked of it later is never done. Any thread.
class SoundThread {
public:
    // The toolkit waits for ever for a device that a server neither gives nor refuses.
    static constexpr std::chrono::milliseconds kHangs{5000};

    // Another one while the first hangs: for that long it has not come to what somebody has stopped waiting
    // for. Whoever waits on with run() stays with the thread that hangs.
    static SoundThread present(std::chrono::milliseconds hangs = kHangs);

    // Returns when the work has been done there, or as soon as `still_wanted`, asked every 10 ms, says no:
    // then false, and the work is done later. It holds what it uses.
    bool run(std::function<void()> work, const std::function<bool()>& still_wanted) const;
    void post(std::function<void()> work) const;

private:
    struct Runner;
    struct Runners;
    explicit SoundThread(Runner& runner) : m_runner(&runner) {}
    static Runners& runners();

    Runner* m_runner;  // there until the end of the process
};
