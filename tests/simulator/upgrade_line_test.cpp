#include "simulator/upgrade_line.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "tests/simulator/hex.h"

namespace podsim {
namespace {

TEST(UpgradeLine, AnswersAsFrames) {
    EXPECT_EQ(upgradeFrame({1, 11}), bytesOf("FC 2C 55 04 01 30 01 0B 3F"));
    EXPECT_EQ(upgradeFrame({0, 6, 513}), bytesOf("FC 2C 55 06 01 30 00 06 01 02 32"));
}

TEST(UpgradeLine, AFlashIsAFileOfItsModule) {
    const std::string folder = ::testing::TempDir();
    const std::string path = folder + "/module1.bin";
    ASSERT_TRUE(writeFlash(folder, 1, {1, 2, 0, 4}));
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(bytes, (std::vector<char>{1, 2, 0, 4}));
    EXPECT_NE(access((path + ".part").c_str(), F_OK), 0);
    std::remove(path.c_str());
    EXPECT_FALSE(writeFlash(folder + "/no/such/folder", 0, {1}));
}

TEST(UpgradeLine, TheConsoleTellsWhereItStandsAndTakesFaults) {
    Pod pod;
    EXPECT_EQ(upgradeConsole("upgrade", pod), "upgrade idle 0/0 main=1.2 servo=1.0\n");
    EXPECT_EQ(upgradeConsole("upgrade-fault lost@3", pod), "");
    EXPECT_NE(upgradeConsole("upgrade-fault gone@3", pod).find("then @FRAME"), std::string::npos);
    EXPECT_EQ(upgradeConsole("upgrades", pod), "no command 'upgrades'; help tells them\n");
}

}  // namespace
}  // namespace podsim
