#include "platform/termination.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace platform {
namespace {

constexpr int kRequests[] = {SIGTERM, SIGINT, SIGHUP};

int g_request_end = -1;

void onRequest(int /*signal*/) {
    const int kept = errno;
    const char byte = 0;
    // A full pipe has requests enough.
    [[maybe_unused]] const ssize_t written = ::write(g_request_end, &byte, 1);
    errno = kept;
}

void onLostReader(int /*signal*/) {}

void handle(int signal, void (*handler)(int)) {
    struct sigaction before {};
    if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    action.sa_handler = handler;
    ::sigaction(signal, &action, nullptr);
}

}  // namespace

int watchTermination() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return -1;
    }
    g_request_end = ends[1];
    for (const int signal : kRequests) {
        handle(signal, onRequest);
    }
    return ends[0];
}

// A handler and not the signal ignored: programs that the station starts would inherit that.
void surviveLostReaders() { handle(SIGPIPE, onLostReader); }

}  // namespace platform
