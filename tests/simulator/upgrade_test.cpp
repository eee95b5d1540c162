// The pod's side of a firmware upgrade, step by step.
#include "simulator/pod/upgrade.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulator/pod/pod.h"

namespace podsim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

class UpgradeTest : public ::testing::Test {
protected:
    void take(const Bytes& bytes) { upgrade.take(bytes.data(), bytes.size()); }
    void name(const std::string& text, std::uint8_t module = 0) {
        Bytes bytes = {module, 1};
        bytes.insert(bytes.end(), text.begin(), text.end());
        take(bytes);
    }
    void size(int frames, int bytes) {
        take({0, 2, static_cast<std::uint8_t>(frames), static_cast<std::uint8_t>(frames >> 8),
              static_cast<std::uint8_t>(bytes), static_cast<std::uint8_t>(bytes >> 8),
              static_cast<std::uint8_t>(bytes >> 16), static_cast<std::uint8_t>(bytes >> 24)});
    }
    void program(int frame, int bytes, std::uint8_t value = 0x11) {
        Bytes all = {0, 3, static_cast<std::uint8_t>(frame), static_cast<std::uint8_t>(frame >> 8)};
        all.resize(all.size() + static_cast<std::size_t>(bytes), value);
        take(all);
    }
    // "6:3" is state 6 that asks for frame 3.
    std::vector<std::string> answers() {
        std::vector<std::string> texts;
        for (const Upgrade::Answer& a : upgrade.takeAnswers()) {
            texts.push_back(std::to_string(a.state) + (a.frame >= 0 ? ":" + std::to_string(a.frame) : ""));
        }
        return texts;
    }
    std::vector<std::string> after(double seconds) {
        constexpr double kStep_s = 0.01;
        for (double t = 0; t < seconds; t += kStep_s) {
            upgrade.step(kStep_s);
        }
        return answers();
    }
    // Up to the point where the first frame is wanted.
    void begin(int bytes) {
        upgrade.enter(0);
        upgrade.enter(0);
        name("a.bin");
        size((bytes + 127) / 128, bytes);
        answers();
        EXPECT_THAT(after(0.35), ElementsAre("8"));
    }

    Upgrade upgrade;
};

TEST_F(UpgradeTest, AGoodOne) {
    upgrade.enter(0);
    EXPECT_THAT(answers(), IsEmpty());
    upgrade.enter(0);
    EXPECT_THAT(answers(), ElementsAre("0"));
    name("a.bin");
    EXPECT_THAT(answers(), ElementsAre("2"));
    size(2, 130);
    EXPECT_THAT(answers(), ElementsAre("4", "7"));
    EXPECT_THAT(after(0.1), IsEmpty()) << "erasing takes its time";
    EXPECT_THAT(after(0.25), ElementsAre("8"));
    program(0, 128);
    EXPECT_THAT(answers(), ElementsAre("6:1"));
    program(1, 2);
    EXPECT_THAT(answers(), ElementsAre("6:2"));
    EXPECT_THAT(after(1), ElementsAre("9", "11"));
    program(0, 128);
    EXPECT_THAT(answers(), IsEmpty()) << "it came late";
    program(2, 128);
    EXPECT_THAT(answers(), ElementsAre("12"));
    EXPECT_EQ(upgrade.flash(0), Bytes(130, 0x11));
    EXPECT_EQ(upgrade.running(0).minor, 2);
    EXPECT_TRUE(upgrade.restart());
    EXPECT_EQ(upgrade.running(0).minor, 3);
    EXPECT_EQ(upgrade.running(0).image, Bytes(130, 0x11));
    EXPECT_EQ(upgrade.running(1).minor, 0);
    EXPECT_FALSE(upgrade.restart());
    name("a.bin");
    EXPECT_THAT(answers(), ElementsAre("12")) << "a module that has restarted is ready no more";
}

TEST_F(UpgradeTest, AFileOfNoFramesIsFinishedWithoutOne) {
    begin(0);
    EXPECT_THAT(after(1), ElementsAre("9", "11"));
    EXPECT_THAT(upgrade.flash(0), IsEmpty());
}

TEST_F(UpgradeTest, NamesThatAreNone) {
    upgrade.enter(0);
    upgrade.enter(0);
    answers();
    for (const char* wrong : {"", ".bin", "a.bi", "abin", "a.txt", "??.bin", "a\n.bin"}) {
        name(wrong);
        EXPECT_THAT(answers(), ElementsAre("1")) << wrong;
        size(1, 1);
        EXPECT_THAT(answers(), ElementsAre("12")) << wrong;
    }
    for (const char* right : {"a.bin", "A.BIN", "b c.Bin", "\xE9.bin"}) {
        name(right);
        EXPECT_THAT(answers(), ElementsAre("2")) << right;
    }
}

TEST_F(UpgradeTest, TotalsThatDoNotAgree) {
    upgrade.enter(0);
    upgrade.enter(0);
    for (const auto& [frames, bytes] :
         {std::pair(1, 129), std::pair(2, 128), std::pair(0, 1), std::pair(1, 0), std::pair(0, 65536 * 128),
          std::pair(1, 65536 * 128 + 1), std::pair(0, -1)}) {
        name("a.bin");
        answers();
        size(frames, bytes);
        EXPECT_THAT(answers(), ElementsAre("3")) << frames << ' ' << bytes;
    }
    name("a.bin");
    answers();
    take({0, 2, 1, 0, 1, 0, 0});
    EXPECT_THAT(answers(), ElementsAre("3")) << "too short";
    name("a.bin");
    size(65535, 65535 * 128);
    EXPECT_THAT(answers(), ElementsAre("2", "4", "7"));
}

TEST_F(UpgradeTest, StepsOutOfOrder) {
    name("a.bin");
    size(1, 1);
    program(0, 1);
    EXPECT_THAT(answers(), ElementsAre("12", "12", "12"));
    upgrade.enter(0);
    upgrade.enter(0);
    name("a.bin");
    answers();
    program(0, 1);
    EXPECT_THAT(answers(), ElementsAre("12"));
    name("a.bin", 1);
    EXPECT_THAT(answers(), ElementsAre("12")) << "the other module was not made ready";
    take({2, 1, 'a'});
    take({0});
    take({});
    take({0, 9});
    EXPECT_THAT(answers(), IsEmpty());
}

TEST_F(UpgradeTest, AWrongNumberIsAskedForAgainAndTheLastOneTwiceIsNot) {
    begin(1280);
    program(7, 128);
    EXPECT_THAT(answers(), ElementsAre("6:0")) << "where an upgrade before has ended";
    program(0, 128);
    program(0, 128);
    EXPECT_THAT(answers(), ElementsAre("6:1"));
    program(1, 128);
    program(0, 128);
    EXPECT_THAT(answers(), ElementsAre("6:2", "6:2"));
    program(2, 100);
    EXPECT_THAT(answers(), ElementsAre("5", "6:2")) << "too short";
    take({0, 3});
    EXPECT_THAT(answers(), ElementsAre("6:2"));
    EXPECT_EQ(upgrade.flash(0).size(), 256U);
}

TEST_F(UpgradeTest, SilenceIsAskedIntoTwentyTimesAndThenGivenUp) {
    begin(1280);
    program(0, 128);
    answers();
    const auto asked = after(30);
    ASSERT_EQ(asked.size(), 21U);
    EXPECT_EQ(asked[0], "6:1");
    EXPECT_EQ(asked[19], "6:1");
    EXPECT_EQ(asked[20], "5");
    program(1, 128);
    EXPECT_THAT(answers(), ElementsAre("12"));
    name("a.bin");
    EXPECT_THAT(answers(), ElementsAre("2")) << "and may begin anew";
}

TEST_F(UpgradeTest, WhatIsErasedAndNothingElseIsNoProgram) {
    begin(128);
    program(0, 128, 0xFF);
    EXPECT_THAT(after(1), ElementsAre("6:1", "9", "13"));
    EXPECT_FALSE(upgrade.restart());
}

TEST_F(UpgradeTest, EachFaultDoesWhatItsNameSays) {
    const auto with = [this](const char* fault) {
        upgrade = Upgrade();
        upgrade.addFault(*parseUpgradeFault(fault));
        begin(1280);
        program(0, 128);
        answers();
        program(1, 128);
        return answers();
    };
    EXPECT_THAT(with("lost@1"), IsEmpty());
    EXPECT_THAT(after(1.05), ElementsAre("6:2"));
    EXPECT_THAT(with("doubled@1"), ElementsAre("6:2", "6:2"));
    EXPECT_THAT(with("late@1"), IsEmpty());
    EXPECT_THAT(after(1.55), ElementsAre("6:2", "6:2")) << "asked again, then the late one";
    EXPECT_THAT(with("reordered@1"), IsEmpty());
    EXPECT_THAT(after(1.05), ElementsAre("6:2", "6:2"));
    EXPECT_THAT(with("state=12@1"), ElementsAre("12"));
    EXPECT_THAT(with("state=255@1"), ElementsAre("255"));
    EXPECT_THAT(with("silence@1"), IsEmpty());
    EXPECT_THAT(after(30), IsEmpty());
    name("a.bin");
    EXPECT_THAT(answers(), ElementsAre("2"));
    EXPECT_THAT(with("flash@1"), ElementsAre("6:2"));
    EXPECT_NE(upgrade.flash(0), Bytes(256, 0x11));
    program(2, 128);
    EXPECT_THAT(answers(), ElementsAre("6:3")) << "once";
    EXPECT_THAT(with("lost@2"), ElementsAre("6:2")) << "at its frame alone";
}

TEST(UpgradeFault, IsReadFromWords) {
    using Kind = UpgradeFault::Kind;
    const std::pair<const char*, Kind> good[] = {
        {"lost@0", Kind::kLost},           {"doubled@1", Kind::kDoubled}, {"late@65534", Kind::kLate},
        {"reordered@7", Kind::kReordered}, {"silence@7", Kind::kSilence}, {"flash@7", Kind::kFlash},
        {"state=255@7", Kind::kState},
    };
    for (const auto& [text, kind] : good) {
        const auto fault = parseUpgradeFault(text);
        ASSERT_TRUE(fault) << text;
        EXPECT_EQ(fault->kind, kind) << text;
    }
    EXPECT_EQ(parseUpgradeFault("state=31@70")->state, 31);
    EXPECT_EQ(parseUpgradeFault("state=31@70")->frame, 70);
    for (const char* wrong : {"", "@", "lost", "lost@", "lost@-1", "lost@65535", "lost@1x", "state@1",
                              "state=@1", "state=256@1", "gone@1", "@1", "lost@99999999999"}) {
        EXPECT_FALSE(parseUpgradeFault(wrong)) << wrong;
    }
}

TEST(Crc32, IsTheUsualOne) {
    const std::string text = "123456789";
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    EXPECT_EQ(crc32(0, bytes, 9), 0xCBF43926U);
    EXPECT_EQ(crc32(crc32(0, bytes, 4), bytes + 4, 5), 0xCBF43926U) << "piece by piece";
}

// Through the pod: its commands, its time, its report after the restart.
TEST(PodUpgrade, ARestartRunsWhatHasPassedItsCheck) {
    Pod pod;
    const auto apply = [&pod](std::uint16_t code, const Bytes& payload) {
        pod.apply(code, payload.data(), payload.size(), -1, 0, 0);
    };
    apply(57, {5});
    apply(57, {5});
    apply(12288, {0, 1, 'a', '.', 'b', 'i', 'n'});
    apply(12288, {0, 2, 1, 0, 3, 0, 0, 0});
    for (int i = 0; i < 40; ++i) {
        pod.step(0.01);
    }
    apply(12288, {0, 3, 0, 0, 7, 8, 9});
    for (int i = 0; i < 100; ++i) {
        pod.step(0.01);
    }
    std::vector<int> states;
    for (const Upgrade::Answer& answer : pod.takeUpgradeAnswers()) {
        states.push_back(answer.state);
    }
    EXPECT_THAT(states, ElementsAre(0, 2, 4, 7, 8, 6, 9, 11));
    EXPECT_EQ(pod.flashImage(0), (Bytes{7, 8, 9}));
    EXPECT_EQ(pod.snapshot().load_version_minor, 2);
    apply(57, {9});
    EXPECT_EQ(pod.snapshot().load_version_minor, 3);
    EXPECT_EQ(pod.snapshot().firmware_version[0], std::pair(1, 3));
    EXPECT_EQ(pod.snapshot().firmware_version[1], std::pair(1, 0));
}

}  // namespace
}  // namespace podsim
