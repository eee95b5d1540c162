#include "simulator/pod/text.h"

#include <gtest/gtest.h>

namespace podsim {
namespace {

TEST(FormatText, TakesAnyLength) {
    EXPECT_EQ(formatText("%s", ""), "");
    EXPECT_EQ(formatText("az=%.2f el=%d", 1.005, -7), "az=1.00 el=-7");
    const std::string longer(5000, 'x');
    EXPECT_EQ(formatText("<%s>", longer.c_str()), "<" + longer + ">");
}

}  // namespace
}  // namespace podsim
