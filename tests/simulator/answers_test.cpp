// What the pod answers, by the bytes that a station reads.
#include "simulator/wire/answers.h"

#include <gtest/gtest.h>

#include "tests/simulator/hex.h"

namespace podsim {
namespace {

using wire::Bytes;

// Code and data of a frame that is whole.
std::pair<int, std::string> told(const Bytes& f) {
    EXPECT_GE(f.size(), 7U);
    EXPECT_EQ(f[0], 0xFC);
    EXPECT_EQ(f[1], 0x2C);
    EXPECT_EQ(f[2], 0x55);
    EXPECT_EQ(f[3] + 5U, f.size());
    std::uint8_t x = 0;
    for (std::size_t i = 3; i + 1 < f.size(); ++i) {
        x = static_cast<std::uint8_t>(x ^ f[i]);
    }
    EXPECT_EQ(x, f.back());
    return {f[4] | f[5] << 8, std::string(f.begin() + 6, f.end() - 1)};
}

std::vector<std::pair<int, std::string>> told(const std::vector<Bytes>& frames) {
    std::vector<std::pair<int, std::string>> all;
    for (const Bytes& frame : frames) {
        all.push_back(told(frame));
    }
    return all;
}

using Frames = std::vector<std::pair<int, std::string>>;

TEST(AnswersTo, IdentityAndVersions) {
    Snapshot s;
    s.ip = {10, 20, 30, 40};
    s.firmware_version = {{{3, 14}, {2, 7}}};
    EXPECT_EQ(told(answersTo({1}, s)), (Frames{{16, "\1PS-30"},
                                               {16, "\2SIM-0001"},
                                               {16,
                                                "\3"
                                                "10.20.30.40"}}));
    EXPECT_EQ(told(answersTo({0}, s)),
              (Frames{{17, "\1V2.4"}, {17, "\2V1.7"}, {17, "\3V3.14"}, {17, "\4V2.7"}, {17, "\5V1.1"}}));
}

TEST(AnswersTo, TheDisplaysItemsAndItsStyle) {
    Snapshot s;
    s.osd_word = 0x00687601;
    s.osd_style = 0x0A;
    EXPECT_EQ(told(answersTo({3}, s)),
              (Frames{{18, std::string("\1\3\x01\x76\x68\0", 6)}, {18, std::string("\1\4\x0A\0", 4)}}));
    EXPECT_TRUE(answersTo({}, s).empty());
    EXPECT_TRUE(answersTo({200}, s).empty());
}

TEST(ModuleAnswers, EachModuleAcknowledgesWhatItGot) {
    const Snapshot s;
    for (int module = 1; module <= 13; ++module) {
        const auto code = static_cast<std::uint8_t>(module);
        EXPECT_EQ(told(moduleAnswers({code, 2, 0x81, 0x09}, s)),
                  (Frames{{19, std::string(1, static_cast<char>(module)) + "\2\6\x81\x09"}}))
            << module;
    }
    EXPECT_EQ(told(moduleAnswers({20, 0xFE, 0x55}, s)), (Frames{{19, "\x15\xFE\6U"}}))
        << "one above its code";
    EXPECT_EQ(told(moduleAnswers({7, 1}, s)), (Frames{{19, "\7\1\6"}}));
}

TEST(ModuleAnswers, NobodyAnswersForNoModule) {
    const Snapshot s;
    for (const int module : {0, 14, 19, 21, 255}) {
        EXPECT_TRUE(moduleAnswers({static_cast<std::uint8_t>(module), 1, 2}, s).empty()) << module;
    }
    EXPECT_TRUE(moduleAnswers({7}, s).empty());
    EXPECT_TRUE(moduleAnswers({}, s).empty());
}

TEST(ModuleAnswers, WithoutPowerAModuleIsSilent) {
    Snapshot s;
    const auto silent = [&s](int module) {
        return moduleAnswers({static_cast<std::uint8_t>(module), 1, 2}, s).empty();
    };
    s.module_bits = 0xFE;
    EXPECT_TRUE(silent(1));
    EXPECT_FALSE(silent(2));
    s.module_bits = 0xE1;
    EXPECT_TRUE(silent(2));
    EXPECT_TRUE(silent(7));
    EXPECT_FALSE(silent(1));
    s.laser_on = false;
    s.tracker_on = false;
    EXPECT_TRUE(silent(3));
    EXPECT_TRUE(silent(6));
    EXPECT_FALSE(silent(13));
}

// As a slow line brings it: in runs of 64 bytes, nothing lost.
TEST(ModuleAnswers, LongOnesComeInRuns) {
    Bytes asked = {8, 1};
    for (int i = 0; i < 251; ++i) {
        asked.push_back(static_cast<std::uint8_t>(i));
    }
    std::string whole;
    const Frames frames = told(moduleAnswers(asked, Snapshot()));
    EXPECT_EQ(frames.size(), 4U);
    for (const auto& [code, data] : frames) {
        EXPECT_EQ(code, 19);
        EXPECT_LE(data.size(), 66U);
        EXPECT_EQ(data.substr(0, 2), "\10\1");
        whole += data.substr(2);
    }
    EXPECT_EQ(whole, "\6" + std::string(asked.begin() + 2, asked.end()));
}

}  // namespace
}  // namespace podsim
