// What the controls of the two command pages hold: items, start values, texts of both languages.
#include <QComboBox>
#include <QLineEdit>
#include <vector>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "telemetry/telemetry_record.h"
#include "ui_korvath.h"

namespace {

// Items whose texts follow the language. start_index is chosen again at each change of language, without a
// command; -1 keeps the choice.
struct ComboTexts {
    QComboBox* Ui::KorvathClass::*box;
    int start_index;
    std::vector<const char*> texts;
};

const std::vector<ComboTexts>& comboTexts() {
    static const std::vector<ComboTexts> rows = {
        {&Ui::KorvathClass::comboBox_4,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "白热"), QT_TRANSLATE_NOOP("Korvath", "黑热"),
          QT_TRANSLATE_NOOP("Korvath", "蓝红黄"), QT_TRANSLATE_NOOP("Korvath", "紫红黄"),
          QT_TRANSLATE_NOOP("Korvath", "蓝绿红"), QT_TRANSLATE_NOOP("Korvath", "彩虹1"),
          QT_TRANSLATE_NOOP("Korvath", "彩虹2"), QT_TRANSLATE_NOOP("Korvath", "黑-红"),
          QT_TRANSLATE_NOOP("Korvath", "墨绿-红"), QT_TRANSLATE_NOOP("Korvath", "蓝绿红-粉"),
          QT_TRANSLATE_NOOP("Korvath", "混合色"), QT_TRANSLATE_NOOP("Korvath", "红头")}},
        {&Ui::KorvathClass::comboBox_5,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "无"), "1", "2", "3", "4", "5", "6", "7"}},
        {&Ui::KorvathClass::comboBox_7,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "关"), QT_TRANSLATE_NOOP("Korvath", "低"),
          QT_TRANSLATE_NOOP("Korvath", "中"), QT_TRANSLATE_NOOP("Korvath", "强")}},
        {&Ui::KorvathClass::comboBox_8,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "开启所有载荷电源"), QT_TRANSLATE_NOOP("Korvath", "开启伺服电源"),
          QT_TRANSLATE_NOOP("Korvath", "开启可见光电源"), QT_TRANSLATE_NOOP("Korvath", "开启红外电源"),
          QT_TRANSLATE_NOOP("Korvath", "开启激光电源"), QT_TRANSLATE_NOOP("Korvath", "开启跟踪器电源"),
          QT_TRANSLATE_NOOP("Korvath", "开启制冷机电源")}},
        {&Ui::KorvathClass::comboBox_9,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "关闭所有载荷电源"), QT_TRANSLATE_NOOP("Korvath", "关闭伺服电源"),
          QT_TRANSLATE_NOOP("Korvath", "关闭可见光电源"), QT_TRANSLATE_NOOP("Korvath", "关闭红外电源"),
          QT_TRANSLATE_NOOP("Korvath", "关闭激光电源"), QT_TRANSLATE_NOOP("Korvath", "关闭跟踪器电源"),
          QT_TRANSLATE_NOOP("Korvath", "关闭制冷机电源")}},
        {&Ui::KorvathClass::comboBox_10,
         1,
         {QT_TRANSLATE_NOOP("Korvath", "红外"), QT_TRANSLATE_NOOP("Korvath", "可见光（广角）"),
          QT_TRANSLATE_NOOP("Korvath", "上下分屏"), QT_TRANSLATE_NOOP("Korvath", "画中画-红外"),
          QT_TRANSLATE_NOOP("Korvath", "画中画-可见光"), QT_TRANSLATE_NOOP("Korvath", "左右分屏"),
          QT_TRANSLATE_NOOP("Korvath", "可见光（长焦）")}},
        {&Ui::KorvathClass::comboBox_11,
         2,
         {QT_TRANSLATE_NOOP("Korvath", "隐藏"), QT_TRANSLATE_NOOP("Korvath", "部分显示"),
          QT_TRANSLATE_NOOP("Korvath", "全部显示")}},
        {&Ui::KorvathClass::comboBox_13,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "指引"), QT_TRANSLATE_NOOP("Korvath", "跟踪")}},
        {&Ui::KorvathClass::comboBox_14,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "方位扫描"), QT_TRANSLATE_NOOP("Korvath", "方位锁定")}},
        {&Ui::KorvathClass::comboBox_15,
         -1,
         {QT_TRANSLATE_NOOP("Korvath", "俯仰扫描"), QT_TRANSLATE_NOOP("Korvath", "俯仰锁定")}},
    };
    return rows;
}

// Edits that a change of language sets back to their start: what was typed there is lost, which is meant.
struct EditStart {
    QLineEdit* Ui::KorvathClass::*edit;
    const char* text;
};
constexpr EditStart kEditStarts[] = {
    {&Ui::KorvathClass::lineEdit_4, "192"},  {&Ui::KorvathClass::lineEdit_5, "168"},
    {&Ui::KorvathClass::lineEdit_16, "1"},   {&Ui::KorvathClass::lineEdit_19, "160"},
    {&Ui::KorvathClass::lineEdit_6, "64"},   {&Ui::KorvathClass::lineEdit_7, "64"},
    {&Ui::KorvathClass::lineEdit_9, "0"},    {&Ui::KorvathClass::lineEdit_8, "0"},
    {&Ui::KorvathClass::lineEdit_12, "0"},   {&Ui::KorvathClass::lineEdit_13, "100"},
    {&Ui::KorvathClass::lineEdit_14, "5"},   {&Ui::KorvathClass::lineEdit_15, "5"},
    {&Ui::KorvathClass::lineEdit_11, "-15"}, {&Ui::KorvathClass::lineEdit_10, "50"},
    {&Ui::KorvathClass::lineEdit_21, "50"},
};

void addNumbers(QComboBox* box, int first, int last) {
    box->clear();
    for (int i = first; i <= last; ++i)
        box->addItem(QString::number(i));
}

}  // namespace

void Korvath::fillCommandCombos() {
    addNumbers(ui->comboBox, 1, 10);
    addNumbers(ui->comboBox_2, 0, 7);
    addNumbers(ui->comboBox_6, 1, 5);
    ui->comboBox_3->clear();
    for (int code = 1; code <= 4; ++code) {
        ui->comboBox_3->addItem(QStringLiteral("%1 * %1").arg(8 << code), code);
    }
    for (const ComboTexts& row : comboTexts()) {
        QComboBox* box = ui.get()->*row.box;
        box->clear();
        for (const char* text : row.texts)
            box->addItem(tr(text));
    }
    ui->comboBox_4->setCurrentIndex(config().ir_pseudo_color_band);
    ui->comboBox_2->setCurrentIndex(config().vl_zoom_level);
    ui->comboBox_6->setCurrentIndex(config().lrf_cycle);
    ui->comboBox_3->setCurrentIndex(config().template_type);
}

void Korvath::fillCommandFields() {
    ui->lineEdit_3->setText(QString::number(config().max_speed));
    ui->lineEdit->setText(config().azimuth_speed);
    ui->lineEdit_2->setText(config().pitch_speed);
}

void Korvath::retranslateCommands() {
    for (const ComboTexts& row : comboTexts()) {
        QComboBox* box = ui.get()->*row.box;
        for (std::size_t i = 0; i < row.texts.size(); ++i) {
            box->setItemText(static_cast<int>(i), tr(row.texts[i]));
        }
        if (row.start_index >= 0) box->setCurrentIndex(row.start_index);
    }
    for (const EditStart& start : kEditStarts)
        (ui.get()->*start.edit)->setText(QLatin1String(start.text));
    retranslateStatefulButtons();
}

void Korvath::retranslateStatefulButtons() {
    on_frame_sel_changed(ui->radioButton_13->isChecked());
    const bool recording = ((m_telemetry.status_word_a >> sorvane::kRecordingBit) & 1) != 0;
    ui->pushButton_132->setText(recording ? tr("停止录像") : tr("开始录像"));
}
