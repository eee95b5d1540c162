#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "platform/show_directory.h"

namespace platform {
namespace {

constexpr int kExecFailed = 127;

// Runs in the grandchild, so only calls that are safe after a fork of a threaded program.
[[noreturn]] void runOpener(const char* path) {
    setsid();
    const int null = open("/dev/null", O_RDWR);
    if (null >= 0) {
        dup2(null, STDIN_FILENO);
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
    }
    execlp("xdg-open", "xdg-open", path, static_cast<char*>(nullptr));
    _exit(kExecFailed);
}

}  // namespace

bool showDirectory(const char* native_path) {
    if (native_path == nullptr || native_path[0] == '\0') {
        return false;
    }
    // Forked twice: the middle process is reaped here, and the program itself becomes a child of init, never
    // a zombie.
    const pid_t middle = fork();
    if (middle < 0) {
        return false;
    }
    if (middle == 0) {
        const pid_t opener = fork();
        if (opener == 0) {
            runOpener(native_path);
        }
        _exit(opener < 0 ? 1 : 0);
    }
    int status = 0;
    while (waitpid(middle, &status, 0) < 0) {
        if (errno != EINTR) {
            // Where SIGCHLD is ignored (inherited by a start under nohup and the like) the system reaps and
            // tells nothing.
            return true;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace platform
