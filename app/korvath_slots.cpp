// The fixed operations and slots: each goes to the part that does it.
#include "analysis/qmyplotdlg.h"
#include "app/config/my_app_config.h"
#include "app/korvath_parts.h"
#include "link/control_names.h"
#include "settings/player_settings_dlg.h"
#include "telemetry/injection.h"
#include "video/recording_tips.h"
#include "widgets/common_dlg.h"

namespace control = sorvane::control;

namespace {

void present(QWidget* dialog) {
    dialog->show();
    dialog->raise();
}

}  // namespace

void Korvath::sendCommand4(std::uint8_t code, std::uint8_t p1, std::uint8_t p2, std::uint8_t p3,
                           std::uint8_t p4) {
    m_parts->sender->frames().sendCommand4(code, p1, p2, p3, p4);
}
void Korvath::sendCommandWord(std::uint8_t code, std::int16_t a, std::int16_t b) {
    m_parts->sender->frames().sendCommandWord(code, a, b);
}
void Korvath::sendCommandRate(std::uint8_t frameCode, std::uint8_t code, std::int16_t x, std::int16_t y) {
    m_parts->sender->frames().sendCommandRate(frameCode, code, x, y);
}
void Korvath::sendCommandPayload(std::uint8_t code, const void* data, int n) {
    m_parts->sender->frames().sendCommandPayload(code, data, n);
}
void Korvath::sendVariableFrame(std::uint16_t code, const void* data, int n) {
    m_parts->sender->frames().sendVariableFrame(code, data, n);
}
void Korvath::sendFixedFrame(sorvane::FixedCommandFrame& frame) {
    m_parts->sender->frames().sendFixedFrame(frame);
}
void Korvath::stopCommand(std::uint16_t code) { m_parts->sender->frames().stopCommand(code); }
void Korvath::geoHoldBegins(const void* who, std::uint8_t code) {
    m_parts->sender->movements().holdBegins(who, code);
}
void Korvath::geoHoldEnded(const void* who) { m_parts->sender->movements().holdEnded(who); }
void Korvath::applySendMode() { m_parts->sender->applySendMode(); }
void Korvath::silenceLink() { m_parts->sender->silence(); }
bool Korvath::singleMode() const { return m_parts->sender->singleMode(); }

void Korvath::setZoom(int win, int cmd) { m_parts->commands->setZoom(win, cmd); }
void Korvath::trackPoint(std::int16_t x, std::int16_t y) { m_parts->commands->trackPoint(x, y); }
void Korvath::stopTracking() { m_parts->commands->stopTracking(); }
void Korvath::toggleTracking() { m_parts->commands->toggleTracking(); }
void Korvath::zoomInBySource() { m_parts->commands->zoomBySource(true); }
void Korvath::zoomOutBySource() { m_parts->commands->zoomBySource(false); }
void Korvath::osdNext() { m_parts->commands->osdNext(); }
void Korvath::startStopTimer() { m_parts->commands->startStopTimer(); }

void Korvath::on_js_btn_down_ex(int button, bool plain) { m_parts->stick->buttonDown(button, plain); }
void Korvath::on_js_btn_up_ex(int button) { m_parts->stick->buttonUp(button); }
void Korvath::on_js_direction(int index, float offset, bool yaw_reverse, bool pitch_reverse, float speed) {
    m_parts->stick->direction(index, offset, yaw_reverse, pitch_reverse, speed);
}
void Korvath::on_js_direction_reset(int index) { m_parts->stick->directionReset(index); }

bool Korvath::noSignalTest(int window_id) const {
    return (window_id == 1 && !no_signal1) || (window_id == 2 && !no_signal2);
}
void Korvath::beginSlew(int window_id) { m_parts->commands->slewBegins(window_id); }
void Korvath::slew(std::int16_t rate_x, std::int16_t rate_y) { m_parts->commands->slew(rate_x, rate_y); }
void Korvath::stopSlew(int window_id) { m_parts->commands->slewEnded(window_id); }
void Korvath::middlePressed() { m_parts->commands->videoSwitchPressed(); }
void Korvath::middleReleased() { m_parts->commands->videoSwitchReleased(); }
void Korvath::showDragRing(const QPoint& centre) { m_parts->marks->showRing(centre); }
void Korvath::showDragDot(const QPoint& centre) { m_parts->marks->showDot(centre); }
void Korvath::hideDragMarks() { m_parts->marks->hide(); }
bool Korvath::dragUnderWay() const { return ui->videoWin1->dragUnderWay(); }
void Korvath::placeTips() {
    placeTip({m_tip1, *ui->videoWin1, playing1, snapping1, recording1});
    placeTip({m_tip2, *ui->videoWin2, playing2, snapping2, recording2});
}

// Every slot begins with it, on its way to the part.
Korvath::Parts& Korvath::slot(const char* name) const {
    qDebug("%s", name);
    return *m_parts;
}

void Korvath::OnFileSettings() {
    slot(__func__);
    present(m_settings);
    m_settings->activateWindow();
}
void Korvath::OnClickedVideoWin1() {
    slot(__func__);
    applyViewMode(0);
}
void Korvath::OnClickedVideoWin2() {
    slot(__func__);
    applyViewMode(1);
}
void Korvath::OnClickedVideoWinLR() {
    slot(__func__);
    applyViewMode(2);
}
void Korvath::OnClickedVideoWinTB() {
    slot(__func__);
    applyViewMode(3);
}
void Korvath::OnUdpConnect() { slot(__func__).link->toggleNetwork(); }
void Korvath::OpenSerialPort() { slot(__func__).link->toggleSerial(); }
void Korvath::RefreshSerialPortList() { slot(__func__).link->refreshSerialPorts(); }
void Korvath::OnNetControlUdpChanged(bool checked) { slot(__func__).link->onNetKindChanged(checked); }
void Korvath::OnButtonCtrlPaneClicked() {
    slot(__func__).panes->toggleControlPages();
    placePanes();
}
void Korvath::OnButtonStatPaneClicked() { slot(__func__).panes->toggleStatPane(); }
void Korvath::OnOpenVideo1() { slot(__func__).channel1->toggle(); }
void Korvath::OnOpenVideo1_manual() {
    slot(__func__);
    OnOpenVideo1();
}
void Korvath::OnOpenVideo2() { slot(__func__).channel2->toggle(); }
int Korvath::RecAvi(int handle, int format) { return m_parts->recorder->begin(handle, format); }
void Korvath::OnRecordVideo() { slot(__func__).recorder->onAction(); }
void Korvath::OnSingleSnap() { slot(__func__).stills->takeSingle(); }
void Korvath::OnContSnapEnd(const QString& path) {
    snap_file = path;
    slot(__func__).notices->showSnapshot();
}
void Korvath::OnRecAviEnd() { slot(__func__).notices->showRecording(); }
void Korvath::OnOpenAviFile() { slot(__func__).replay->onAction(); }
void Korvath::OnStartReplay() { slot(__func__).replay->onPlayButton(); }
void Korvath::OnStopReplay() { slot(__func__).replay->onStopButton(); }
void Korvath::OnReplayRefreshTimeout() { slot(__func__).replay->onTick(); }
void Korvath::on_btn_setting_telemetry_info() { takeTypedData(*slot(__func__).telemetry_form, m_navBlock); }

void Korvath::on_frame_sel_changed(bool checked) { slot(__func__).fields->showServoMode(checked); }
void Korvath::on_clr_changed(int i) { slot(__func__).commands->chosen(control::kPalette, i); }
void Korvath::on_template_changed(int i) { slot(__func__).commands->chosen(control::kTemplateSize, i); }
void Korvath::on_fog_changed(int i) { slot(__func__).commands->chosen(control::kFogLevel, i); }
void Korvath::on_dde_changed(int i) { slot(__func__).commands->chosen(control::kEnhancement, i); }
void Korvath::on_zh_enable_changed(int i) { slot(__func__).commands->chosen(control::kLoadEnable, i); }
void Korvath::on_zh_sleep_changed(int i) { slot(__func__).commands->chosen(control::kLoadSleep, i); }
void Korvath::on_video_mode_changed(int i) { slot(__func__).commands->chosen(control::kDisplayMode, i); }
void Korvath::on_osd_changed(int i) { slot(__func__).commands->chosen(control::kOsdMode, i); }
void Korvath::on_locate_mode_changed(int i) { slot(__func__).commands->chosen(control::kLocateMode, i); }
void Korvath::on_scan_mode_changed_x(int index) { slot(__func__).fields->onAzimuthMode(index); }
void Korvath::on_scan_mode_changed_y(int index) { slot(__func__).fields->onPitchMode(index); }
void Korvath::on_toggled_ai(bool on) { slot(__func__).commands->switched(control::kDetectionBoxes, on); }
void Korvath::on_toggled_li(bool on) {
    slot(__func__).fields->onIlluminator(on);
    m_parts->commands->switched(control::kIlluminator, on);
}
void Korvath::on_toggled_dzd(bool on) { slot(__func__).commands->switched(control::kNightMode, on); }
void Korvath::on_toggled_dzwx(bool on) { slot(__func__).commands->switched(control::kStabilisation, on); }
void Korvath::on_toggled_auto_track(bool on) { slot(__func__).commands->switched(control::kAutoTrack, on); }
void Korvath::on_toggled_cw(bool on) { slot(__func__).commands->switched(control::kWindowDemist, on); }

// An index out of range is ignored by the stack, so there is no wrap.
void Korvath::OnButtonPageNextClicked() {
    slot(__func__).form.status_pages->setCurrentIndex(m_parts->form.status_pages->currentIndex() + 1);
}
void Korvath::OnButtonPagePrevClicked() {
    slot(__func__).form.status_pages->setCurrentIndex(m_parts->form.status_pages->currentIndex() - 1);
}

// Kept for the program's life once it has been opened.
void Korvath::OnActionChartAnaTriggered() {
    slot(__func__);
    if (m_plotDlg == nullptr) {
        m_plotDlg = new QMyPlotDlg(*this, this);
    }
    if (!m_plotDlg->isVisible()) {
        m_plotDlg->show();
    }
    m_plotDlg->raise();
    m_plotDlg->retranslate();
}
void Korvath::toggleTelemetrySaving() { m_parts->telemetry_log->toggle(); }
int Korvath::SaveTelemParams() { return m_parts->telemetry_log->saveRaw(m_telemetry); }
int Korvath::SaveTelemIndividuals() { return m_parts->telemetry_log->saveTable(m_telemetry); }

void Korvath::on_action_telemetry_info() {
    slot(__func__);
    ui_telemetry_info->retranslateUi(m_telemetryDlg);
    present(m_telemetryDlg);
}
void Korvath::on_action_connection() {
    slot(__func__);
    ui_connection->retranslateUi(m_connectionDlg);
    showConnectionButtons();
    present(m_connectionDlg);
}
void Korvath::showConnectionButtons() {
    m_parts->streams->showOpen(playing1, playing2);
    m_parts->link->refreshButtons();
}
void Korvath::setServoFrame(int platform_type) { m_parts->fields->showServoFrame(platform_type == 1); }
