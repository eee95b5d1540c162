// The station's side of a firmware upgrade, answer by answer; frames by hand.
#include "settings/firmware_upgrade.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/settings/firmware_in_memory.h"

namespace sorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

struct Sent {
    int code;
    Bytes payload;
    bool operator==(const Sent& o) const { return code == o.code && payload == o.payload; }
};
void PrintTo(const Sent& sent, std::ostream* out) {
    *out << sent.code << ' ' << ::testing::PrintToString(sent.payload);
}

class FirmwareUpgradeTest : public ::testing::Test {
protected:
    UpgradeSurroundings surroundings() {
        UpgradeSurroundings ask;
        ask.module = [this] { return module; };
        ask.silence = [this] { silenced_at.push_back(static_cast<int>(sent.size()) + file.reopened); };
        ask.send = [this](std::uint16_t code, const Bytes& payload) { sent.push_back({code, payload}); };
        ask.told = [this](int state) { told.push_back(state); };
        ask.progress = [this](int frame, std::int64_t frames) { progress.emplace_back(frame, frames); };
        ask.succeeded = [this] { ++successes; };
        ask.log = [this](const std::string& line) { log.push_back(line); };
        return ask;
    }
    void answer(const Bytes& data) { upgrade.onAnswer(data.data(), static_cast<int>(data.size())); }
    // State 6.
    void want(int frame) {
        answer({0, 6, static_cast<std::uint8_t>(frame), static_cast<std::uint8_t>(frame >> 8)});
    }
    void startWith(const Bytes& bytes) {
        file.bytes = bytes;
        upgrade.start("/fw.bin");
        sent.clear();
    }
    // A program frame as it stands on the wire.
    Sent frame(int number) const {
        Bytes payload = {static_cast<std::uint8_t>(module), 3, static_cast<std::uint8_t>(number),
                         static_cast<std::uint8_t>(number >> 8)};
        for (std::size_t i = static_cast<std::size_t>(number) * 128;
             i < file.bytes.size() && i < (static_cast<std::size_t>(number) + 1) * 128; ++i) {
            payload.push_back(file.bytes[i]);
        }
        return {12288, payload};
    }

    int module = 0;
    std::uint16_t current = 0;
    FirmwareInMemory file;
    std::vector<Sent> sent;
    std::vector<int> silenced_at;
    std::vector<int> told;
    std::vector<std::pair<int, std::int64_t>> progress;
    std::vector<std::string> log;
    int successes = 0;
    FirmwareUpgrade upgrade{current, file, surroundings()};
};

TEST(UpgradeFrames, TheRestIsOneMore) {
    EXPECT_EQ(upgradeFrames(0), 0);
    EXPECT_EQ(upgradeFrames(1), 1);
    EXPECT_EQ(upgradeFrames(127), 1);
    EXPECT_EQ(upgradeFrames(128), 1);
    EXPECT_EQ(upgradeFrames(129), 2);
    EXPECT_EQ(upgradeFrames(1280), 10);
    EXPECT_EQ(upgradeFrames(1281), 11);
    EXPECT_EQ(upgradeFrames(8388608), 65536);
    EXPECT_EQ(upgradeFrames(std::int64_t{1} << 40U), std::int64_t{1} << 33U);
}

TEST_F(FirmwareUpgradeTest, EachPressAsksTheModuleToMakeReady) {
    upgrade.enterMode();
    module = 1;
    upgrade.enterMode();
    upgrade.enterMode();
    EXPECT_THAT(sent, ElementsAre(Sent{57, {5}}, Sent{57, {6}}, Sent{57, {6}}));
    EXPECT_THAT(silenced_at, IsEmpty());
}

TEST_F(FirmwareUpgradeTest, TheStartSilencesOpensAndSendsTheNameAlone) {
    module = 1;
    upgrade.start("/home/op/new/fw_1.bin");
    EXPECT_THAT(silenced_at, ElementsAre(0)) << "before the file is opened and the name is sent";
    EXPECT_EQ(file.reopened, 1);
    EXPECT_THAT(sent, ElementsAre(Sent{12288, {1, 1, 'f', 'w', '_', '1', '.', 'b', 'i', 'n'}}));
    sent.clear();
    upgrade.start("a.bin");
    EXPECT_THAT(sent, ElementsAre(Sent{12288, {1, 1, 'a', '.', 'b', 'i', 'n'}})) << "a path without a folder";
}

TEST_F(FirmwareUpgradeTest, WithoutAPathNothingHappens) {
    upgrade.start("");
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(silenced_at, IsEmpty());
    EXPECT_EQ(file.reopened, 0);
}

TEST_F(FirmwareUpgradeTest, AFileThatCannotBeOpenedLeavesTheLineSilentAndSaysNothing) {
    file.there = false;
    upgrade.start("/gone.bin");
    EXPECT_EQ(silenced_at.size(), 1U);
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(FirmwareUpgradeTest, TheNameMatchesSoFramesAndBytesFollow) {
    startWith(programOf(1281));
    answer({0, 2});
    EXPECT_THAT(sent, ElementsAre(Sent{12288, {0, 2, 0x0B, 0x00, 0x01, 0x05, 0x00, 0x00}}));
    EXPECT_THAT(told, ElementsAre(2));
    sent.clear();
    file.bytes = programOf(1280);
    answer({0, 2});
    EXPECT_THAT(sent, ElementsAre(Sent{12288, {0, 2, 0x0A, 0x00, 0x00, 0x05, 0x00, 0x00}}));
}

TEST_F(FirmwareUpgradeTest, FramesBeyondSixteenBitsAreCountedInFullAndSentAsTheirLowBits) {
    startWith({});
    file.told_size = 0x800001;
    answer({0, 2});
    EXPECT_THAT(sent, ElementsAre(Sent{12288, {0, 2, 0x01, 0x00, 0x01, 0x00, 0x80, 0x00}}));
    want(0xFFFF);
    EXPECT_THAT(progress, ElementsAre(std::pair<int, std::int64_t>(65535, 65537)));
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[1].payload.size(), 132U);
    file.told_size = 0x123456789;
    sent.clear();
    answer({0, 2});
    EXPECT_EQ(sent.at(0).payload, (Bytes{0, 2, 0xD0, 0x8A, 0x89, 0x67, 0x45, 0x23}));
}

TEST_F(FirmwareUpgradeTest, TheFramesThatThePodNamesAreSentAndNoOthers) {
    startWith(programOf(1281));
    answer({0, 4});
    answer({0, 7});
    EXPECT_THAT(sent, IsEmpty());
    answer({0, 8});
    EXPECT_THAT(sent, ElementsAre(frame(0)));
    EXPECT_THAT(told, ElementsAre(4, 7, 8));
    EXPECT_THAT(progress, IsEmpty());
    sent.clear();
    want(1);
    want(1);
    want(7);
    want(3);
    EXPECT_THAT(sent, ElementsAre(frame(1), frame(1), frame(7), frame(3)));
    EXPECT_EQ(progress.back(), (std::pair<int, std::int64_t>(3, 11)));
    EXPECT_THAT(told, ElementsAre(4, 7, 8)) << "state 6 is not told";
    sent.clear();
    want(10);
    EXPECT_EQ(sent.at(0).payload, (Bytes{0, 3, 10, 0, file.bytes.back()})) << "the last one is shorter";
}

TEST_F(FirmwareUpgradeTest, AFileOfWholeFramesEndsWithAWholeOne) {
    startWith(programOf(1280));
    want(9);
    EXPECT_THAT(sent, ElementsAre(frame(9)));
    EXPECT_EQ(sent.at(0).payload.size(), 132U);
    want(10);
    EXPECT_EQ(sent.size(), 1U) << "the number of frames asks for nothing";
    EXPECT_EQ(progress.back(), (std::pair<int, std::int64_t>(10, 10)));
    want(11);
    want(0xFFFF);
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(FirmwareUpgradeTest, AnEmptyFileHasNoFrameToSend) {
    startWith({});
    answer({0, 2});
    EXPECT_THAT(sent, ElementsAre(Sent{12288, {0, 2, 0, 0, 0, 0, 0, 0}}));
    answer({0, 8});
    want(0);
    EXPECT_EQ(sent.size(), 1U);
    EXPECT_THAT(progress, ElementsAre(std::pair<int, std::int64_t>(0, 0)));
}

TEST_F(FirmwareUpgradeTest, EachFrameGoesToTheModuleThatIsChosenThen) {
    startWith(programOf(300));
    want(0);
    module = 1;
    want(1);
    EXPECT_EQ(sent.at(0).payload[0], 0);
    EXPECT_EQ(sent.at(1).payload[0], 1);
}

TEST_F(FirmwareUpgradeTest, BehindTheLastFrameTheFileIsClosedAndNothingIsSentAnyMore) {
    startWith(programOf(1280));
    want(4);
    answer({0, 9});
    EXPECT_FALSE(file.open);
    sent.clear();
    answer({0, 8});
    want(5);
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_EQ(progress.back(), (std::pair<int, std::int64_t>(5, 10))) << "it is shown all the same";
    EXPECT_THAT(told, ElementsAre(9, 8));
}

TEST_F(FirmwareUpgradeTest, BeforeAnyStartAnswersSendNoFrame) {
    file.bytes = programOf(1280);
    want(3);
    answer({0, 8});
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_EQ(current, 3);
}

TEST_F(FirmwareUpgradeTest, SuccessIsToldOnceAnAnswerAndClearsTheCurrentFrame) {
    startWith(programOf(1280));
    want(10);
    EXPECT_EQ(current, 10);
    answer({0, 11});
    EXPECT_EQ(successes, 1);
    EXPECT_EQ(current, 0);
    EXPECT_THAT(told, ElementsAre(11));
}

TEST_F(FirmwareUpgradeTest, TheCurrentFrameSurvivesEveryFailureAndIsSentByTheNextState8) {
    for (const std::uint8_t failure : {1, 3, 5, 10, 12, 13}) {
        SCOPED_TRACE(int{failure});
        startWith(programOf(1280));
        want(6);
        sent.clear();
        answer({0, failure});
        EXPECT_THAT(sent, IsEmpty()) << "the pod asks, nobody else";
        EXPECT_EQ(current, 6);
        EXPECT_EQ(told.back(), failure);
        upgrade.start("/fw.bin");
        sent.clear();
        answer({0, 8});
        EXPECT_THAT(sent, ElementsAre(frame(6)));
    }
    EXPECT_EQ(successes, 0);
}

TEST_F(FirmwareUpgradeTest, AStateBeyondTheListIsLoggedAndDoesNothing) {
    startWith(programOf(1280));
    want(2);
    sent.clear();
    progress.clear();
    log.clear();
    for (int state = 14; state <= 255; ++state) {
        answer({0, static_cast<std::uint8_t>(state), 1, 0});
    }
    EXPECT_THAT(told, IsEmpty());
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(progress, IsEmpty());
    EXPECT_EQ(successes, 0);
    EXPECT_EQ(current, 2);
    EXPECT_TRUE(file.open);
    ASSERT_EQ(log.size(), 242U);
    EXPECT_EQ(log[0], "zvdbg**state = 14");
    EXPECT_EQ(log.back(), "zvdbg**state = 255");
}

TEST_F(FirmwareUpgradeTest, EveryStateOfTheListButSixIsTold) {
    for (int state = 0; state < 14; ++state) {
        answer({0, static_cast<std::uint8_t>(state), 0, 0});
    }
    EXPECT_THAT(told, ElementsAre(0, 1, 2, 3, 4, 5, 7, 8, 9, 10, 11, 12, 13));
}

TEST_F(FirmwareUpgradeTest, AnswersShorterThanTheirFieldsChangeNothing) {
    startWith(programOf(1280));
    want(2);
    sent.clear();
    progress.clear();
    log.clear();
    upgrade.onAnswer(nullptr, 0);
    answer({0});
    answer({0, 6});
    answer({0, 6, 1});
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(progress, IsEmpty());
    EXPECT_THAT(told, IsEmpty());
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(current, 2);
}

TEST_F(FirmwareUpgradeTest, TheEchoOfTheModuleIsNotLookedAt) {
    startWith(programOf(1280));
    for (const std::uint8_t echo : {0, 1, 7, 255}) {
        answer({echo, 6, 4, 0});
    }
    EXPECT_THAT(sent, ElementsAre(frame(4), frame(4), frame(4), frame(4)));
}

TEST_F(FirmwareUpgradeTest, EachFrameSentIsLogged) {
    startWith(programOf(129));
    log.clear();
    want(1);
    EXPECT_THAT(log, ElementsAre("zvdbg**state = 6", "zvdbg**send frame = 1, send size = 5, read size = 1"));
}

TEST_F(FirmwareUpgradeTest, WhatCannotBeReadGoesOutWithoutProgram) {
    startWith(programOf(1280));
    file.readable = false;
    want(2);
    EXPECT_THAT(sent, ElementsAre(Sent{12288, {0, 3, 2, 0}}));
}

TEST_F(FirmwareUpgradeTest, AFileThatGrowsIsCountedAnew) {
    startWith(programOf(128));
    want(1);
    EXPECT_THAT(sent, IsEmpty());
    file.bytes = programOf(256);
    want(1);
    EXPECT_THAT(sent, ElementsAre(frame(1)));
    EXPECT_EQ(progress.back().second, 2);
}

}  // namespace
}  // namespace sorvane
