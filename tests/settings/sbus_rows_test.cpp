#include "settings/sbus_rows.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace sorvane {
namespace {

TEST(SbusRows, ABytesChannelAndItsReverseFlag) {
    for (int channel = 0; channel < kSbusChannels; ++channel) {
        for (const bool reversed : {false, true}) {
            const std::uint8_t byte = sbusByte(channel, reversed);
            EXPECT_EQ(byte, channel + (reversed ? 16 : 0));
            EXPECT_EQ(sbusChannel(byte), channel);
            EXPECT_EQ(sbusReversed(byte), reversed);
        }
    }
    // What is not told in the five bits is nobody's.
    EXPECT_EQ(sbusByte(16, false), 0);
    EXPECT_EQ(sbusChannel(0xE3), 3);
    EXPECT_FALSE(sbusReversed(0xE3));
    EXPECT_TRUE(sbusReversed(0xF3));
}

TEST(SbusRows, EachHasItsOwnWidgetsAndItsOwnFirstChannel) {
    std::set<std::string> widgets;
    std::set<int> channels;
    int boxes = 0;
    for (const SbusRow& row : kSbusRowTable) {
        widgets.insert(row.channel_box);
        widgets.insert(row.strip);
        if (row.reverse_box != nullptr) {
            widgets.insert(row.reverse_box);
            ++boxes;
        }
        channels.insert(row.channel);
        EXPECT_LT(row.channel, kSbusChannels);
    }
    EXPECT_EQ(boxes, 7);
    EXPECT_EQ(widgets.size(), 2 * kSbusRows + 7);
    EXPECT_EQ(channels.size(), kSbusRows);
}

}  // namespace
}  // namespace sorvane
