// Records a stream until it is killed or its input ends: capture_child PORT PATH FORMAT [MOST BYTES A FILE]
// Tells on its output "recording", the number of each picture shown, and "closed after N ms".
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "tavrik/tavrik.h"
#include "test_video.h"

int main(int argc, char** argv) {
    if (argc < 4) {
        return 2;
    }
    if (argc > 4) {
        std::signal(SIGXFSZ, SIG_IGN);
        const auto most = static_cast<rlim_t>(std::atol(argv[4]));
        const rlimit limit{most, most};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            return 2;
        }
    }
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    const int handle = tavrik::feedOpen(
        "", std::atoi(argv[1]),
        [](AVFrame* frame, float, int) { std::printf("%d\n", tavrik::test::readNumber(frame)); }, nullptr, "",
        false, "", nullptr, 1);
    tavrik::captureBegin(argv[2], handle, std::atoi(argv[3]));
    std::puts("recording");
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
    const auto start = std::chrono::steady_clock::now();
    tavrik::feedClose(handle);
    const auto took = std::chrono::steady_clock::now() - start;
    std::printf("closed after %d ms\n",
                static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(took).count()));
    return 0;
}
