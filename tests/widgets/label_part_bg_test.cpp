#include "widgets/label_part_bg.h"

#include <gtest/gtest.h>

#include <QFontMetrics>
#include <QImage>

namespace {

constexpr int kWidth = 200;
constexpr int kHeight = 60;

QImage picture(label_part_bg& label) {
    QImage image(label.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    label.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

// First and last red column of the middle row; (-1, -1) without any.
std::pair<int, int> bar(label_part_bg& label) {
    const QImage image = picture(label);
    std::pair<int, int> found(-1, -1);
    for (int x = 0; x < image.width(); ++x) {
        if (image.pixelColor(x, kHeight / 2) == QColor(Qt::red)) {
            found.first = found.first < 0 ? x : found.first;
            found.second = x;
        }
    }
    return found;
}

class LabelPartBgTest : public ::testing::Test {
protected:
    LabelPartBgTest() { label.resize(kWidth, kHeight); }
    label_part_bg label;
};

TEST_F(LabelPartBgTest, ShowsNothingAtFirst) { EXPECT_EQ(bar(label), std::make_pair(-1, -1)); }

TEST_F(LabelPartBgTest, GrowsFromTheMiddle) {
    label.setValue(1.0);
    EXPECT_EQ(bar(label), std::make_pair(kWidth / 2, kWidth - 1));
    label.setValue(0.0);
    EXPECT_EQ(bar(label), std::make_pair(0, kWidth / 2 - 1));
    label.setValue(0.75);
    EXPECT_EQ(bar(label), std::make_pair(kWidth / 2, kWidth * 3 / 4 - 1));
    label.setValue(0.25);
    EXPECT_EQ(bar(label), std::make_pair(kWidth / 4, kWidth / 2 - 1));
    label.setValue(0.5);
    EXPECT_EQ(bar(label), std::make_pair(-1, -1));
}

TEST_F(LabelPartBgTest, IsAsHighAsTheFontAndCentred) {
    label.setValue(1.0);
    const QImage image = picture(label);
    const int bar_height = QFontMetrics(label.font()).height();
    int rows = 0;
    for (int y = 0; y < kHeight; ++y) {
        rows += image.pixelColor(kWidth * 3 / 4, y) == QColor(Qt::red) ? 1 : 0;
    }
    EXPECT_EQ(rows, bar_height);
    EXPECT_EQ(image.pixelColor(kWidth * 3 / 4, 1), QColor(Qt::white));
    EXPECT_EQ(image.pixelColor(kWidth * 3 / 4, kHeight - 2), QColor(Qt::white));
}

TEST_F(LabelPartBgTest, TheTextLiesOverTheBar) {
    label.setStyleSheet(QStringLiteral("color: #0000ff;"));
    label.setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label.setText(QStringLiteral("XXXX"));
    label.setValue(1.0);
    const QImage image = picture(label);
    int blue = 0;
    for (int x = kWidth / 2; x < kWidth; ++x) {
        for (int y = 0; y < kHeight; ++y) {
            blue += image.pixelColor(x, y) == QColor(0, 0, 255) ? 1 : 0;
        }
    }
    EXPECT_GT(blue, 0);
    EXPECT_EQ(bar(label).first, kWidth / 2);
}

}  // namespace
