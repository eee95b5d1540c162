// Without an application object, as main asks for it.
#include "widgets/ui_fonts.h"

#include <gtest/gtest.h>

namespace {

TEST(ApplicationFont, HasASizeOfItsOwn) {
    EXPECT_GE(applicationFont().pointSize(), 9);
    EXPECT_LE(applicationFont().pointSize(), 12);
}

TEST(ApplicationFont, IsDrawnSmoothly) {
    EXPECT_EQ(applicationFont().styleStrategy(), QFont::PreferAntialias);
    EXPECT_EQ(applicationFont().hintingPreference(), QFont::PreferFullHinting);
}

}  // namespace
