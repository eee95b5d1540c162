// Opens and closes streams and replays over and over and tells what the process holds meanwhile: its memory,
// handles and threads are to stay as they are.
//   stream_cycles [CYCLES A KIND, 500]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "tests/tavrik/cycles.h"

namespace {

using namespace tavrik::test;

void tell(int cycle) {
    const ProcessCounts now = processCounts();
    std::printf("%7d %9d %9d %12.1f %12.2f\n", cycle, now.handles, now.threads,
                static_cast<double>(now.resident) / 1e6, static_cast<double>(now.allocated) / 1e6);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const int cycles = argc > 1 ? std::atoi(argv[1]) : 500;
    const int step = std::max(cycles / 10, 1);
    for (const CycleKind kind :
         {CycleKind::kRtsp, CycleKind::kTransport, CycleKind::kRecording, CycleKind::kReplay}) {
        std::printf("%s\n  cycle   handles   threads  resident MB      heap MB\n", nameOf(kind));
        CycleRunner runner(kind, std::filesystem::temp_directory_path().string());
        for (int n = 0; n < cycles; ++n) {
            // What is loaded at the first use is no growth.
            if (n == 5 || (n > 0 && n % step == 0)) {
                tell(n);
            }
            if (!runner.run()) {
                std::printf("cycle %d failed\n", n);
                return 1;
            }
        }
        tell(cycles);
    }
    return 0;
}
