// The plot dialog's boxes: which curves stand on the chart, and what becomes of their samples.
#include "tests/analysis/plot_fixture.h"

namespace {

using Names = std::vector<std::string>;

TEST_F(PlotDialog, WithNoCurveChosenTheSamplesStandStill) {
    choose(2);
    start();
    give(frameAngles(1, 2, 3));
    box("checkBox_frmYaw")->setChecked(false);
    box("checkBox_frmPit")->setChecked(false);
    EXPECT_EQ(names(), Names());
    giveMany(50, frameAngles(1, 2, 3));
    box("checkBox_frmPit")->setChecked(true);
    give(frameAngles(1, 2, 3));
    ASSERT_TRUE(shows(2, "框架俯仰角"));
    EXPECT_EQ(points("框架俯仰角"), QVector<QPointF>({QPointF(2, 0.02)}));
}

TEST_F(PlotDialog, ABoxConcernsTheCategoryOfTheMomentAlone) {
    box("checkBox_gestRoll")->setChecked(false);
    box("checkBox_DeviX")->setChecked(false);
    EXPECT_EQ(names(), Names({"框架方位角", "框架俯仰角"}));
    box("checkBox_DeviX")->setChecked(true);
    EXPECT_EQ(names(), Names({"框架方位角", "框架俯仰角"})) << "nor is one put there";
    box("checkBox_DeviX")->setChecked(false);
    box("checkBox_frmRoll")->setChecked(true);
    EXPECT_EQ(names(), Names({"框架方位角", "框架俯仰角", "框架横滚角"}));
    box("checkBox_frmYaw")->setChecked(false);
    EXPECT_EQ(names(), Names({"框架俯仰角", "框架横滚角"}));
    start();
    find<QRadioButton>("radioButton_2")->click();
    EXPECT_EQ(names(), Names({"姿态方位角", "姿态俯仰角"}));
    find<QRadioButton>("radioButton_3")->click();
    EXPECT_EQ(names(), Names({"跟踪高偏差"}));
}

// Curves of the same place in two categories share their samples.
TEST_F(PlotDialog, ABoxOfAnotherCategoryTakesNoSampleAway) {
    choose(1);
    start();
    giveMany(3, frameAngles(100, 200, 300));
    box("checkBox_gestPit")->setChecked(false);
    box("checkBox_gestPit")->setChecked(true);
    giveMany(2, frameAngles(100, 200, 300));
    ASSERT_TRUE(shows(5, "框架俯仰角"));
    EXPECT_EQ(points("框架俯仰角").size(), points("框架方位角").size());
    EXPECT_EQ(points("框架俯仰角").first().x(), 1);
}

TEST_F(PlotDialog, ACurveThatIsChosenWhileRunningBeginsThen) {
    choose(1);
    start();
    giveMany(13, frameAngles(100, 200, 300));
    box("checkBox_frmRoll")->setChecked(true);
    giveMany(5, frameAngles(100, 200, 300));
    ASSERT_TRUE(shows(18, "框架横滚角"));
    EXPECT_EQ(points("框架横滚角").first().x(), 14);
    EXPECT_EQ(points("框架方位角").last().x(), 15);
    box("checkBox_frmRoll")->setChecked(false);
    EXPECT_EQ(series("框架横滚角"), nullptr);
}

}  // namespace
