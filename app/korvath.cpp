// Life cycle of the main window: construction, start-up stages, closing; what it shows by itself.
#include "app/korvath.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QTimer>

#include "analysis/qmyplotdlg.h"
#include "app/config/my_app_config.h"
#include "app/korvath_parts.h"
#include "settings/player_settings_dlg.h"
#include "settings/theme_files.h"
#include "tavrik/tavrik.h"
#include "video/my_tip_dialog.h"
#include "video/picture_views.h"
#include "video/replay_panel.h"
#include "widgets/common_dlg.h"
#include "widgets/my_trans_dlg.h"
#include "widgets/sheets.h"
#include "widgets/title_strip.h"
#include "widgets/touch_lists.h"

namespace {

constexpr int kTickMs = 100;
constexpr int kAutoOpenMs = 2000;
constexpr int kStatWidth = 530;

MyTipDialog* makeTip(QWidget* parent, int width) {
    auto* tip = new MyTipDialog(parent);
    tip->setGeometry(0, 0, width, 51);
    return tip;
}

}  // namespace

Korvath::Korvath(QWidget* parent)
    : QMainWindow(parent),
      ui(new Ui::KorvathClass),
      ui_connection(new Ui::connection),
      ui_sei_info(new Ui::sei_info),
      ui_telemetry_info(new Ui::telemetry_info) {
    // The pictures have native windows; without this every widget beside them and above them would get one
    // too.
    QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
    ui->setupUi(this);
    enlargeLists(this);
    setAttribute(Qt::WA_Hover);
    setWindowIcon(QIcon(QStringLiteral("./res/icon_app.png")));
    ui->mainToolBar->layout()->setSpacing(5);
    ui->toolBar_2->layout()->setSpacing(5);
    ui->videoWin1->setOwner(this);
    ui->videoWin2->setOwner(this);
    m_parts.reset(new Parts(*ui));
    buildParts();
    m_parts->form.status_pages->setCurrentIndex(0);
    ui->widget_stat->hide();

    sorvane::resetFixedFrame(m_frame);
    m_sendClock.start();
    m_tickTimer = startTimer(kTickMs, Qt::CoarseTimer);
    // The splitter's handles exist once it is laid out; index 1 is the one between the two pictures.
    m_parts->form.pictures->handle(1)->setEnabled(false);
    connect(m_parts->form.frame_mode, &QRadioButton::toggled, this, &Korvath::on_frame_sel_changed);

    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    buildTitleBar();
    m_parts->form.map_strip->hide();
    m_parts->form.two_axis_scan->hide();
    m_parts->presenter->start(QCoreApplication::applicationDirPath() + QStringLiteral("/fonts/msyh.ttc"),
                              *ui->videoWin1);
}

Korvath::~Korvath() {
    qApp->removeEventFilter(this);
    m_parts->maps->close();
    delete replay_timer;
    replay_timer = nullptr;
    m_saving = false;
    m_parts->telemetry_log.reset();
    delete m_statusVideo;
    delete m_statusLink;
    delete m_statPane;
    delete m_settings;
    m_settings = nullptr;
    delete m_panePlayCtrl;
    delete m_tip1;
    delete m_tip2;
    delete m_dragOverlay;
    m_dragOverlay = nullptr;
    // The widgets under the pictures live longer than the owner that they talk to.
    ui->videoWin1->setOwner(nullptr);
    ui->videoWin2->setOwner(nullptr);
    m_parts->intake->closeInterfacePort();
    drainEvents();
    const std::lock_guard<std::mutex> lock(recv_mutex);
    delete[] m_recv_buf_udp;
    m_recv_buf_udp = nullptr;
}

MyAppConfig& Korvath::config() const { return *m_settings->m_config; }

void Korvath::buildTitleBar() {
    const MainForm& form = m_parts->form;
    m_parts->strip = std::make_unique<TitleStrip>(
        *this, TitleStripWidgets{*ui->title, *form.tool_bar_host, *ui->mainToolBar, *ui->toolBar_2,
                                 *form.minimise_button, *form.maximise_button, *form.close_button});
    m_viewButton = m_parts->strip->addMenuButton(
        {ui->action_videoWin1, ui->action_videoWin2, ui->action_videoWinLR, ui->action_videoWinTB},
        QIcon(QStringLiteral("./res/show_video.png")));
}

void Korvath::initFirstStage() {
    m_parts->panes->createStatPane();
    m_settings = new PlayerSettingsDlg(sorvane::DecoderMask(tavrik::list_decoders), this);
    connectSettings();
    // The strip beside the logo shows what a window frame would.
    m_parts->form.title_text->setText(config().app_title);
    const int mode = config().video_display_mode;
    applyViewMode(mode >= 0 && mode <= 3 ? mode : 0);
    applyTheme(config().theme);
    setServoFrame(config().platform_type);
    m_showFps = config().show_fps_init;
    m_parts->panes->createPageSelectors();
    setupDialogs();

    m_statusVideo = new QLabel(this);
    m_statusLink = new QLabel(this);
    ui->statusBar->addWidget(m_statusVideo);
    ui->statusBar->addPermanentWidget(m_statusLink);
    m_panePlayCtrl = new ReplayPanel(this);
    m_tip1 = makeTip(this, 300);
    m_tip2 = makeTip(this, 120);

    buildConfiguredParts();
    buildRecording();
    buildPulse();
    buildStick();
    connectConnectionDialog();
    m_parts->fields->fillCombos(config());
}

// The three inline dialogs stand on frameless bases with a title strip that moves them and a close button.
void Korvath::setupDialogs() {
    const auto build = [this](auto& form_ui, auto& form, common_dlg*& dialog) {
        dialog = new common_dlg(this);
        form_ui.setupUi(dialog);
        enlargeLists(dialog);
        dialog->setTitleWidget(form_ui.title);
        form.reset(new typename std::decay_t<decltype(form)>::element_type{form_ui});
        dialog->setCloseButton(form->close_button);
    };
    build(*ui_telemetry_info, m_parts->telemetry_form, m_telemetryDlg);
    build(*ui_sei_info, m_parts->sei_form, m_seiDlg);
    m_parts->sei = std::make_unique<SeiPanel>(*m_parts->sei_form, *m_seiDlg);
    build(*ui_connection, m_parts->connection_form, m_connectionDlg);
    connect(m_parts->telemetry_form->apply, &QPushButton::clicked, this,
            &Korvath::on_btn_setting_telemetry_info);
}

void Korvath::initSecondStage() {
    connectWindow();
    connectCommands();
    m_settings->applyLanguage(config().language);
    setWindowTitle(config().app_title);
    m_parts->link->fillLists();
    m_parts->fields->fillEdits(config());
    m_parts->form.control_pages->hide();
    placeForRestore(*this);
    // Not the first button, which would be marked: the picture comes first.
    ui->centralWidget->setFocus();
    showMaximized();
    m_parts->form.status_and_video->setSizes({kStatWidth * 100, (width() - kStatWidth) * 100});
    m_parts->form.detect_infrared->setChecked(true);
    m_parts->form.detect_usual->setChecked(true);
    m_parts->form.detection_boxes->setToggle(true);
    m_parts->maps->preload();
}

void Korvath::firstShow() {
    m_parts->marks->create(*m_parts->form.picture_area);
    m_parts->panes->createToggles();
    connect(m_btnStatPane, &QPushButton::clicked, this, &Korvath::OnButtonStatPaneClicked);
    connect(m_btnCtrlPane, &QPushButton::clicked, this, &Korvath::OnButtonCtrlPaneClicked);
    placePanes();
    if (config().play_video_on_start) {
        QTimer::singleShot(kAutoOpenMs, this, [this] { autoOpen(); });
    }
    if (config().recv_telemetry) {
        m_parts->intake->openInterfacePort(config().recv_port);
    } else {
        m_parts->form.status_pages->removeWidget(m_parts->form.aircraft_page);
    }
}

void Korvath::autoOpen() {
    if (!playing1) {
        OnOpenVideo1();
    }
    if (m_linkState == kLinkNone) {
        OnUdpConnect();
    }
}

void Korvath::applyTheme(int theme) {
    applyThemeFiles(theme, *this, *m_settings, m_parts->form, *m_viewButton);
}

// What the program has set since the form was built (title, texts that follow a state) is set again
// afterwards.
void Korvath::retranslate() {
    m_parts->sei->retranslate();
    m_parts->recorder->retranslate();
    m_parts->panes->rebuildPageSelectors();
    m_parts->maps->retranslate();
    ui->retranslateUi(this);
    m_parts->strip->retranslate();
    setWindowTitle(config().app_title);
    m_parts->form.title_text->setText(config().app_title);
    m_parts->status_pages->retranslate();
    m_settings->init();
    m_parts->fields->retranslate();
    ui_connection->retranslateUi(m_connectionDlg);
    showConnectionButtons();
    ui_telemetry_info->retranslateUi(m_telemetryDlg);
    if (m_plotDlg != nullptr) {
        m_plotDlg->retranslate();
    }
    // The status pane has another width.
    placePanes();
}

void Korvath::applyViewMode(int mode) {
    QAction* const actions[] = {ui->action_videoWin1, ui->action_videoWin2, ui->action_videoWinLR,
                                ui->action_videoWinTB};
    for (int i = 0; i < 4; ++i) {
        actions[i]->setChecked(i == mode);
    }
    layOutPictures(*m_parts->form.pictures, mode);
    m_parts->panes->placeReplayPanel();
    placeTips();
}

void Korvath::placePanes() {
    if (m_dragOverlay == nullptr) {
        return;
    }
    m_parts->panes->placeStatPane();
    m_parts->panes->startPaneTimer();
    m_parts->panes->placeToggles();
    m_parts->panes->placeReplayPanel();
    refreshStatus();
    placeTips();
    m_parts->marks->place(*m_parts->form.picture_area);
}

void Korvath::refreshStatus() {
    if (m_parts->link == nullptr) {
        return;
    }
    const PictureStates pictures = {playing1, playing2, recording1, recording2, m_replayState};
    m_statusVideo->setText(pictureStateText(pictures));
    setStyleProperty(*m_statusVideo, "tone", pictureStateTone(pictures));
    m_statusLink->setText(m_parts->link->stateText());
    setStyleProperty(*m_statusLink, "tone", linkState() == kLinkNone ? "warn" : "ok");
}

void Korvath::abandon() {
    m_parts->stick->close();
    m_parts->commands->abandon();
    m_parts->link->closeAll();
    config().save();
}

void Korvath::closeEvent(QCloseEvent* e) {
    QMainWindow::closeEvent(e);
    m_parts->stick->close();
    m_parts->commands->endAll();
    silenceLink();
    m_parts->link->closeAll();
    m_parts->intake->closeInterfacePort();
    m_parts->blocks->close();
    m_parts->channel1->stopCheck();
    // Sound may be waiting for its device, which closing its stream would wait for in turn.
    m_parts->sound->closeGate();
    m_parts->recorder->close();
    m_parts->notices->close();
    m_parts->replay->close();
    m_parts->presenter->closeStreams();
    m_parts->sound->stop();
    m_parts->presenter->dropPictures();
    // An open settings dialog closes with the window, and stores its pages by that.
    if (m_settings->isVisible()) {
        m_settings->close();
    }
    m_parts->streams->store();
    m_parts->link->store();
    m_parts->fields->store(config());
    // No thread posts any more: what is posted is handled here. Replies first, since they post records.
    QCoreApplication::sendPostedEvents(this, EVT_LINK_FRAME);
    for (int type = EVT_REPLAY_START; type <= EVT_NAV_BLOCK; ++type) {
        QCoreApplication::sendPostedEvents(this, type);
    }
}
