// One stream or replay from its opening to its close, as often as one likes, and what the process holds.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace tavrik::test {

enum class CycleKind {
    kRtsp,       // with sound
    kTransport,  // over UDP
    kRecording,  // over RTSP with a recording and a still
    kReplay,
};

const char* nameOf(CycleKind kind);

class CycleRunner {
public:
    // folder: for the files; they are removed at the end.
    CycleRunner(CycleKind kind, std::string folder);
    ~CycleRunner();
    // Opens, waits for some pictures, closes; false if a picture or a file did not come.
    bool run();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

struct ProcessCounts {
    int handles = 0;
    int threads = 0;
    std::size_t resident = 0;   // bytes in memory
    std::size_t allocated = 0;  // bytes of the heap in use
};

ProcessCounts processCounts();

}  // namespace tavrik::test
