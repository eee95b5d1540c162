#include "link/osd_words.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using sorvane::kOsdBits;
using sorvane::osdStyleWord;
using sorvane::osdWord;

namespace {

bool allOff(const char*) { return false; }
bool allOn(const char*) { return true; }

TEST(OsdWords, AllSwitchesOffSetTheInvertedBits) {
    std::uint32_t expected = 0;
    for (const int bit : {0, 1, 2, 4, 5, 6, 7, 9, 10, 12, 13, 14, 19, 21, 22}) {
        expected |= 1U << bit;
    }
    EXPECT_EQ(osdWord(allOff, false), expected);
    EXPECT_EQ(osdWord(allOff, false), 0x6876F7U);
}

TEST(OsdWords, AllSwitchesOnSetTheOthers) { EXPECT_EQ(osdWord(allOn, false), 0x078808U); }

TEST(OsdWords, SavingIsBitEightAlone) {
    EXPECT_EQ(osdWord(allOff, true), osdWord(allOff, false) | 0x100U);
    EXPECT_EQ(osdWord(allOff, false) & 0x100U, 0U);
    EXPECT_EQ(osdWord(allOn, true), 0x078908U);
}

TEST(OsdWords, EachItemFlipsItsOwnBit) {
    const std::uint32_t off = osdWord(allOff, false);
    for (const auto& item : kOsdBits) {
        const auto only = [&](const char* name) { return std::string(name) == item.widget; };
        EXPECT_EQ(osdWord(only, false), off ^ (1U << item.bit)) << item.widget;
    }
}

TEST(OsdWords, TheTableNamesEachBitAndEachWidgetOnce) {
    std::set<int> bits;
    std::set<std::string> widgets;
    for (const auto& item : kOsdBits) {
        EXPECT_TRUE(bits.insert(item.bit).second) << item.bit;
        EXPECT_TRUE(widgets.insert(item.widget).second) << item.widget;
    }
    std::set<int> expected;
    for (int bit = 0; bit <= 22; ++bit) {
        if (bit != 8 && bit != 20) {
            expected.insert(bit);
        }
    }
    EXPECT_EQ(bits, expected);
}

TEST(OsdWords, MixedSensesByHand) {
    const auto some = [](const char* name) {
        const std::set<std::string> on = {"widget", "widget_4", "radioButton_3", "widget_18", "widget_20"};
        return on.count(name) != 0;
    };
    // Off: 1 2 4 5 6 7, 9 10 12 13 14, 19 21; on: 3, 15, 18; bits 0 and 22 are clear because they are on.
    EXPECT_EQ(osdWord(some, false), 0x2CF6FEU);
}

// Reads a word into the states of all items and makes a word of them again.
std::uint32_t throughTheItems(std::uint32_t word, std::vector<bool>& states) {
    // By the place in the table, which both ways go through from its begin.
    states.clear();
    sorvane::showOsdWord(word, [&](const char*, bool on) { states.push_back(on); });
    std::size_t next = 0;
    return osdWord([&](const char*) { return states[next++]; }, false);
}

TEST(OsdWords, EveryWordSurvivesTheWayThroughTheItems) {
    std::vector<bool> states;
    states.reserve(32);
#ifdef SORVANE_SANITIZED
    constexpr std::uint32_t kStep = 97;
#else
    constexpr std::uint32_t kStep = 1;
#endif
    constexpr std::uint32_t kTold = 0x6FFEFF;
    std::uint32_t wrong = 0;
    for (std::uint32_t word = 0; word < 1U << 23U; word += kStep) {
        wrong += throughTheItems(word, states) == (word & kTold) ? 0 : 1;
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(throughTheItems(0xFF800000U, states), 0U) << "bits beyond the word are nobody's";
}

TEST(OsdWords, AWordPutsEachItemByItsSense) {
    std::set<std::string> on;
    const auto note = [&on](const char* name, bool state) {
        if (state) {
            on.insert(name);
        }
    };
    sorvane::showOsdWord(0x2CF6FEU, note);
    EXPECT_EQ(on, (std::set<std::string>{"widget", "widget_4", "radioButton_3", "widget_18", "widget_20"}));
    on.clear();
    sorvane::showOsdWord(0x6876F7U | 0x100100U, note);
    EXPECT_TRUE(on.empty());
}

TEST(OsdWords, StyleWord) {
    EXPECT_EQ(osdStyleWord(0, 0), 0U);
    EXPECT_EQ(osdStyleWord(1, 0), 1U);
    EXPECT_EQ(osdStyleWord(2, 1), 0x0AU);
    EXPECT_EQ(osdStyleWord(1, 1), 9U);
    EXPECT_EQ(osdStyleWord(-1, -1), 0U);
}

}  // namespace
