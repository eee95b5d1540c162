// The main window and hub of the station: owns every subsystem's state, receives every custom event.
#pragma once

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPoint>
#include <QRect>
#include <QVector>
#include <array>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

#include "app/events/my_event.h"
#include "link/command_catalogue.h"
#include "link/frame_sender.h"
#include "link/frames.h"
#include "link/nav_block.h"
#include "telemetry/telemetry_record.h"
#include "video/video_surface.h"

class MyAppConfig;
class MyTransDlg;
class PlayerSettingsDlg;
class QMapWidget;
class QMyPlotDlg;
class QMyVideoWidget;
class MyTipDialog;
class common_dlg;
class QAudioOutput;
class QButtonGroup;
class QFile;
class QIODevice;
class QLabel;
class QMenu;
class QPushButton;
class QTimer;
class QToolButton;
class StatusPages;

namespace Ui {
class KorvathClass;
class connection;
class sei_info;
class telemetry_info;
}  // namespace Ui

using CommandTimerList = QVector<int>;

// The control link as the operator sees it.
enum LinkState : std::int32_t { LINK_NONE = 0, LINK_SERIAL = 1, LINK_UDP = 2, LINK_TCP = 3 };

// One object a process, created by main; lives on the GUI thread, and every member is used on that thread
// alone unless its declaration says otherwise.
class Korvath : public QMainWindow {
    Q_OBJECT

public:
    explicit Korvath(QWidget* parent = nullptr);
    ~Korvath() override;

    // The two start-up stages, run once by main in this order after the constructor.
    void initFirstStage();
    void initSecondStage();

    bool event(QEvent* e) override;
    bool eventFilter(QObject* obj, QEvent* e) override;

    MyAppConfig& config() const;
    Ui::KorvathClass& form() const { return *ui; }

    // --- link/korvath_send.cpp: the only ways to the pod ---
    void sendCommand4(std::uint8_t code, std::uint8_t p1, std::uint8_t p2, std::uint8_t p3, std::uint8_t p4);
    void sendCommandWord(std::uint8_t code, std::int16_t a, std::int16_t b);
    void sendCommandRate(std::uint8_t frameCode, std::uint8_t code, std::int16_t x, std::int16_t y);
    void sendCommandPayload(std::uint8_t code, const void* data, int n);
    void sendVariableFrame(std::uint16_t code, const void* data, int n);
    void sendFixedFrame(sorvane::FixedCommandFrame& frame);
    void stopCommand(std::uint16_t code);
    void applySendMode();
    // Kills both periodic timers, so that nothing leaves the station by itself.
    void silenceLink();
    bool singleMode() const;

    // --- link/korvath_commands.cpp: helpers of the gestures, the stick and the map ---
    void setZoom(int win, int cmd);
    void trackPoint(std::int16_t x, std::int16_t y);
    void stopTracking();
    void toggleTracking();
    void zoomInBySource();
    void zoomOutBySource();
    void osdNext();
    int linkState() const { return m_linkState; }
    // Starts m_stopTimer anew: 100 ms later stopCommand(0) runs once.
    void startStopTimer();

    // --- video/korvath_video.cpp, for the video widgets ---
    // True when a stream is open on that window (1 or 2); false for any other number.
    bool noSignalTest(int window_id) const;
    int frameWidth() const { return frame_width; }
    int frameHeight() const { return frame_height; }
    bool edgeResizing() const { return m_hitEdge != 0; }
    // Any drag on a video widget under way; throttles the variable frames.
    bool dragUnderWay() const;
    // Marks of a drag; points are global. The overlay never takes activation.
    void showDragRing(const QPoint& global_center);
    void showDragDot(const QPoint& global_center);
    void hideDragMarks();
    // Places the tip dialogs over their video widgets.
    void placeTips();

    // --- app/korvath_theme.cpp ---
    // theme: 0 day, 1 night.
    void applyTheme(int theme);
    void retranslate();

    // --- app/korvath_panes.cpp ---
    void placePanes();
    // Edges of the window within 5 pixels of a global point: bit 0 top, 1 left, 2 right, 3 bottom.
    int hitEdge(const QPoint& global) const;
    // 0 "三轴", 1 "两轴": shows the widgets of the chosen servo frame and hides the others.
    void setServoFrame(int platform_type);

    // --- app/korvath.cpp ---
    void refreshStatus();
    // View mode 0 to 3: window 1, window 2, side by side, one above the other.
    void applyViewMode(int mode);

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
    void on_action_telemetry_info();
    void on_action_connection();
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
    // Tests reach the window's fields by this one door (tests/gui/korvath_access.h).
    friend struct KorvathAccess;

    // --- app/korvath.cpp ---
    void buildTitleBar();
    // The maximise button shows what a click does.
    void showMaximiseIcon();
    void buildViewMenu();
    void setupDialogs();
    void connectSignals();
    void firstShow();
    void storeEditsToConfig();

    // --- app/korvath_events.cpp ---
    // One row of the event table: what a number carries and who takes it.
    struct EventRow {
        int number;
        bool plain;                           // an event without fields
        void (Korvath::*handler)(QMyEvent*);  // null for a plain event
        void (*free)(void* data);             // of an undelivered payload
    };
    static const EventRow* eventRow(int number);
    void dispatchCustomEvent(QEvent* e);
    // Frees the payload of every event still posted, without handling one.
    void drainEvents();
    void onCommandButtonDown(QMyEvent* e);
    void onCommandButtonUp(QMyEvent* e);
    void onTelemetry(QMyEvent* e);
    void passOn(QMyEvent* e);
    // Cursor over the window's edges.
    void followHover(QEvent* e);
    bool paintDragMark(QObject* obj);
    void filterResize(QObject* obj);
    void filterMousePress(QObject* obj, QEvent* e);
    void tick();

    // --- app/korvath_panes.cpp ---
    void createStatPane();
    void createCtrlSelect();
    void createFirstShowPanes();
    void showPanes();
    void rebuildPageSelectors();
    void placePaneToggles();
    void placeStatPane();
    void placeDragOverlay();
    void placeReplayPanel();
    // Full screen hides everything around the picture; leaving it brings it back.
    void setFrameVisible(bool visible);

    // --- link/korvath_link.cpp ---
    // Connects the connection dialog's link groups and fills them from the configuration (first stage).
    void setupLink();
    // Fills both serial port lists and the local addresses, selects the address on the pod's subnet (second
    // stage).
    void fillLinkLists();
    void refreshInsPortList();
    void toggleInsPort();
    void closeLink();
    void linkOpened(int handle, LinkState state);
    void warnPortFailed(const QString& port);
    // Button texts of the connection dialog by the present state; after each retranslation and at its
    // opening.
    void refreshConnectionButtons();

    // --- link/korvath_send.cpp ---
    // Creates m_sender on this window's fields, clocks and conditions (constructor, before the settings
    // exist).
    void setupSender();
    void onPeriodTick();
    void onNavTick();
    // Kills both periodic timers and keeps their ids.
    void killLinkTimers();
    // Kills a timer of this window; ids that are not running (-1, 0) do nothing.
    void killIfRunning(int timer);

    // --- link/korvath_commands.cpp ---
    // radioButton_13 and radioButton_14 as one group, frame mode first (constructor).
    void buildServoModeGroup();
    // Items of the combo boxes with fixed items, and the start index of those that the configuration names
    // (first stage).
    void fillCommandCombos();
    // Signals of the combo boxes and switches of both control pages, m_stopTimer's senders (second stage).
    void setupCommands();
    // Start values of the edits from the configuration (second stage).
    void fillCommandFields();
    // Item texts of the combo boxes and start values of the edits that a language change resets.
    void retranslateCommands();
    void dispatchCommand(QObject* sender);
    // Sends what the catalogue says for a control of the two pages; unknown names do nothing.
    void runControl(sorvane::ControlKind kind, const QString& object, int value);
    void zoomUntilQuiet(const sorvane::Command& command);
    // Restores the texts that follow the servo mode and the pod's recording.
    void retranslateStatefulButtons();
    void onStopTimer();
    // True when the id was one of m_zoomTimers.
    bool onZoomTimer(int id);
    // Ends every held button before the timers die; for closing.
    void releaseHeldButtons();

    // --- telemetry/korvath_telemetry.cpp ---
    void onLinkFrame(QMyEvent* e);
    void onInsFrame(QMyEvent* e);
    void onNavBlock(QMyEvent* e);
    void openInterfacePort();
    void closeInterfacePort();

    // --- telemetry/korvath_panels.cpp ---
    // Fills page_3, page and page_2 of stackedWidget from the row tables; constructor.
    void setupStatusPages();
    void retranslateStatusPages();
    void refreshPanels();
    void refreshAircraftPage();

    // --- video/korvath_video.cpp ---
    // Connects the connection dialog's video groups and fills them from the configuration (first stage).
    void setupVideo();
    void onStreamTypeChanged(int index);
    void refillVideo1Addresses();
    void openVideo1();
    void closeVideo1();
    void openVideo1Success();
    void openVideo2();
    void closeVideo2();
    void onVideoCheckTimer();
    void onVideoFrame(QMyEvent* e);
    void drawInTurn(std::unique_ptr<FrameParcel> parcel);
    void onTurnTimer();
    void onFrameTimer();
    void closeAllVideo();

    // --- video/korvath_audio.cpp ---
    // Stream library's audio thread.
    void onAudio(unsigned char* data, int size, int sample_rate, int channels);
    void closeAudio();

    // --- video/korvath_block.cpp: the block stream that the station receives itself ---
    void openBlockStream();
    void closeBlockStream();
    // Transport's receive thread.
    void onBlockPayload(const unsigned char* data, int size);
    // Stream library's thread; never waits.
    int onBlockRead(unsigned char* dest, int capacity);

    // --- video/korvath_render.cpp ---
    void initVideoOutput();
    VideoSurface* findSurface(QWidget* widget);
    VideoSurface* findOrCreateSurface(QMyVideoWidget* widget);
    void render(FrameParcel& parcel);
    void renderAndDispose(FrameParcel* parcel);
    void resizeSurface(QWidget* widget);

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
    std::int32_t m_linkState = LINK_NONE;
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

    // --- state of the subsystems ---
    std::unique_ptr<Ui::connection> ui_connection;
    std::unique_ptr<Ui::sei_info> ui_sei_info;
    std::unique_ptr<Ui::telemetry_info> ui_telemetry_info;
    common_dlg* m_connectionDlg = nullptr;
    common_dlg* m_seiDlg = nullptr;
    common_dlg* m_telemetryDlg = nullptr;
    bool m_panesShown = false;
    bool m_draining = false;  // no handler runs any more
    QToolButton* m_viewButton = nullptr;
    QMenu* m_viewMenu = nullptr;
    std::unique_ptr<sorvane::FrameSender> m_sender;
    std::function<sorvane::CalendarTime()> m_localClock;  // set by setupSender
    StatusPages* m_statusPages = nullptr;                 // child of the window
    int m_interfaceHandle = -1;
    // m_periodTimer and m_navTimer are kept from before the link's close; the numbers may belong to other
    // timers by now.
    bool m_linkTimersStale = false;

    std::list<VideoSurface>
        m_surfaces;  // list: addresses stay valid; nothing is removed while the program runs
    int frame_width = 1920, frame_height = 1080;
    // Created on the stream library's audio thread, stopped on the GUI thread after feedClose.
    QAudioOutput* audio_output = nullptr;
    QIODevice* audio_device = nullptr;
    std::list<FrameParcel*> frame_cache;
    // Pictures that came in the same round of events as one that was drawn, oldest first; the timer runs from
    // a picture drawn until none is left.
    std::list<std::unique_ptr<FrameParcel>> m_laterPictures;
    int m_turnTimer = 0;
    int udp_port_id = 0;
    std::mutex recv_mutex;  // guards m_recv_buf_udp, recv_capacity, recv_size
    unsigned char* m_recv_buf_udp = nullptr;
    int recv_capacity = 0;
    int recv_size = 0;
};

// The one main window, or null until it has been constructed. Any thread.
Korvath* instance();
// Set once by main, before any library thread can start.
void setInstance(Korvath* window);

// Plain callbacks of the stream library: log their name and post a plain event to the window, if there is
// one.
void Play_Fail_CallBack();
void Replay_Start_Callback();
void Replay_End_Callback();
