// Without an application object, as main asks for it.
#include "widgets/ui_fonts.h"

#include <gtest/gtest.h>

#include <QStringList>

namespace {

TEST(ApplicationFont, HasASizeOfItsOwn) {
    EXPECT_GE(applicationFont().pointSize(), 9);
    EXPECT_LE(applicationFont().pointSize(), 12);
}

TEST(ApplicationFont, IsDrawnSmoothly) {
    EXPECT_EQ(applicationFont().styleStrategy(), QFont::PreferAntialias);
    EXPECT_EQ(applicationFont().hintingPreference(), QFont::PreferFullHinting);
}

// Fixed names of fonts that a system may lack, and what stands in for each; the toolkit keeps them in small
// letters.
TEST(FontSubstitutes, AreOfTheSameKind) {
    installFontSubstitutes();
    for (const char* sans : {"Microsoft YaHei UI", "Microsoft YaHei", "微软雅黑"}) {
        EXPECT_EQ(QFont::substitutes(QString::fromUtf8(sans)),
                  QStringList({"noto sans cjk sc", "wenquanyi micro hei"}))
            << sans;
    }
    for (const char* serif : {"SimSun", "宋体"}) {
        EXPECT_EQ(QFont::substitutes(QString::fromUtf8(serif)).value(0), "noto serif cjk sc") << serif;
    }
    EXPECT_EQ(QFont::substitutes("OCR A Std").value(0), "dejavu sans mono");
}

}  // namespace
