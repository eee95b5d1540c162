#include "platform/show_directory.h"

#include <gtest/gtest.h>

#include <csignal>

#include "tests/fakes/opener.h"
#include "wait.h"

namespace {

TEST(ShowDirectory, HandsThePathToTheDesktopsProgram) {
    for (const char* path : {"/tmp", "/tmp/录像 1; $(false) \"x\""}) {
        const Opener opener;
        EXPECT_TRUE(platform::showDirectory(path));
        ASSERT_TRUE(waitFor([&] { return opener.called(); }));
        EXPECT_EQ(opener.argument(), QByteArray(path));
    }
}

TEST(ShowDirectory, WhereTheSystemReapsChildrenItDoesNotWaitForEver) {
    const Opener opener;
    const auto before = ::signal(SIGCHLD, SIG_IGN);
    EXPECT_TRUE(platform::showDirectory("/tmp"));
    ::signal(SIGCHLD, before);
    EXPECT_TRUE(waitFor([&] { return opener.called(); }));
}

TEST(ShowDirectory, NoPathStartsNothing) {
    EXPECT_FALSE(platform::showDirectory(""));
    EXPECT_FALSE(platform::showDirectory(nullptr));
}

}  // namespace
