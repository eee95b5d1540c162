#include "simulator/wire/encoder_web.h"

#include <gtest/gtest.h>

namespace podsim {
namespace {

using Commands = std::vector<wire::Bytes>;

TEST(EncoderWeb, AQueryIsCommands) {
    EXPECT_EQ(encoderCommandsOf("codec=1&bitrate=4000"), (Commands{{0, 1}, {1, 0xA0, 0x0F}}));
    EXPECT_EQ(encoderCommandsOf("bitrate=65535"), (Commands{{1, 0xFF, 0xFF}}));
    EXPECT_EQ(encoderCommandsOf("codec=0"), (Commands{{0, 0}}));
}

TEST(EncoderWeb, WhatIsWrongIsPassedOver) {
    for (const char* query :
         {"", "codec", "codec=", "codec=2", "codec=-1", "codec=x", "bitrate=65536", "bitrate=1e3",
          "bitrate=99999999999999999999", "other=1", "&&&", "=1", "codec=1;bitrate=1"}) {
        EXPECT_TRUE(encoderCommandsOf(query).empty()) << query;
    }
    EXPECT_EQ(encoderCommandsOf("x=1&codec=9&bitrate=7"), (Commands{{1, 7, 0}}));
}

TEST(EncoderWeb, ThePageTellsTheState) {
    Snapshot s;
    s.encoder_codec = 1;
    s.encoder_bitrate_kbps = 3456;
    const std::string page = encoderPage(s);
    EXPECT_NE(page.find("value=\"1\" selected"), std::string::npos);
    EXPECT_EQ(page.find("value=\"0\" selected"), std::string::npos);
    EXPECT_NE(page.find("value=\"3456\""), std::string::npos);
    EXPECT_NE(page.find("192.168.1.160"), std::string::npos);
    s.encoder_bitrate_kbps = 0;
    EXPECT_NE(encoderPage(s).find("name=\"bitrate\" value=\"\""), std::string::npos) << "none was commanded";
}

}  // namespace
}  // namespace podsim
