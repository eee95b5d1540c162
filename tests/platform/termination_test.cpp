// Requests to end and lost readers, each in a process of its own: signals are the process's.
#include "platform/termination.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace {

// Runs the check in a child; true if it ended with status 0.
#define EXPECT_IN_CHILD(check) EXPECT_EXIT(std::_Exit((check) ? 0 : 1), ::testing::ExitedWithCode(0), "")

bool readable(int fd) {
    pollfd waiting{fd, POLLIN, 0};
    return ::poll(&waiting, 1, 0) == 1;
}

bool asks(int signal) {
    const int requests = platform::watchTermination();
    if (requests < 0 || readable(requests)) {
        return false;
    }
    ::raise(signal);
    return readable(requests);
}

TEST(Termination, EachRequestMakesTheDescriptorReadable) {
    EXPECT_IN_CHILD(asks(SIGTERM));
    EXPECT_IN_CHILD(asks(SIGINT));
    EXPECT_IN_CHILD(asks(SIGHUP));
}

TEST(Termination, ManyRequestsNeverBlock) {
    EXPECT_IN_CHILD([] {
        const int requests = platform::watchTermination();
        for (int i = 0; i < 100000; ++i) {
            ::raise(SIGTERM);
        }
        return readable(requests);
    }());
}

TEST(Termination, WhatIsIgnoredFromTheStartStaysSo) {
    EXPECT_IN_CHILD([] {
        ::signal(SIGHUP, SIG_IGN);
        const int requests = platform::watchTermination();
        ::raise(SIGHUP);
        return !readable(requests);
    }());
}

TEST(Termination, ALostReaderCostsTheOutputAlone) {
    EXPECT_IN_CHILD([] {
        int ends[2];
        if (::pipe(ends) != 0) {
            return false;
        }
        platform::surviveLostReaders();
        ::close(ends[0]);
        return ::write(ends[1], "x", 1) < 0 && errno == EPIPE;
    }());
}

// Programs that the station starts begin with the system's own rules.
TEST(Termination, StartedProgramsInheritNone) {
    EXPECT_IN_CHILD([] {
        platform::surviveLostReaders();
        platform::watchTermination();
        // SIGPIPE is 13: bit 12 of the mask of ignored signals.
        return std::system("exec grep -q '^SigIgn:.*[02468ace]...$' /proc/self/status") == 0;
    }());
}

}  // namespace
