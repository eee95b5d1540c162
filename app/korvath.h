// The main window: the fixed names of the station, its life cycle, and two tables by which events and timers
// reach the parts that handle them.
#pragma once

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPoint>
#include <QRect>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>

#include "analysis/plot_owner.h"
#include "app/events/event_table.h"
#include "link/frames.h"
#include "link/link_state.h"
#include "link/nav_block.h"
#include "map/map_owner.h"
#include "telemetry/telemetry_record.h"
#include "video/picture_owner.h"

class MyAppConfig;
class MyCompNotifyDlg;
class MyTipDialog;
class MyTransDlg;
class PlayerSettingsDlg;
class QAudioOutput;
class QIODevice;
class QLabel;
class QMapWidget;
class QMyEvent;
class QMyPlotDlg;
class QPushButton;
class QTimer;
class QToolButton;
class common_dlg;
struct FrameParcel;

namespace Ui {
class KorvathClass;
class connection;
class sei_info;
class telemetry_info;
}  // namespace Ui

// One object a process, created by main; lives on the GUI thread, and every member is used on that thread
// alone unless its declaration says otherwise. What an operation does is told by the part that it forwards
// to.
class Korvath : public QMainWindow, public PictureOwner, public PlotOwner, public MapOwner {
    Q_OBJECT

public:
    explicit Korvath(QWidget* parent = nullptr);
    ~Korvath() override;

    // The two start-up stages, run once by main in this order after the constructor.
    void initFirstStage();
    void initSecondStage();

    // The display is gone and the process ends: stops leave, the configuration is saved as it stands in
    // memory. Touches no widget.
    void abandon();

    bool event(QEvent* e) override;
    bool eventFilter(QObject* obj, QEvent* e) override;

    MyAppConfig& config() const;
    Ui::KorvathClass& form() const { return *ui; }

    // The only ways to the pod; see link/frame_sender.h.
    void sendCommand4(std::uint8_t code, std::uint8_t p1, std::uint8_t p2, std::uint8_t p3, std::uint8_t p4);
    void sendCommandWord(std::uint8_t code, std::int16_t a, std::int16_t b);
    void sendCommandRate(std::uint8_t frameCode, std::uint8_t code, std::int16_t x, std::int16_t y);
    void sendCommandPayload(std::uint8_t code, const void* data, int n) override;
    void sendVariableFrame(std::uint16_t code, const void* data, int n);
    void sendFixedFrame(sorvane::FixedCommandFrame& frame);
    void stopCommand(std::uint16_t code);
    void applySendMode();
    void silenceLink();
    bool singleMode() const;

    // Helpers of the gestures, the stick and the map; see link/command_pages.h.
    void setZoom(int win, int cmd) override;
    void trackPoint(std::int16_t x, std::int16_t y) override;
    void stopTracking() override;
    void toggleTracking();
    void zoomInBySource();
    void zoomOutBySource();
    void osdNext();
    int linkState() const override { return m_linkState; }
    void startStopTimer();

    // What happens on the game controller; see input/stick_panel.h.
    void on_js_btn_down_ex(int button, bool plain);
    void on_js_btn_up_ex(int button);
    void on_js_direction(int index, float offset, bool yaw_reverse, bool pitch_reverse, float speed);
    void on_js_direction_reset(int index);

    // For the video widgets; see video/picture_owner.h.
    bool noSignalTest(int window_id) const override;
    int frameWidth() const override { return frame_width; }
    int frameHeight() const override { return frame_height; }
    bool edgeResizing() const override { return m_hitEdge != 0; }
    bool edgeGesture(const QPoint& global) const override;
    void beginSlew(int window_id) override;
    void slew(std::int16_t rate_x, std::int16_t rate_y) override;
    void stopSlew(int window_id) override;
    void middlePressed() override;
    void middleReleased() override;
    void showDragRing(const QPoint& centre) override;
    void showDragDot(const QPoint& centre) override;
    void hideDragMarks() override;
    void placeTips() override;
    // A drag on the first picture is under way; throttles the variable frames.
    bool dragUnderWay() const;

    // For the maps; see map/map_owner.h.
    void geoHoldBegins(const void* who, std::uint8_t code) override;
    void geoHoldEnded(const void* who) override;
    bool onWindowEdge(const QPoint& global) const override { return hitEdge(global) != 0; }
    QWidget* dialogParent() override { return this; }

    // theme: 0 day, 1 night.
    void applyTheme(int theme);
    void retranslate();
    void placePanes();
    // Edges of the window within 5 pixels of a global point: bit 0 top, 1 left, 2 right, 3 bottom.
    int hitEdge(const QPoint& global) const;
    // 0 "三轴", 1 "两轴": shows the widgets of the chosen servo frame and hides the others.
    void setServoFrame(int platform_type);
    void refreshStatus();
    // View mode 0 to 3: window 1, window 2, side by side, one above the other.
    void applyViewMode(int mode);
    // Telemetry saving; see telemetry/telemetry_log.h.
    void toggleTelemetrySaving() override;
    bool savingTelemetry() const override { return m_saving; }
    int SaveTelemParams();
    int SaveTelemIndividuals();
    // Begins a recording of a stream; format 1 MP4, 0 raw. 0, or -1 when its directory cannot be made.
    int RecAvi(int handle, int format);

public slots:
    void OnFileSettings();
    void OnClickedVideoWin1();
    void OnClickedVideoWin2();
    void OnUdpConnect();
    void OnClickedVideoWinLR();
    void OnClickedVideoWinTB();
    void OnButtonCtrlPaneClicked();
    void OnButtonStatPaneClicked();
    void OnButtonPageNextClicked();
    void OnButtonPagePrevClicked();
    void OnOpenVideo1();
    void OnOpenVideo1_manual();
    void OnOpenVideo2();
    void RefreshSerialPortList();
    void OpenSerialPort();
    void OnOpenAviFile();
    void OnRecordVideo();
    void OnSingleSnap();
    void OnStartReplay();
    void OnStopReplay();
    void OnReplayRefreshTimeout();
    void OnActionChartAnaTriggered();
    void on_action_telemetry_info();
    void on_action_connection();
    void OnContSnapEnd(const QString& path);
    void OnRecAviEnd();
    void OnNetControlUdpChanged(bool checked);
    void on_btn_setting_telemetry_info();
    void on_frame_sel_changed(bool checked);
    void on_clr_changed(int index);
    void on_template_changed(int index);
    void on_fog_changed(int index);
    void on_dde_changed(int index);
    void on_zh_enable_changed(int index);
    void on_zh_sleep_changed(int index);
    void on_video_mode_changed(int index);
    void on_osd_changed(int index);
    void on_locate_mode_changed(int index);
    void on_scan_mode_changed_x(int index);
    void on_scan_mode_changed_y(int index);
    void on_toggled_ai(bool on);
    void on_toggled_li(bool on);
    void on_toggled_dzd(bool on);
    void on_toggled_dzwx(bool on);
    void on_toggled_auto_track(bool on);
    void on_toggled_cw(bool on);

protected:
    void timerEvent(QTimerEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void moveEvent(QMoveEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;
    void closeEvent(QCloseEvent* e) override;
    void showEvent(QShowEvent* e) override;

private:
    // Tests reach the window's fields by this one door.
    friend struct KorvathAccess;

    // Life cycle: korvath.cpp.
    void buildTitleBar();
    void setupDialogs();
    void firstShow();
    void autoOpen();
    void showConnectionButtons();

    // Logs a slot's own name.
    struct Parts;  // app/korvath_parts.h
    Parts& slot(const char* name) const;

    // Which part gets what, which signal reaches which slot: korvath_wiring.cpp.
    void buildParts();
    void buildMaps();
    void buildConfiguredParts();
    void buildRecording();
    void buildPulse();
    void buildStick();
    void connectWindow();
    void connectConnectionDialog();
    void connectCommands();
    void connectSettings();

    // Events and timers: korvath_events.cpp.
    struct EventRow;
    struct TimerRow;
    static const EventRow* eventRow(int number);
    void dispatchCustomEvent(QEvent* e);
    // Frees the payload of every event still posted, without handling one.
    void drainEvents();
    void onCommandButtonDown(QMyEvent* e);
    void onCommandButtonUp(QMyEvent* e);
    void onReplayStart(QMyEvent* e);
    void onReplayEnd(QMyEvent* e);
    void onTelemetry(QMyEvent* e);
    void onLinkFrame(QMyEvent* e);
    void onInsFrame(QMyEvent* e);
    void onVideoFrame(QMyEvent* e);
    void onNavBlock(QMyEvent* e);
    void passOn(QMyEvent* e);
    bool onRecSplitTimer();
    bool onFrameTimer();
    bool onTick();
    bool onPeriodTick();
    bool onNavTick();
    bool onTelemFileTimer();
    bool onStopTimer();
    bool onBlinkTimer();
    bool onPaneTimer();
    bool onVideoCheckTimer();
    void followHover(QEvent* e);
    void filterResize(QObject* obj);
    void filterMousePress(QObject* obj, QEvent* e);
    void setFrameVisible(bool visible);

    // --- fixed state fields, in their order ---
    CommandTimerList m_zoomTimers;  // pending 200 ms stop timers of setZoom
    std::unique_ptr<Ui::KorvathClass> ui;
    PlayerSettingsDlg* m_settings = nullptr;
    MyTransDlg* m_stateTab = nullptr;
    MyTransDlg* m_ctrlPane = nullptr;
    MyTransDlg* m_ctrlSelect = nullptr;
    QPushButton* m_btnStatPane = nullptr;
    QPushButton* m_btnCtrlPane = nullptr;
    QLabel* m_statusVideo = nullptr;
    QLabel* m_statusLink = nullptr;
    sorvane::FixedCommandFrame m_frame;
    int m_periodTimer = -1;
    int m_linkHandle = -1;
    int m_insHandle = -1;
    bool m_frameRelease = true;
    int m_navTimer = -1;
    std::uint16_t m_lastCode = 0;
    QElapsedTimer m_sendClock;
    int m_paneTimer = 0;
    sorvane::NavBlock m_navBlock;
    int m_tickTimer = 0;
    bool m_tracking = false;
    bool playing1 = false, playing2 = false;
    bool recording1 = false, recording2 = false;
    bool snapping1 = false, snapping2 = false;
    bool no_signal1 = true, no_signal2 = true;
    int m_replayState = 0;  // 0 none, 1 playing, 2 paused
    std::int32_t m_linkState = kLinkNone;
    sorvane::TelemetryRecord m_telemetry;
    MyTransDlg* m_statPane = nullptr;
    MyTransDlg* m_panePlayCtrl = nullptr;
    int m_recSplitTimer = 0;
    int m_telemFileTimer = 0;
    int m_stopTimer = 0;
    int m_blinkTimer = 0;
    bool m_saving = false;
    QMyPlotDlg* m_plotDlg = nullptr;
    MyTipDialog* m_tip1 = nullptr;
    MyTipDialog* m_tip2 = nullptr;
    QMapWidget* m_map1 = nullptr;
    QMapWidget* m_map2 = nullptr;
    MyTransDlg* m_dragOverlay = nullptr;
    QLabel* m_dragRing = nullptr;
    QLabel* m_dragDot = nullptr;
    QPoint m_pressPos;
    int m_hitEdge = 0;
    QRect m_pressGeometry;
    int m_videoCheckTimer = 0;
    bool m_videoAlive = false;
    int m_frameTimer = 0;
    float m_showFps = 0.0F;
    int record_seconds = 0;
    QString record_dir, record_file, snap_dir, snap_file;
    MyCompNotifyDlg* snap_notice = nullptr;
    MyCompNotifyDlg* rec_notice = nullptr;
    QTimer* replay_timer = nullptr;
    std::int64_t replay_left_ms = 0;
    std::unique_ptr<Ui::connection> ui_connection;
    int frame_width = 1920, frame_height = 1080;
    QAudioOutput* audio_output = nullptr;  // see video/channel_sound.h for the threads of these two
    QIODevice* audio_device = nullptr;
    std::list<FrameParcel*> frame_cache;
    int udp_port_id = 0;
    std::mutex recv_mutex;  // guards the three below
    unsigned char* m_recv_buf_udp = nullptr;
    int recv_capacity = 0;
    int recv_size = 0;

    // --- dialogs and parts ---
    std::unique_ptr<Ui::sei_info> ui_sei_info;
    std::unique_ptr<Ui::telemetry_info> ui_telemetry_info;
    common_dlg* m_connectionDlg = nullptr;
    common_dlg* m_seiDlg = nullptr;
    common_dlg* m_telemetryDlg = nullptr;
    QToolButton* m_viewButton = nullptr;
    bool m_draining = false;   // no handler runs any more
    bool m_edgeMoved = false;  // the press on an edge has become a gesture
    std::unique_ptr<Parts> m_parts;
};
