// Settings pages whose working comes with the pod's functions: their widgets, names and texts.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QProgressBar>
#include <QSlider>
#include <QTextEdit>
#include <vector>

#include "ui_settings.h"
#include "widgets/common_dlg.h"

namespace {

QString captionOf(const QWidget* widget) {
    const auto* group = qobject_cast<const QGroupBox*>(widget);
    return group != nullptr ? group->title() : widget->property("text").toString();
}

struct PageWidget {
    const char* name;
    const char* type;
    const char* text;  // null where the program fills it
};
struct SettingsPage {
    const char* page;
    std::vector<PageWidget> widgets;
    QStringList captions;  // labels and group titles beside them
};

TEST(SettingsForm, PagesHaveTheirWidgets) {
    const std::vector<SettingsPage> pages = {
        {"page_device_manage",
         {{"lineEdit", "QLineEdit", ""},
          {"lineEdit_2", "QLineEdit", ""},
          {"lineEdit_3", "QLineEdit", ""},
          {"lineEdit_4", "QLineEdit", ""},
          {"lineEdit_5", "QLineEdit", ""},
          {"lineEdit_6", "QLineEdit", ""},
          {"lineEdit_7", "QLineEdit", ""},
          {"lineEdit_8", "QLineEdit", ""},
          {"pushButton_16", "QPushButton", "刷新"},
          {"pushButton_17", "QPushButton", "刷新"}},
         {"设备型号：", "序列号：", "IP地址：", "固件版本", "跟踪器：", "图像FPGA：", "通讯控制：",
          "伺服控制：", "电机驱动："}},
        {"page_control",
         {{"pushButton_21", "QPushButton", "刷新"},
          {"pushButton_19", "QPushButton", "设置"},
          {"pushButton_3", "QPushButton", "保存"},
          {"pushButton_6", "QPushButton", "恢复出厂设置"}},
         {"SBUS通道设置", "跟踪方位修正", "跟踪俯仰修正", "吊舱方位转动", "吊舱俯仰转动",
          "红外调色板/激光测距", "视频循环切换", "拍照/录像", "跟踪", "红外变倍/可见光变倍", "吊舱工作模式",
          "摇杆", "三段开关", "二段开关"}},
        {"page_joy_stick",
         {{"checkBox_12", "QCheckBox", "启用摇杆"},
          {"checkBox_13", "QCheckBox", "方位取反"},
          {"checkBox_14", "QCheckBox", "俯仰取反"},
          {"horizontalSlider", "QSlider", nullptr}},
         {"灵敏度：", "按键 1", "按键 26"}},
        {"page_cmd",
         {{"textEdit", "QTextEdit", nullptr},
          {"textEdit_2", "QTextEdit", nullptr},
          {"comboBox_16", "QComboBox", nullptr},
          {"comboBox_17", "QComboBox", nullptr},
          {"lineEdit_10", "QLineEdit", ""},
          {"pushButton", "QPushButton", "发送"},
          {"pushButton_2", "QPushButton", "接收清屏"}},
         {"透传接收", "透传发送", "最近发送：", "载荷：", "载荷编号："}},
        {"page_update",
         {{"comboBox_11", "QComboBox", nullptr},
          {"pushButton_5", "QPushButton", "进入固件升级\n模式"},
          {"lineEdit_9", "QLineEdit", ""},
          {"pushButton_18", "QPushButton", "选择"},
          {"pushButton_20", "QPushButton", "开始"},
          {"progressBar", "QProgressBar", nullptr},
          {"label_72", "QLabel", nullptr},
          {"label_73", "QLabel", nullptr},
          {"textEdit_3", "QTextEdit", nullptr},
          {"pushButton_4", "QPushButton", "清屏"}},
         {"升级模块：", "烧写程序：", "进度：", "状态：", "状态信息："}},
        {"page_common",
         {{"pushButton_25", "QPushButton", "恢复出厂设置"}, {"pushButton_26", "QPushButton", "重启"}},
         {"扩展"}},
    };
    common_dlg dialog;
    Ui::dialogSettings form;
    form.setupUi(&dialog);
    for (const SettingsPage& expected : pages) {
        const auto* page = dialog.findChild<QWidget*>(QLatin1String(expected.page));
        ASSERT_NE(page, nullptr) << expected.page;
        QStringList texts;
        for (const QWidget* widget : page->findChildren<QWidget*>()) {
            texts << captionOf(widget);
            EXPECT_FALSE(widget->inherits("QMyCmdBtn") && form.page_osd != page)
                << qPrintable(widget->objectName());
        }
        for (const PageWidget& row : expected.widgets) {
            const auto* widget = page->findChild<QWidget*>(QLatin1String(row.name));
            ASSERT_NE(widget, nullptr) << expected.page << " " << row.name;
            EXPECT_TRUE(widget->inherits(row.type)) << row.name;
            if (row.text != nullptr) {
                EXPECT_EQ(widget->property("text").toString(), QString::fromUtf8(row.text)) << row.name;
            }
        }
        for (const QString& caption : expected.captions) {
            EXPECT_TRUE(texts.contains(caption)) << expected.page << " " << qPrintable(caption);
        }
    }
    EXPECT_EQ(form.horizontalSlider->maximum(), 20);
    EXPECT_EQ(form.progressBar->value(), 0);
    EXPECT_FALSE(form.progressBar->isTextVisible());
    EXPECT_EQ(form.textEdit_3->placeholderText(),
              QStringLiteral("1.选择升级模块;\n2.点击右侧按钮2次;\n3.选择升级文件;\n4.开始升级;"));
}

struct ChannelRow {
    const char* combo;
    const char* reverse;  // null: the lever has none
    const char* strip;
};

TEST(SettingsForm, RemoteControlRowsHaveTheirWidgets) {
    constexpr ChannelRow kRows[] = {
        {"comboBox", "checkBox_7", "widget_9"},     {"comboBox_2", "checkBox_8", "widget_12"},
        {"comboBox_3", "checkBox_5", "widget_15"},  {"comboBox_4", "checkBox_6", "widget_21"},
        {"comboBox_5", "checkBox_9", "widget_22"},  {"comboBox_6", nullptr, "widget_23"},
        {"comboBox_7", "checkBox_10", "widget_24"}, {"comboBox_8", nullptr, "widget_25"},
        {"comboBox_9", "checkBox_11", "widget_26"}, {"comboBox_10", nullptr, "widget_27"},
    };
    common_dlg dialog;
    Ui::dialogSettings form;
    form.setupUi(&dialog);
    for (const ChannelRow& row : kRows) {
        EXPECT_NE(form.page_control->findChild<QComboBox*>(QLatin1String(row.combo)), nullptr) << row.combo;
        const auto* strip = form.page_control->findChild<QWidget*>(QLatin1String(row.strip));
        ASSERT_NE(strip, nullptr) << row.strip;
        EXPECT_STREQ(strip->metaObject()->className(), "sbus_control");
        if (row.reverse == nullptr) {
            continue;
        }
        const auto* reverse = form.page_control->findChild<QAbstractButton*>(QLatin1String(row.reverse));
        ASSERT_NE(reverse, nullptr) << row.reverse;
        EXPECT_EQ(reverse->text(), QStringLiteral("反向"));
        EXPECT_FALSE(reverse->isChecked());
    }
}

}  // namespace
