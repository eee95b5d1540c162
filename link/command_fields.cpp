#include "link/command_fields.h"

#include <QButtonGroup>
#include <vector>

#include "app/config/my_app_config.h"
#include "forms/main_form.h"
#include "widgets/marked_row.h"

namespace {

// Items whose texts follow the language. start_index is chosen again at each change of language, without a
// command; -1 keeps the choice.
struct ComboTexts {
    QComboBox* MainForm::*box;
    int start_index;
    std::vector<const char*> texts;
};

const std::vector<ComboTexts>& comboTexts() {
    static const std::vector<ComboTexts> rows = {
        {&MainForm::palette,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "白热"), QT_TRANSLATE_NOOP("Korvath", "黑热"),
          QT_TRANSLATE_NOOP("Korvath", "蓝红黄"), QT_TRANSLATE_NOOP("Korvath", "紫红黄"),
          QT_TRANSLATE_NOOP("Korvath", "蓝绿红"), QT_TRANSLATE_NOOP("Korvath", "彩虹1"),
          QT_TRANSLATE_NOOP("Korvath", "彩虹2"), QT_TRANSLATE_NOOP("Korvath", "黑-红"),
          QT_TRANSLATE_NOOP("Korvath", "墨绿-红"), QT_TRANSLATE_NOOP("Korvath", "蓝绿红-粉"),
          QT_TRANSLATE_NOOP("Korvath", "混合色"), QT_TRANSLATE_NOOP("Korvath", "红头")}},
        {&MainForm::enhancement, -1, {QT_TRANSLATE_NOOP("Korvath", "无"), "1", "2", "3", "4", "5", "6", "7"}},
        {&MainForm::fog_level,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "关"), QT_TRANSLATE_NOOP("Korvath", "低"),
          QT_TRANSLATE_NOOP("Korvath", "中"), QT_TRANSLATE_NOOP("Korvath", "强")}},
        {&MainForm::load_enable,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "开启所有载荷电源"), QT_TRANSLATE_NOOP("Korvath", "开启伺服电源"),
          QT_TRANSLATE_NOOP("Korvath", "开启可见光电源"), QT_TRANSLATE_NOOP("Korvath", "开启红外电源"),
          QT_TRANSLATE_NOOP("Korvath", "开启激光电源"), QT_TRANSLATE_NOOP("Korvath", "开启跟踪器电源"),
          QT_TRANSLATE_NOOP("Korvath", "开启制冷机电源")}},
        {&MainForm::load_sleep,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "关闭所有载荷电源"), QT_TRANSLATE_NOOP("Korvath", "关闭伺服电源"),
          QT_TRANSLATE_NOOP("Korvath", "关闭可见光电源"), QT_TRANSLATE_NOOP("Korvath", "关闭红外电源"),
          QT_TRANSLATE_NOOP("Korvath", "关闭激光电源"), QT_TRANSLATE_NOOP("Korvath", "关闭跟踪器电源"),
          QT_TRANSLATE_NOOP("Korvath", "关闭制冷机电源")}},
        {&MainForm::display_mode,
         1,
         {QT_TRANSLATE_NOOP("Korvath", "红外"), QT_TRANSLATE_NOOP("Korvath", "可见光（广角）"),
          QT_TRANSLATE_NOOP("Korvath", "上下分屏"), QT_TRANSLATE_NOOP("Korvath", "画中画-红外"),
          QT_TRANSLATE_NOOP("Korvath", "画中画-可见光"), QT_TRANSLATE_NOOP("Korvath", "左右分屏"),
          QT_TRANSLATE_NOOP("Korvath", "可见光（长焦）")}},
        {&MainForm::osd_mode,
         2,
         {QT_TRANSLATE_NOOP("Korvath", "隐藏"), QT_TRANSLATE_NOOP("Korvath", "部分显示"),
          QT_TRANSLATE_NOOP("Korvath", "全部显示")}},
        {&MainForm::locate_mode,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "指引"), QT_TRANSLATE_NOOP("Korvath", "跟踪")}},
        {&MainForm::azimuth_mode,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "方位扫描"), QT_TRANSLATE_NOOP("Korvath", "方位锁定")}},
        {&MainForm::pitch_mode,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "俯仰扫描"), QT_TRANSLATE_NOOP("Korvath", "俯仰锁定")}},
    };
    return rows;
}

// Edits that a change of language sets back to their start: what was typed there is lost, which is meant.
struct EditStart {
    QLineEdit* MainForm::*edit;
    const char* text;
};
constexpr EditStart kEditStarts[] = {
    {&MainForm::pod_address_1, "192"},
    {&MainForm::pod_address_2, "168"},
    {&MainForm::pod_address_3, "1"},
    {&MainForm::pod_address_4, "160"},
    {&MainForm::template_width, "64"},
    {&MainForm::template_height, "64"},
    {&MainForm::region_x, "0"},
    {&MainForm::region_y, "0"},
    {&MainForm::scan_azimuth_centre, "0"},
    {&MainForm::scan_azimuth_range, "100"},
    {&MainForm::azimuth_speed, "5"},
    {&MainForm::pitch_speed, "5"},
    {&MainForm::scan_pitch_centre, "-15"},
    {&MainForm::scan_pitch_range, "50"},
    {&MainForm::focal_length, "50"},
};

void addNumbers(QComboBox* box, int first, int last) {
    box->clear();
    for (int i = first; i <= last; ++i) {
        box->addItem(QString::number(i));
    }
}

}  // namespace

CommandFields::CommandFields(const MainForm& form, QObject& owner)
    : m_form(form),
      m_reportedMode(new MarkedRow(*form.display_mode, [] { return tr("吊舱回报的当前模式"); })) {
    groupRadioButtons(owner);
    connectRate(owner);
    m_form.frame_mode->setChecked(true);
    showServoMode(true);
    onIlluminator(false);
}

void CommandFields::groupRadioButtons(QObject& owner) {
    const auto group = [&owner](std::initializer_list<QRadioButton*> buttons) {
        auto* together = new QButtonGroup(&owner);
        for (QRadioButton* button : buttons) {
            together->addButton(button);
        }
    };
    group({m_form.frame_mode, m_form.gyro_mode});
    // Each choice of its own, although both stand in one group box.
    group({m_form.detect_infrared, m_form.detect_visible});
    group({m_form.detect_usual, m_form.detect_region, m_form.detect_tiles});
}

void CommandFields::connectRate(QObject& owner) {
    QSlider* rate = m_form.rate;
    QObject::connect(m_form.rate_maximum, &QLineEdit::textChanged, &owner, [rate](const QString& text) {
        const int maximum = text.toInt();
        rate->setMaximum(maximum);
        rate->setValue(maximum / 2);
    });
    rate->setMinimum(0);
    rate->setPageStep(0);
}

void CommandFields::fillCombos(const MyAppConfig& config) {
    addNumbers(m_form.gyro_speed, 1, 10);
    addNumbers(m_form.visible_speed, 0, 7);
    addNumbers(m_form.range_period, 1, 5);
    m_form.template_size->clear();
    for (int code = 1; code <= 4; ++code) {
        m_form.template_size->addItem(QStringLiteral("%1 * %1").arg(8 << code), code);
    }
    for (const ComboTexts& row : comboTexts()) {
        QComboBox* box = m_form.*row.box;
        box->clear();
        for (const char* text : row.texts) {
            box->addItem(tr(text));
        }
    }
    m_form.palette->setCurrentIndex(config.ir_pseudo_color_band);
    m_form.visible_speed->setCurrentIndex(config.vl_zoom_level);
    m_form.range_period->setCurrentIndex(config.lrf_cycle);
    m_form.template_size->setCurrentIndex(config.template_type);
}

void CommandFields::fillEdits(const MyAppConfig& config) {
    m_form.rate_maximum->setText(QString::number(config.max_speed));
    m_form.guide_azimuth->setText(config.azimuth_speed);
    m_form.guide_pitch->setText(config.pitch_speed);
}

void CommandFields::retranslate() {
    for (const ComboTexts& row : comboTexts()) {
        QComboBox* box = m_form.*row.box;
        for (std::size_t i = 0; i < row.texts.size(); ++i) {
            box->setItemText(static_cast<int>(i), tr(row.texts[i]));
        }
        if (row.start_index >= 0) {
            box->setCurrentIndex(row.start_index);
        }
    }
    for (const EditStart& start : kEditStarts) {
        (m_form.*start.edit)->setText(QLatin1String(start.text));
    }
    showServoMode(m_form.frame_mode->isChecked());
}

void CommandFields::store(MyAppConfig& config) const {
    config.max_speed = m_form.rate_maximum->text().toInt();
    config.ir_pseudo_color_band = m_form.palette->currentIndex();
    config.vl_zoom_level = m_form.visible_speed->currentIndex();
    config.lrf_cycle = m_form.range_period->currentIndex();
    config.template_type = m_form.template_size->currentIndex();
}

void CommandFields::showReportedMode(int mode) { m_reportedMode->setRow(mode); }

void CommandFields::showServoFrame(bool two_axes) {
    m_form.two_axis_scan->setVisible(two_axes);
    m_form.ui.widget_scan_azimuth->setVisible(!two_axes);
    m_form.ui.widget_scan_pitch->setVisible(!two_axes);
}

void CommandFields::showServoMode(bool frame_mode) {
    m_form.centre->setText(frame_mode ? tr("归中") : tr("自动校准"));
    m_form.gyro_speed->setHidden(frame_mode);
}

void CommandFields::onAzimuthMode(int index) { m_form.azimuth_speed->setEnabled(index == 0); }

void CommandFields::onPitchMode(int index) { m_form.pitch_speed->setEnabled(index == 0); }

void CommandFields::onIlluminator(bool on) {
    m_form.illuminator_rate->setEnabled(on);
    m_form.illuminator_set->setEnabled(on);
}
