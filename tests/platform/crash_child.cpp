// A program that crashes in the way its argument names, with a second thread that waits in a function known
// by name.
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#ifndef _WIN32
#include <sys/resource.h>

#include <csignal>
#endif

#include "platform/process.h"

namespace {

std::mutex g_mutex;
std::condition_variable g_condition;
std::atomic<bool> g_waiting{false};
// Opaque to the optimiser, which would make a trap of a null pointer that it sees.
int* volatile g_nowhere = nullptr;

}  // namespace

__attribute__((noinline)) void worker_waits_here() {
    std::unique_lock<std::mutex> lock(g_mutex);
    g_waiting = true;
    g_condition.notify_all();
    g_condition.wait(lock, [] { return !g_waiting.load(); });
}

__attribute__((noinline)) void crash_by_null_write() {
    *g_nowhere = 1;
    std::printf("not reached\n");
}

// Frames so small that the overflow comes with a call or a push, at the very edge of the stack.
__attribute__((noinline)) int crash_by_small_recursion(volatile int depth) {
    return depth < 0 ? 0 : crash_by_small_recursion(depth + 1) + depth;
}

__attribute__((noinline)) int crash_by_recursion(volatile int depth) {
    volatile char page[4096];
    if (depth < 0) {
        return 0;
    }
    page[depth % 4096] = static_cast<char>(depth);
    return crash_by_recursion(depth + 1) + page[0];
}

// No file takes a byte any more.
void fillTheDisk() {
#ifndef _WIN32
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_FSIZE, &none);
#endif
}

__attribute__((noinline)) void crash_by_abort() { std::abort(); }

int main(int argc, char* argv[]) {
    platform::installCrashHandler();
    const char* kind = argc > 1 ? argv[1] : "";
    if (std::strcmp(kind, "exit") == 0) {
        std::printf("buffered text");
        platform::exitAtOnce();
    }
    std::thread worker(worker_waits_here);
    {
        std::unique_lock<std::mutex> lock(g_mutex);
        g_condition.wait(lock, [] { return g_waiting.load(); });
    }
    if (std::strcmp(kind, "null") == 0) {
        crash_by_null_write();
    } else if (std::strcmp(kind, "recursion") == 0) {
        crash_by_recursion(0);
    } else if (std::strcmp(kind, "small-recursion") == 0) {
        crash_by_small_recursion(0);
    } else if (std::strcmp(kind, "thread-recursion") == 0) {
        std::thread(crash_by_recursion, 0).join();
    } else if (std::strcmp(kind, "full") == 0) {
        fillTheDisk();
        crash_by_null_write();
    } else if (std::strcmp(kind, "abort") == 0) {
        crash_by_abort();
    } else if (std::strcmp(kind, "thread") == 0) {
        std::thread(crash_by_null_write).join();
    }
    std::_Exit(3);
}
