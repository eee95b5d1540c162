// The two command pages of the window: what their controls hold, and what each of them sends.
#include <QButtonGroup>
#include <QComboBox>
#include <QDebug>
#include <QLineEdit>
#include <QRadioButton>
#include <QSlider>
#include <algorithm>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "input/qmycmdbtn.h"
#include "link/command_catalogue.h"
#include "link/control_form.h"
#include "settings/player_settings_dlg.h"
#include "ui_korvath.h"
#include "ui_settings.h"
#include "widgets/SwitchControl/switch_control.h"

using sorvane::ControlKind;
using sorvane::ServoMode;

namespace {

constexpr int kStopMs = 100;
constexpr int kZoomStopMs = 200;

}  // namespace

void Korvath::runControl(ControlKind kind, const QString& object, int value) {
    const ServoMode servo = ui->radioButton_13->isChecked() ? ServoMode::kFrame : ServoMode::kGyro;
    const QByteArray name = object.toUtf8();
    const sorvane::CatalogueRow* row = sorvane::findControl(kind, name.constData(), servo);
    if (row == nullptr) return;
    const QWidget* page = kind == ControlKind::kSettingsButton ? m_settings->ui->page_osd : ui->tabWidget;
    const ControlForm controls(*page, m_localClock);
    const sorvane::Command command = sorvane::commandOf(*row, controls, value);
    for (const auto& rewrite : command.rewrites) {
        if (rewrite.edit != nullptr) controls.setNumber(rewrite.edit, rewrite.value);
    }
    sorvane::send(*m_sender, command);
    if (row->starts_stop_timer) startStopTimer();
}

void Korvath::dispatchCommand(QObject* sender) {
    if (sender == nullptr) return;
    // Names repeat between the forms, so those of the settings dialog are a kind of their own.
    const auto* widget = qobject_cast<QWidget*>(sender);
    const bool in_settings = widget != nullptr && m_settings->isAncestorOf(widget);
    runControl(in_settings ? ControlKind::kSettingsButton : ControlKind::kButton, sender->objectName(), 0);
}

void Korvath::buildServoModeGroup() {
    auto* group = new QButtonGroup(this);
    group->addButton(ui->radioButton_13);
    group->addButton(ui->radioButton_14);
    ui->radioButton_13->setChecked(true);
    connect(ui->radioButton_13, &QRadioButton::toggled, this, &Korvath::on_frame_sel_changed);
    on_frame_sel_changed(true);
}

void Korvath::setupCommands() {
    const auto onChoice = [this](QComboBox* box, void (Korvath::*slot)(int)) {
        connect(box, QOverload<int>::of(&QComboBox::activated), this, slot);
    };
    onChoice(ui->comboBox_4, &Korvath::on_clr_changed);
    onChoice(ui->comboBox_5, &Korvath::on_dde_changed);
    onChoice(ui->comboBox_3, &Korvath::on_template_changed);
    onChoice(ui->comboBox_7, &Korvath::on_fog_changed);
    onChoice(ui->comboBox_8, &Korvath::on_zh_enable_changed);
    onChoice(ui->comboBox_9, &Korvath::on_zh_sleep_changed);
    onChoice(ui->comboBox_10, &Korvath::on_video_mode_changed);
    onChoice(ui->comboBox_11, &Korvath::on_osd_changed);
    onChoice(ui->comboBox_13, &Korvath::on_locate_mode_changed);
    onChoice(ui->comboBox_14, &Korvath::on_scan_mode_changed_x);
    onChoice(ui->comboBox_15, &Korvath::on_scan_mode_changed_y);

    connect(ui->widget_3, &SwitchControl::toggled, this, &Korvath::on_toggled_ai);
    connect(ui->widget_81, &SwitchControl::toggled, this, &Korvath::on_toggled_li);
    connect(ui->widget, &SwitchControl::toggled, this, &Korvath::on_toggled_dzd);
    connect(ui->widget_2, &SwitchControl::toggled, this, &Korvath::on_toggled_dzwx);
    connect(ui->widget_4, &SwitchControl::toggled, this, &Korvath::on_toggled_auto_track);
    connect(ui->widget_8, &SwitchControl::toggled, this, &Korvath::on_toggled_cw);

    connect(ui->lineEdit_3, &QLineEdit::textChanged, this, [this](const QString& text) {
        const int maximum = text.toInt();
        ui->horizontalSlider->setMaximum(maximum);
        ui->horizontalSlider->setValue(maximum / 2);
    });
    ui->horizontalSlider->setMinimum(0);
    ui->horizontalSlider->setPageStep(0);

    // Each choice of its own, although both stand in one group box.
    auto* sources = new QButtonGroup(this);
    for (QRadioButton* b : {ui->radioButton_15, ui->radioButton_16})
        sources->addButton(b);
    auto* methods = new QButtonGroup(this);
    for (QRadioButton* b : {ui->radioButton_17, ui->radioButton_18, ui->radioButton_19})
        methods->addButton(b);

    ui->lineEdit_211->setEnabled(false);
    ui->pushButton_1571->setEnabled(false);
}

void Korvath::on_frame_sel_changed(bool checked) {
    ui->pushButton_24->setText(checked ? tr("归中") : tr("自动校准"));
    ui->comboBox->setHidden(checked);
}

void Korvath::on_clr_changed(int index) {
    runControl(ControlKind::kCombo, QStringLiteral("comboBox_4"), index);
}
void Korvath::on_dde_changed(int index) {
    runControl(ControlKind::kCombo, QStringLiteral("comboBox_5"), index);
}
void Korvath::on_template_changed(int index) {
    runControl(ControlKind::kCombo, QStringLiteral("comboBox_3"), index);
}
void Korvath::on_fog_changed(int index) {
    runControl(ControlKind::kCombo, QStringLiteral("comboBox_7"), index);
}
void Korvath::on_zh_enable_changed(int index) {
    runControl(ControlKind::kCombo, QStringLiteral("comboBox_8"), index);
}
void Korvath::on_zh_sleep_changed(int index) {
    runControl(ControlKind::kCombo, QStringLiteral("comboBox_9"), index);
}
void Korvath::on_video_mode_changed(int index) {
    runControl(ControlKind::kCombo, QStringLiteral("comboBox_10"), index);
}
void Korvath::on_osd_changed(int index) {
    runControl(ControlKind::kCombo, QStringLiteral("comboBox_11"), index);
}
void Korvath::on_locate_mode_changed(int index) {
    runControl(ControlKind::kCombo, QStringLiteral("comboBox_13"), index);
}

// A locked axis has no speed. Nothing is sent before the scan runs.
void Korvath::on_scan_mode_changed_x(int index) {
    ui->lineEdit_14->setEnabled(index == 0);
}
void Korvath::on_scan_mode_changed_y(int index) {
    ui->lineEdit_15->setEnabled(index == 0);
}

void Korvath::on_toggled_ai(bool on) {
    runControl(ControlKind::kSwitch, QStringLiteral("widget_3"), on ? 1 : 0);
}
void Korvath::on_toggled_li(bool on) {
    ui->lineEdit_211->setEnabled(on);
    ui->pushButton_1571->setEnabled(on);
    runControl(ControlKind::kSwitch, QStringLiteral("widget_81"), on ? 1 : 0);
}
void Korvath::on_toggled_dzd(bool on) {
    runControl(ControlKind::kSwitch, QStringLiteral("widget"), on ? 1 : 0);
}
void Korvath::on_toggled_dzwx(bool on) {
    runControl(ControlKind::kSwitch, QStringLiteral("widget_2"), on ? 1 : 0);
}
void Korvath::on_toggled_auto_track(bool on) {
    runControl(ControlKind::kSwitch, QStringLiteral("widget_4"), on ? 1 : 0);
}
void Korvath::on_toggled_cw(bool on) {
    runControl(ControlKind::kSwitch, QStringLiteral("widget_8"), on ? 1 : 0);
}

void Korvath::setZoom(int win, int cmd) {
    qDebug("setZoom, win: %d, cmd: %d", win, cmd);
    if (m_linkState == LINK_NONE) return;
    zoomUntilQuiet(sorvane::zoomCommand(win, cmd, m_telemetry.display_mode));
}

// Successive notches keep the zoom running; it stops when the last timer has expired.
void Korvath::zoomUntilQuiet(const sorvane::Command& command) {
    if (command.kind == sorvane::Command::Kind::kNone) return;
    sorvane::send(*m_sender, command);
    m_zoomTimers.append(startTimer(kZoomStopMs, Qt::CoarseTimer));
}

bool Korvath::onZoomTimer(int id) {
    if (!m_zoomTimers.removeOne(id)) return false;
    killTimer(id);
    if (m_zoomTimers.isEmpty()) stopCommand(0);
    return true;
}

void Korvath::startStopTimer() {
    killIfRunning(m_stopTimer);
    m_stopTimer = startTimer(kStopMs, Qt::CoarseTimer);
}

void Korvath::onStopTimer() {
    killTimer(m_stopTimer);
    m_stopTimer = 0;
    stopCommand(0);
}

void Korvath::trackPoint(std::int16_t x, std::int16_t y) {
    sendCommandWord(sorvane::CMD_TRACK_POINT, x, y);
}

void Korvath::stopTracking() {
    sendCommand4(sorvane::CMD_TRACK_STOP, 0, 0, 0, 0);
    startStopTimer();
}

void Korvath::toggleTracking() {
    if (m_tracking) {
        stopTracking();
    } else {
        trackPoint(0, 0);
    }
}

void Korvath::zoomInBySource() {
    sorvane::send(*m_sender, sorvane::zoomBySourceCommand(true, m_telemetry.display_mode));
}

void Korvath::zoomOutBySource() {
    sorvane::send(*m_sender, sorvane::zoomBySourceCommand(false, m_telemetry.display_mode));
}

void Korvath::osdNext() {
    static int counter = -1;
    ++counter;
    const int rows = ui->comboBox_11->count();
    if (rows > 0) on_osd_changed(counter % rows);
}

// A command that still stands must end on the wire before the timers die: in periodic mode the release takes
// the tick that ends the command and one that shows what remains.
void Korvath::releaseHeldButtons() {
    for (QMyCmdBtn* button : findChildren<QMyCmdBtn*>())
        button->endHold();
    ui->videoWin1->endHold();
    ui->videoWin2->endHold();
    const bool stop_pending = m_stopTimer > 0 || !m_zoomTimers.isEmpty();
    killIfRunning(m_stopTimer);
    m_stopTimer = 0;
    for (const int id : m_zoomTimers)
        killIfRunning(id);
    m_zoomTimers.clear();
    if (stop_pending) stopCommand(0);
    const bool standing = m_frame.code != 0 || m_frame.rate_x != 0 || m_frame.rate_y != 0;
    if (standing && m_frameRelease && !singleMode() && m_linkState != LINK_NONE) {
        onPeriodTick();
        onPeriodTick();
    }
}
