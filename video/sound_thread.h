// The thread that the toolkit's sound lives on.
#pragma once

#include <functional>

// The toolkit's connection to the system's sound server belongs to the thread that first asks for a device,
// and comes back after the server did only if that thread runs an event loop: the stream library's threads
// run none, and the GUI thread must not wait for a sound server that hangs. The thread begins when it is
// first asked for and ends with the application; what is asked of it later is never done. Any thread.
class SoundThread {
public:
    // Another one while the first hangs, for 5 s with nobody waiting.
    static SoundThread present();

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
