#include "platform/signal_safe.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace {

using platform::SafeText;

std::string nameAt(std::int64_t seconds, long nanoseconds, long offset = 0) {
    SafeText name;
    platform::composeDumpName(seconds, nanoseconds, offset, name);
    return name.c_str();
}

TEST(SafeText, FormatsNumbersAndDropsWhatDoesNotFit) {
    SafeText text;
    text.add("a").dec(-42).add(" ").dec(7, 3).add(" ").hex(0xDEADBEEF).add(" ").hex(0).dec(INT64_MIN);
    EXPECT_STREQ(text.c_str(), "a-42 007 deadbeef 0-9223372036854775808");
    SafeText full;
    for (int i = 0; i < 1000; ++i) {
        full.add("x");
    }
    EXPECT_EQ(full.size(), 511U);
}

TEST(SafeText, CalendarEqualsTheSystems) {
    for (std::int64_t t = -5000000000; t < 9000000000; t += 98765431) {
        const auto time = static_cast<std::time_t>(t);
        std::tm tm{};
        ASSERT_NE(gmtime_r(&time, &tm), nullptr);
        const auto mine = platform::civilTime(t, 5);
        EXPECT_EQ(mine.year, tm.tm_year + 1900) << t;
        EXPECT_EQ(mine.month, tm.tm_mon + 1) << t;
        EXPECT_EQ(mine.day, tm.tm_mday) << t;
        EXPECT_EQ(mine.hour, tm.tm_hour) << t;
        EXPECT_EQ(mine.minute, tm.tm_min) << t;
        EXPECT_EQ(mine.second, tm.tm_sec) << t;
    }
}

TEST(DumpName, HasTheFormatOfTheDumps) {
    // 2026-06-01 08:00:09.007 UTC, two hours east; the milliseconds are padded to two digits and may take
    // three.
    EXPECT_EQ(nameAt(1780300809, 7000000, 7200).substr(0, 22), "2026-06-01-10-00-09-07");
    EXPECT_EQ(nameAt(1780300809, 123456789).substr(0, 24), "2026-06-01-08-00-09-123-");
    EXPECT_EQ(nameAt(1780300809, 123456789).size(), std::string("2026-06-01-08-00-09-123-00.dmp").size());
}

TEST(DumpName, CrashesOfOneMillisecondMostlyYieldTwoFiles) {
    int clashes = 0;
    const int pairs = 1000;
    for (int i = 0; i < pairs; ++i) {
        clashes +=
            nameAt(1780300809, 5000000 + i * 997L) == nameAt(1780300809, 5000000 + (i + 1) * 997L) ? 1 : 0;
    }
    EXPECT_LT(clashes, pairs / 10);
    std::set<std::string> names;
    for (int i = 0; i < pairs; ++i) {
        names.insert(nameAt(1780300809, 5000000 + i * 997L));
    }
    EXPECT_GT(names.size(), 80U);
}

TEST(DumpName, ANameClashOverwritesTheOlderFile) {
    const std::string name = "clash.dmp";
    std::ofstream(name) << "the older and longer dump";
    const int fd = platform::openDumpFile(name.c_str());
    ASSERT_GE(fd, 0);
    EXPECT_TRUE(platform::writeAll(fd, "new", 3));
    ::close(fd);
    EXPECT_EQ(std::filesystem::file_size(name), 3U);
    std::filesystem::remove(name);
}

TEST(Memory, WhatIsNotMappedIsRefusedWithoutAFault) {
    int value = 7;
    int copy = 0;
    EXPECT_TRUE(platform::readMemory(reinterpret_cast<std::uint64_t>(&value), &copy, sizeof copy));
    EXPECT_EQ(copy, 7);
    EXPECT_FALSE(platform::readMemory(16, &copy, sizeof copy));
}

TEST(Memory, TheMapHoldsThisFunction) {
    platform::MapReader maps;
    platform::Mapping mapping{};
    const auto here = reinterpret_cast<std::uint64_t>(&nameAt);
    bool found = false;
    while (maps.next(&mapping)) {
        if (mapping.begin <= here && here < mapping.end) {
            found = true;
            EXPECT_TRUE(mapping.readable);
            EXPECT_NE(std::string(mapping.path).find("platform_signal_safe_test"), std::string::npos);
        }
    }
    EXPECT_TRUE(found);
}

}  // namespace
