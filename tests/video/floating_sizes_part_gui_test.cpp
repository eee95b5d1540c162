// Where things stand on what floats over the pictures: the replay bar, the tips, the notices.
#include <gtest/gtest.h>

#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QPushButton>

#include "video/my_comp_notify_dlg.h"
#include "video/my_tip_dialog.h"
#include "video/replay_panel.h"

namespace {

// The part of the label that its text lights up.
QSize litPart(QLabel& label) {
    QImage image(label.size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    label.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    QRect lit;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qGray(image.pixel(x, y)) > 60) {
                lit = lit.united(QRect(x, y, 1, 1));
            }
        }
    }
    return lit.size();
}

TEST(FloatingSizes, OfTheReplayBar) {
    ReplayPanel bar(nullptr);
    EXPECT_EQ(bar.size(), QSize(240, 40));
    const auto* ground = bar.findChild<QLabel*>("m_panePlayCtrl");
    ASSERT_NE(ground, nullptr);
    EXPECT_EQ(ground->geometry(), QRect(0, 0, 240, 40));
    EXPECT_EQ(ground->styleSheet(), "background-color: rgba(160, 160, 160, 150);\n");
    EXPECT_EQ(bar.m_btnPlay->geometry(), QRect(10, 5, 30, 30));
    EXPECT_EQ(bar.m_btnPlay->iconSize(), QSize(25, 25));
    EXPECT_EQ(bar.m_btnStop->geometry(), QRect(50, 5, 30, 30));
    EXPECT_EQ(bar.m_btnStop->iconSize(), QSize(22, 22));
    for (const QPushButton* button : {bar.m_btnPlay, bar.m_btnStop}) {
        EXPECT_TRUE(button->isFlat());
        EXPECT_EQ(button->parentWidget(), ground);
    }
    EXPECT_EQ(bar.m_labelPlayTime->geometry(), QRect(150, 12, 90, 16));
}

// The label is lower than a line of its font; digits have no descent.
TEST(FloatingSizes, TheTimeOfTheReplayBarIsSeenWhole) {
    ReplayPanel bar(nullptr);
    QLabel roomy;
    roomy.setStyleSheet(bar.m_labelPlayTime->styleSheet());
    roomy.resize(300, 100);
    for (const char* time : {"00:00", "12:34:56", "23:58:09"}) {
        bar.m_labelPlayTime->setText(time);
        roomy.setText(time);
        const QSize whole = litPart(roomy);
        EXPECT_GT(whole.height(), 8);
        EXPECT_EQ(litPart(*bar.m_labelPlayTime), whole) << time;
    }
}

TEST(FloatingSizes, OfATip) {
    MyTipDialog tip(nullptr);
    EXPECT_TRUE(tip.isHidden());
    auto* box = tip.findChild<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->geometry(), QRect(0, 0, 300, 51));
    const auto* row = qobject_cast<QHBoxLayout*>(box->layout());
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->spacing(), 5);
    EXPECT_EQ(row->contentsMargins(), QMargins());
    ASSERT_EQ(row->count(), 4);
    const char* const names[] = {"label_snap", "label_rec"};
    for (int i = 0; i < 2; ++i) {
        const auto* icon = qobject_cast<QLabel*>(row->itemAt(i)->widget());
        ASSERT_NE(icon, nullptr);
        EXPECT_EQ(icon->objectName(), names[i]);
        EXPECT_EQ(icon->minimumSize(), QSize(25, 25));
        EXPECT_EQ(icon->maximumSize(), QSize(25, 25));
        EXPECT_TRUE(icon->hasScaledContents());
        EXPECT_FALSE(icon->pixmap(Qt::ReturnByValue).isNull()) << names[i];
    }
    const auto* text = qobject_cast<QLabel*>(row->itemAt(2)->widget());
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->styleSheet(), "color:white;font:15pt \"Microsoft YaHei UI\";");
    ASSERT_NE(row->itemAt(3)->spacerItem(), nullptr);
    EXPECT_TRUE(row->itemAt(3)->expandingDirections() & Qt::Horizontal);
}

TEST(FloatingSizes, OfTheNotices) {
    for (const auto mode : {MyCompNotifyDlg::kSnapshot, MyCompNotifyDlg::kRecording}) {
        MyCompNotifyDlg notice(mode, nullptr);
        EXPECT_EQ(notice.minimumSize(), QSize(359, 201));
        EXPECT_EQ(notice.maximumSize(), QSize(359, 201));
        const auto* message = notice.findChild<QLabel*>("label_msg");
        ASSERT_NE(message, nullptr);
        EXPECT_EQ(message->geometry(), QRect(20, 10, 321, 71));
        EXPECT_EQ(message->text(), "录像文件已经生成。");
        const auto expectButton = [&](const char* name, const char* text, bool shown) {
            const auto* button = notice.findChild<QPushButton*>(name);
            ASSERT_NE(button, nullptr) << name;
            EXPECT_EQ(button->size(), QSize(100, 40)) << name;
            EXPECT_EQ(button->text(), text);
            EXPECT_EQ(button->isHidden(), !shown) << name << " " << mode;
        };
        expectButton("pushButton_openDir", "打开目录", mode == MyCompNotifyDlg::kSnapshot);
        expectButton("pushButton_openRecDir", "打开目录", mode == MyCompNotifyDlg::kRecording);
        expectButton("pushButton_openFile", "打开文件", true);
    }
}

}  // namespace
