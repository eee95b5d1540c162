#include "simulator/stream/event_log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "simulator/command_log.h"
#include "simulator/stream/clock.h"
#include "tests/simulator/hex.h"

namespace podsim {
namespace {

class Log : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(log.open(path)); }
    void TearDown() override { unlink(path.c_str()); }
    // The lines so far, without their times.
    std::vector<std::string> lines() const {
        std::ifstream file(path);
        std::vector<std::string> all;
        for (std::string line; std::getline(file, line);) {
            all.push_back(line.substr(line.find(' ') + 1));
        }
        return all;
    }
    static wire::Command fixed(std::uint8_t code, std::uint8_t p1, std::int16_t rate = 0) {
        wire::Command c;
        c.code = code;
        c.payload = {p1, 0, 0, 0};
        c.rate_code = rate ? wire::kRateCode : 0;
        c.rate_azimuth = rate;
        c.raw = {0xFB, 0x2C, code};
        return c;
    }
    static wire::Command variable(std::uint16_t code) {
        wire::Command c;
        c.frame = wire::Command::Frame::kVariable;
        c.code = code;
        c.raw = {0xFB, 0x2C, 0xAA};
        return c;
    }

    const std::string path = testing::TempDir() + "podsim-log-" + std::to_string(getpid());
    EventLog log;
};

TEST_F(Log, TheAircraftsBlockIsToldOnceAndWhenItChangesItsTimeAside) {
    CommandLog commands(log);
    wire::Command c = fixed(0, 0);
    c.has_nav = true;
    c.nav.pitch_deg = 45;
    c.nav.longitude_deg = 114.4231691;
    c.nav.year = 26;
    commands.onCommand(c, "udp");
    c.nav.second = 59;
    commands.onCommand(c, "udp");
    c.nav.pitch_deg = -1.5;
    commands.onCommand(c, "udp");
    commands.onCommand(variable(40), "udp");
    std::vector<std::string> told;
    for (const std::string& line : lines()) {
        if (line.compare(0, 4, "nav ") == 0) {
            told.push_back(line);
        }
    }
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0],
              "nav frame=fixed line=udp pitch=45.00 roll=0.00 heading=0.00 lat=0.0000000 lon=114.4231691 "
              "altitude=0 "
              "satellites=0 north=0.000 east=0.000 ground=0.000 time=26-00-00T00:00:00.00");
    EXPECT_NE(told[1].find("pitch=-1.50 "), std::string::npos);
    EXPECT_NE(told[1].find("00:00:59.00"), std::string::npos);
}

TEST_F(Log, LinesAreThereAtOnceAndInOrderOfTime) {
    const std::int64_t before = monotonicNs();
    log.event("ready", "udp=127.0.0.1:8000");
    log.event("stop", "");
    const std::int64_t after = monotonicNs();
    std::ifstream file(path);
    std::int64_t first = 0;
    std::int64_t second = 0;
    std::string kind;
    std::string rest;
    file >> first >> kind >> rest >> second;
    EXPECT_EQ(kind, "ready");
    EXPECT_EQ(rest, "udp=127.0.0.1:8000");
    EXPECT_LE(before, first);
    EXPECT_LE(first, second);
    EXPECT_LE(second, after);
}

TEST_F(Log, RunOfEqualFramesIsOneLineAndACount) {
    CommandLog commands(log);
    for (int i = 0; i < 5; ++i) {
        commands.onCommand(fixed(0, 0), "udp");
    }
    for (int i = 0; i < 3; ++i) {
        commands.onCommand(fixed(69, 3), "udp");
    }
    commands.onCommand(fixed(69, 4), "udp");
    commands.onCommand(fixed(0, 0, -500), "udp");
    commands.onCommand(fixed(0, 0, -500), "udp");
    commands.finish();
    const std::vector<std::string> expected = {
        "command name=IDLE code=0 frame=fixed line=udp raw=FB2C00",
        "command-repeated name=IDLE code=0 count=4",
        "command name=CMD_VL_LENS code=69 frame=fixed line=udp raw=FB2C45 p1=3 p2=0 p3=0 p4=0",
        "command-repeated name=CMD_VL_LENS code=69 count=2",
        "command name=CMD_VL_LENS code=69 frame=fixed line=udp raw=FB2C45 p1=4 p2=0 p3=0 p4=0",
        "command name=CMD_SERVO_RATE code=0 frame=fixed line=udp raw=FB2C00 rate_az=-500 rate_el=0",
        "command-repeated name=CMD_SERVO_RATE code=0 count=1",
    };
    EXPECT_EQ(lines(), expected);
}

TEST_F(Log, ChangedNavBlockIsNoNewCommand) {
    CommandLog commands(log);
    wire::Command c = fixed(0, 0);
    for (int i = 0; i < 3; ++i) {
        c.nav.heading_deg = i;
        c.raw[2] = static_cast<std::uint8_t>(i);
        commands.onCommand(c, "udp");
    }
    commands.finish();
    EXPECT_EQ(lines().size(), 2u);
}

TEST_F(Log, EverySingleCommandIsALineButNavBlocksAreCounted) {
    CommandLog commands(log);
    for (int i = 0; i < 3; ++i) {
        commands.onCommand(variable(113), "tcp");
        commands.onCommand(variable(1026), "tcp");
    }
    commands.finish();
    const std::vector<std::string> expected = {
        "command name=CMD_SERVO_CENTRE code=113 frame=variable line=tcp raw=FB2CAA",
        "command name=CMD_NAV_BLOCK code=1026 frame=variable line=tcp raw=FB2CAA",
        "command name=CMD_SERVO_CENTRE code=113 frame=variable line=tcp raw=FB2CAA",
        "command name=CMD_SERVO_CENTRE code=113 frame=variable line=tcp raw=FB2CAA",
        "command-repeated name=CMD_NAV_BLOCK code=1026 count=2",
    };
    EXPECT_EQ(lines(), expected);
}

TEST_F(Log, UnknownCommandIsToldWithItsBytes) {
    CommandLog commands(log);
    wire::Command c = variable(4660);
    c.payload = {1, 2};
    commands.onCommand(c, "pty");
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0], "command name=UNKNOWN code=4660 frame=variable line=pty raw=FB2CAA p1=1 p2=2");
}

TEST(EventLogFile, CannotBeWritten) {
    EventLog log;
    EXPECT_FALSE(log.open("/nonexistent/podsim.log"));
    log.event("nothing", "happens");
    EXPECT_FALSE(log.isOpen());
}

}  // namespace
}  // namespace podsim
