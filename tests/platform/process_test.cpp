// Crashes of a real child process: one dump file each, by name and content. Runs on both systems.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const std::regex kDumpName(R"(\d{4}-\d{2}-\d{2}-\d{2}-\d{2}-\d{2}-\d{2,3}-\d{2}\.dmp)");

class CrashTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_start = fs::current_path();
        m_folder = m_start /
                   ("crash-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(m_folder);
        fs::create_directories(m_folder);
        fs::current_path(m_folder);
    }
    void TearDown() override {
        fs::current_path(m_start);
        fs::remove_all(m_folder);
    }
    // Runs the child in the current directory; its standard output comes back.
    std::string run(const std::string& kind) {
        const std::string command =
            "\"" + (m_start / CRASH_CHILD).make_preferred().string() + "\" " + kind + " > out.txt";
        m_status = std::system(command.c_str());
        std::ifstream in("out.txt", std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    std::vector<fs::path> dumps() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(m_folder)) {
            if (entry.path().extension() == ".dmp") {
                found.push_back(entry.path());
            }
        }
        return found;
    }
    void expectOneDump(const std::string& output) {
        EXPECT_NE(output.find("Create Dump File Success!"), std::string::npos) << output;
        EXPECT_NE(m_status, 0);
        const auto found = dumps();
        ASSERT_EQ(found.size(), 1U);
        EXPECT_TRUE(std::regex_match(found[0].filename().string(), kDumpName)) << found[0];
        std::ifstream in(found[0], std::ios::binary);
        std::string magic(8, '\0');
        in.read(magic.data(), 8);
#ifdef _WIN32
        EXPECT_EQ(magic.substr(0, 4), "MDMP");
#else
        EXPECT_EQ(magic, "SORVDMP1");
#endif
        EXPECT_GT(fs::file_size(found[0]), 2000U);
    }

    fs::path m_start;
    fs::path m_folder;
    int m_status = 0;
};

TEST_F(CrashTest, NullWriteLeavesOneDump) { expectOneDump(run("null")); }

TEST_F(CrashTest, CrashInAnotherThreadLeavesOneDump) { expectOneDump(run("thread")); }

#ifndef _WIN32
TEST_F(CrashTest, AbortLeavesOneDump) { expectOneDump(run("abort")); }

TEST_F(CrashTest, StackOverflowLeavesOneDump) { expectOneDump(run("recursion")); }

TEST_F(CrashTest, StackOverflowOfAnotherThreadLeavesOneDump) { expectOneDump(run("thread-recursion")); }

// The child's output goes through a pipe, since a file takes nothing either.
TEST_F(CrashTest, AFullDiskLeavesALineAndNoDump) {
    const std::string child = (m_start / CRASH_CHILD).string();
    FILE* const pipe = ::popen(("\"" + child + "\" full").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
        output.push_back(static_cast<char>(c));
    }
    EXPECT_NE(::pclose(pipe), 0);
    EXPECT_TRUE(std::regex_search(output, std::regex("Write File .*\\.dmp Failed \\d+"))) << output;
    EXPECT_TRUE(dumps().empty());
}

TEST_F(CrashTest, TheNameHoldsTheLocalTime) {
    const std::time_t before = std::time(nullptr);
    run("null");
    const std::time_t after = std::time(nullptr);
    ASSERT_EQ(dumps().size(), 1U);
    const std::string name = dumps()[0].filename().string();
    bool hit = false;
    for (std::time_t t = before; t <= after; ++t) {
        char text[32];
        std::tm local{};
        localtime_r(&t, &local);
        std::strftime(text, sizeof text, "%Y-%m-%d-%H-%M-%S-", &local);
        hit = hit || name.rfind(text, 0) == 0;
    }
    EXPECT_TRUE(hit) << name;
}
#endif

TEST_F(CrashTest, TwoCrashesLeaveTwoDumps) {
    run("null");
    run("null");
    EXPECT_EQ(dumps().size(), 2U);
}

#ifndef _WIN32
TEST_F(CrashTest, ADumpThatCannotBeWrittenIsReported) {
    // A folder that no longer exists takes no file, whoever the user is.
    const std::string child = (m_start / CRASH_CHILD).string();
    const std::string command =
        "mkdir gone && cd gone && rmdir ../gone && \"" + child + "\" null > ../out.txt";
    EXPECT_NE(std::system(command.c_str()), 0);
    std::ifstream in("out.txt");
    const std::string output{std::istreambuf_iterator<char>(in), {}};
    EXPECT_TRUE(std::regex_search(output, std::regex("Create File .*\\.dmp Failed \\d+"))) << output;
    EXPECT_TRUE(dumps().empty());
}
#endif

TEST_F(CrashTest, ExitAtOnceFlushesAndEndsWithZero) {
    EXPECT_EQ(run("exit"), "buffered text");
    EXPECT_EQ(m_status, 0);
    EXPECT_TRUE(dumps().empty());
}

}  // namespace
