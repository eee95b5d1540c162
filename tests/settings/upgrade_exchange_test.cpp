// Whole upgrades between the station's core and the simulated pod's, through both sides' codecs, with faults
// at every frame. Time is the pod's: it passes when nothing is on the way.
#include <gtest/gtest.h>

#include <deque>
#include <list>

#include "link/frames.h"
#include "settings/firmware_upgrade.h"
#include "simulator/pod/upgrade.h"
#include "simulator/wire/wire.h"
#include "telemetry/control_link_reassembler.h"
#include "tests/settings/firmware_in_memory.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// What happens on the way to one program frame of the station's, once.
enum class OnTheWay { kNothing, kLost, kDoubled, kLate, kReordered };

class Exchange {
public:
    explicit Exchange(Bytes program) {
        file.bytes = std::move(program);
        for (int press = 0; press < 2; ++press) {
            station.enterMode();
        }
        settle();
    }

    // From the start to the point where nothing comes any more.
    void run() {
        told.clear();
        successes = 0;
        station.start("/firmware.bin");
        settle();
    }
    bool identical() const { return pod.flash(0) == file.bytes; }

    FirmwareInMemory file;
    std::uint16_t current = 0;
    podsim::Upgrade pod;
    std::vector<int> told;
    int successes = 0;
    OnTheWay on_the_way = OnTheWay::kNothing;
    int struck_frame = -1;

private:
    struct Waiting {
        double left_s;
        Bytes frame;
    };

    sorvane::UpgradeSurroundings surroundings() {
        sorvane::UpgradeSurroundings ask;
        ask.module = [] { return 0; };
        ask.silence = [] {};
        ask.send = [this](std::uint16_t code, const Bytes& payload) {
            put(sorvane::buildVariableFrame(code, payload.data(), static_cast<int>(payload.size())));
        };
        ask.told = [this](int state) { told.push_back(state); };
        ask.progress = [](int, std::int64_t) {};
        ask.succeeded = [this] { ++successes; };
        ask.log = [](const std::string&) {};
        return ask;
    }

    bool struck(const Bytes& frame) {
        constexpr std::size_t kStep = 7, kNumber = 8;
        return frame.size() > kNumber + 1 && frame[kStep] == 3 &&
               (frame[kNumber] | frame[kNumber + 1] << 8) == struck_frame;
    }
    void put(const Bytes& frame) {
        if (on_the_way != OnTheWay::kNothing && struck(frame)) {
            const OnTheWay what = std::exchange(on_the_way, OnTheWay::kNothing);
            if (what == OnTheWay::kDoubled) {
                m_toPod.push_back(frame);
                m_toPod.push_back(frame);
            } else if (what == OnTheWay::kLate) {
                m_late.push_back({1.5, frame});
            } else if (what == OnTheWay::kReordered) {
                m_heldBack = frame;
            }
            return;
        }
        m_toPod.push_back(frame);
        if (!m_heldBack.empty()) {
            m_toPod.push_back(std::exchange(m_heldBack, {}));
        }
    }

    // Lets the station and the pod talk until both have been silent for as long as the pod would ever wait.
    void settle() {
        constexpr double kStep_s = 0.05, kSilence_s = 15;
        double silent_s = 0;
        while (silent_s < kSilence_s) {
            silent_s = deliver() ? 0 : silent_s + kStep_s;
            pod.step(kStep_s);
            for (auto late = m_late.begin(); late != m_late.end();) {
                late->left_s -= kStep_s;
                if (late->left_s <= 0) {
                    m_toPod.push_back(late->frame);
                    late = m_late.erase(late);
                } else {
                    ++late;
                }
            }
        }
    }
    bool deliver() {
        bool any = false;
        for (bool more = true; more; any = any || more) {
            more = !m_toPod.empty();
            while (!m_toPod.empty()) {
                const Bytes frame = m_toPod.front();
                m_toPod.pop_front();
                m_parser.feed(frame.data(), frame.size(),
                              [this](const podsim::wire::Command& c) { onCommand(c); });
            }
            for (const podsim::Upgrade::Answer& answer : pod.takeAnswers()) {
                more = true;
                onAnswer(answer);
            }
        }
        return any;
    }
    void onCommand(const podsim::wire::Command& c) {
        if (c.code == 57) {
            pod.enter(c.payload.at(0) - 5);
        } else {
            ASSERT_EQ(c.code, 12288);
            pod.take(c.payload.data(), c.payload.size());
        }
    }
    void onAnswer(const podsim::Upgrade::Answer& answer) {
        Bytes payload = {static_cast<std::uint8_t>(answer.module), static_cast<std::uint8_t>(answer.state)};
        if (answer.frame >= 0) {
            payload.push_back(static_cast<std::uint8_t>(answer.frame));
            payload.push_back(static_cast<std::uint8_t>(answer.frame >> 8));
        }
        const Bytes frame = podsim::wire::buildVariableFrame(12289, payload.data(), payload.size());
        m_reassembler.feed(frame.data(), static_cast<std::int32_t>(frame.size()), *this);
    }

public:
    // What the reassembler finds.
    void telemetry(const std::uint8_t*) { ADD_FAILURE(); }
    void linkFrame(const std::uint8_t* payload, std::int32_t size) {
        ASSERT_EQ(payload[0] | payload[1] << 8, sorvane::kUpgradeAnswer);
        station.onAnswer(payload + 2, size - 2);
    }

private:
    sorvane::FirmwareUpgrade station{current, file, surroundings()};
    podsim::wire::CommandParser m_parser;
    sorvane::ControlLinkReassembler m_reassembler;
    std::deque<Bytes> m_toPod;
    std::list<Waiting> m_late;
    Bytes m_heldBack;
};

constexpr int kFrames = 200;
const Bytes& program() {
    static const Bytes bytes = programOf(kFrames * 128 - 5);
    return bytes;
}

// Whatever was before: a new start ends well.
void expectANewStartSucceeds(Exchange& e) {
    e.run();
    EXPECT_EQ(e.told, (std::vector<int>{2, 4, 7, 8, 9, 11}));
    EXPECT_EQ(e.successes, 1);
    EXPECT_TRUE(e.identical());
    EXPECT_EQ(e.current, 0);
}

TEST(UpgradeExchange, FilesOfEverySizeArriveAsTheyAre) {
    for (const std::size_t size : {0, 1, 127, 128, 129, 1280, 1281, 200000}) {
        SCOPED_TRACE(size);
        Exchange e(programOf(size));
        EXPECT_EQ(e.told, std::vector<int>{0}) << "ready, once it was told twice";
        expectANewStartSucceeds(e);
        EXPECT_EQ(e.pod.flash(0).size(), size);
        EXPECT_FALSE(e.file.open);
        EXPECT_EQ(e.pod.running(0).minor, 2);
        EXPECT_TRUE(e.pod.restart());
        EXPECT_EQ(e.pod.running(0).minor, 3);
        EXPECT_EQ(e.pod.running(0).image, e.file.bytes);
    }
}

TEST(UpgradeExchange, AFileThatThePodCannotHoldIsRefused) {
    Exchange e({});
    e.file.told_size = 65536 * 128;
    e.run();
    EXPECT_EQ(e.told, (std::vector<int>{2, 3}));
    e.file.told_size = -1;
    expectANewStartSucceeds(e);
}

TEST(UpgradeExchange, FramesThatStrayOnTheWayCostNothingButTime) {
    for (const OnTheWay what : {OnTheWay::kLost, OnTheWay::kDoubled, OnTheWay::kLate, OnTheWay::kReordered}) {
        for (int frame = 0; frame < kFrames; ++frame) {
            SCOPED_TRACE(::testing::Message() << static_cast<int>(what) << " at " << frame);
            Exchange e(program());
            e.on_the_way = what;
            e.struck_frame = frame;
            e.run();
            ASSERT_EQ(e.on_the_way, OnTheWay::kNothing) << "it was there";
            ASSERT_EQ(e.told, (std::vector<int>{2, 4, 7, 8, 9, 11}));
            ASSERT_TRUE(e.identical());
            expectANewStartSucceeds(e);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    }
}

using Kind = podsim::UpgradeFault::Kind;

class FaultAtEveryFrame : public ::testing::TestWithParam<Kind> {};

TEST_P(FaultAtEveryFrame, AnswersThatStrayCostNothingButTime) {
    for (int frame = 0; frame < kFrames; ++frame) {
        SCOPED_TRACE(frame);
        Exchange e(program());
        e.pod.addFault({GetParam(), frame, 0});
        e.run();
        ASSERT_EQ(e.told, (std::vector<int>{2, 4, 7, 8, 9, 11}));
        ASSERT_TRUE(e.identical());
        expectANewStartSucceeds(e);
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
}

INSTANTIATE_TEST_SUITE_P(Upgrade, FaultAtEveryFrame,
                         ::testing::Values(Kind::kLost, Kind::kDoubled, Kind::kLate, Kind::kReordered));

TEST(UpgradeExchange, BehindASilenceThePageStandsStill) {
    for (int frame = 0; frame < kFrames; ++frame) {
        SCOPED_TRACE(frame);
        Exchange e(program());
        e.pod.addFault({Kind::kSilence, frame, 0});
        e.run();
        ASSERT_EQ(e.told, (std::vector<int>{2, 4, 7, 8}));
        ASSERT_EQ(e.current, frame) << "where the next state 8 goes on";
        expectANewStartSucceeds(e);
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
}

TEST(UpgradeExchange, AWrongBitInTheFlashIsAFailureThatIsShown) {
    for (int frame = 0; frame < kFrames; ++frame) {
        SCOPED_TRACE(frame);
        Exchange e(program());
        e.pod.addFault({Kind::kFlash, frame, 0});
        e.run();
        ASSERT_EQ(e.told, (std::vector<int>{2, 4, 7, 8, 9, 10}));
        ASSERT_FALSE(e.pod.restart()) << "it never runs";
        Exchange again(program());
        again.pod.addFault({Kind::kFlash, frame, 0});
        again.run();
        expectANewStartSucceeds(again);
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
}

// Any other state in the place of "taken": the pod asks again, but behind a closed file nothing answers it.
TEST(UpgradeExchange, AWrongStateEndsWellOrAsAFailureThatIsShown) {
    for (int frame = 0; frame < kFrames; ++frame) {
        const int state = frame % 17 != 6 ? frame % 17 : 255;
        SCOPED_TRACE(::testing::Message() << state << " at " << frame);
        Exchange e(program());
        e.pod.addFault({Kind::kState, frame, state});
        e.run();
        if (state == 9 && frame < kFrames - 1) {
            ASSERT_EQ(e.told.back(), 5);
            ASSERT_EQ(e.successes, 0);
        } else {
            ASSERT_EQ(e.told.back(), 11);
            ASSERT_EQ(e.successes, state == 11 ? 2 : 1);
            ASSERT_TRUE(e.identical());
        }
        expectANewStartSucceeds(e);
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
}

TEST(UpgradeExchange, ANewStartInTheMiddleBeginsWithTheSurvivingFrameAndEndsWell) {
    for (int frame = 0; frame < kFrames; frame += 9) {
        SCOPED_TRACE(frame);
        Exchange e(program());
        e.pod.addFault({Kind::kSilence, frame, 0});
        e.run();
        e.file.bytes = programOf(700);  // shorter than where the first one ended
        expectANewStartSucceeds(e);
    }
}

}  // namespace
