#include "app/korvath.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QStyle>
#include <QTimer>
#include <QToolButton>

#include "app/config/my_app_config.h"
#include "link/frame_sender.h"
#include "oskel/oskel.h"
#include "settings/player_settings_dlg.h"
#include "tavrik/tavrik.h"
#include "ui_connection.h"
#include "ui_korvath.h"
#include "ui_sei_info.h"
#include "ui_telemetry_info.h"
#include "video/my_tip_dialog.h"
#include "video/replay_panel.h"
#include "widgets/common_dlg.h"
#include "widgets/my_trans_dlg.h"
#include "widgets/touch_lists.h"

namespace {

constexpr int kTickMs = 100;
constexpr int kAutoOpenMs = 2000;
constexpr int kStatWidth = 530;

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
    setupStatusPages();
    ui->stackedWidget->setCurrentIndex(0);
    ui->widget_stat->hide();

    sorvane::resetFixedFrame(m_frame);
    m_sendClock.start();
    m_tickTimer = startTimer(kTickMs, Qt::CoarseTimer);
    // The splitter's handles exist once it is laid out; index 1 is the one between the two pictures.
    ui->splitter->handle(1)->setEnabled(false);
    setupSender();
    buildServoModeGroup();

    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    buildTitleBar();
    ui->widget_5->hide();
    ui->groupBox_30->hide();
    initVideoOutput();
}

Korvath::~Korvath() {
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
    drainEvents();
    const std::lock_guard<std::mutex> lock(recv_mutex);
    delete[] m_recv_buf_udp;
    m_recv_buf_udp = nullptr;
}

MyAppConfig& Korvath::config() const {
    return *m_settings->m_config;
}

void Korvath::buildTitleBar() {
    auto* layout = new QHBoxLayout(ui->test_4);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(ui->mainToolBar);
    layout->addWidget(ui->toolBar_2);
    buildViewMenu();
    // The window is handed over so that the theme's sheet can give the icons.
    const auto icon = [this](QStyle::StandardPixmap which) {
        return style()->standardIcon(which, nullptr, this);
    };
    ui->toolButton_3->setIcon(icon(QStyle::SP_TitleBarMinButton));
    showMaximiseIcon();
    ui->toolButton->setIcon(icon(QStyle::SP_TitleBarCloseButton));
    connect(ui->toolButton, &QToolButton::clicked, this, &QWidget::close);
    connect(ui->toolButton_2, &QToolButton::clicked, this, [this] {
        if (isMaximized()) {
            showNormal();
        } else {
            showMaximized();
        }
    });
    connect(ui->toolButton_3, &QToolButton::clicked, this, &QWidget::showMinimized);
}

// Follows the state itself: full screen, the keyboard and the window manager change it too.
void Korvath::showMaximiseIcon() {
    const auto which = isMaximized() ? QStyle::SP_TitleBarNormalButton : QStyle::SP_TitleBarMaxButton;
    ui->toolButton_2->setIcon(style()->standardIcon(which, nullptr, this));
}

void Korvath::buildViewMenu() {
    m_viewMenu = new QMenu(this);
    m_viewMenu->addActions(
        {ui->action_videoWin1, ui->action_videoWin2, ui->action_videoWinLR, ui->action_videoWinTB});
    m_viewButton = new QToolButton(ui->toolBar_2);
    m_viewButton->setPopupMode(QToolButton::InstantPopup);
    m_viewButton->setToolButtonStyle(Qt::ToolButtonIconOnly);
    m_viewButton->setIcon(QIcon(QStringLiteral("./res/show_video.png")));
    m_viewButton->setMenu(m_viewMenu);
    ui->toolBar_2->addWidget(m_viewButton);
}

void Korvath::initFirstStage() {
    createStatPane();
    m_settings = new PlayerSettingsDlg(tavrik::list_decoders(), this);
    connect(m_settings, &PlayerSettingsDlg::themeChosen, this, &Korvath::applyTheme);
    connect(m_settings, &PlayerSettingsDlg::languageChanged, this, &Korvath::retranslate);
    connect(m_settings, &PlayerSettingsDlg::sendModeChanged, this, &Korvath::applySendMode);
    connect(m_settings, &PlayerSettingsDlg::servoFrameChosen, this, &Korvath::setServoFrame);
    connect(m_settings, &PlayerSettingsDlg::commandRequested, this,
            [this](const sorvane::Command& command) { sorvane::send(*m_sender, command); });
    connect(m_settings, &PlayerSettingsDlg::stopRequested, this, &Korvath::stopCommand);
    // The strip beside the logo shows what a window frame would.
    ui->label_102->setText(config().app_title);
    const int mode = config().video_display_mode;
    applyViewMode(mode >= 0 && mode <= 3 ? mode : 0);
    applyTheme(config().theme);
    setServoFrame(config().platform_type);
    m_showFps = config().show_fps_init;
    createCtrlSelect();
    setupDialogs();

    m_statusVideo = new QLabel(this);
    m_statusLink = new QLabel(this);
    ui->statusBar->addWidget(m_statusVideo);
    ui->statusBar->addPermanentWidget(m_statusLink);
    m_panePlayCtrl = new ReplayPanel(this);
    m_tip1 = new MyTipDialog(this);
    m_tip1->setGeometry(0, 0, 300, 51);
    m_tip2 = new MyTipDialog(this);
    m_tip2->setGeometry(0, 0, 120, 51);

    setupLink();
    setupVideo();
    fillCommandCombos();
}

// The three inline dialogs stand on frameless bases with a title strip that moves them and a close button.
void Korvath::setupDialogs() {
    const auto base = [this](auto& form) {
        auto* dialog = new common_dlg(this);
        form->setupUi(dialog);
        enlargeLists(dialog);
        dialog->setTitleWidget(form->title);
        form->toolButton->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
        connect(form->toolButton, &QToolButton::clicked, dialog, &QWidget::close);
        return dialog;
    };
    m_telemetryDlg = base(ui_telemetry_info);
    m_seiDlg = base(ui_sei_info);
    m_connectionDlg = base(ui_connection);
    connect(ui_telemetry_info->pushButton, &QPushButton::clicked, this,
            &Korvath::on_btn_setting_telemetry_info);
}

void Korvath::initSecondStage() {
    connectSignals();
    setupCommands();
    m_settings->applyLanguage(config().language);
    setWindowTitle(config().app_title);
    fillLinkLists();
    fillCommandFields();
    ui->tabWidget->hide();
    showMaximized();
    ui->splitter_2->setSizes({kStatWidth * 100, (width() - kStatWidth) * 100});
    ui->radioButton_15->setChecked(true);
    ui->radioButton_17->setChecked(true);
    ui->widget_3->setToggle(true);
}

void Korvath::connectSignals() {
    connect(ui->action_connection, &QAction::triggered, this, &Korvath::on_action_connection);
    connect(ui->action_fileSettings, &QAction::triggered, this, &Korvath::OnFileSettings);
    connect(ui->action_videoWin1, &QAction::triggered, this, &Korvath::OnClickedVideoWin1);
    connect(ui->action_videoWin2, &QAction::triggered, this, &Korvath::OnClickedVideoWin2);
    connect(ui->action_videoWinLR, &QAction::triggered, this, &Korvath::OnClickedVideoWinLR);
    connect(ui->action_videoWinTB, &QAction::triggered, this, &Korvath::OnClickedVideoWinTB);
    connect(ui->action_telemetry_info, &QAction::triggered, this, &Korvath::on_action_telemetry_info);
    connect(ui->action_sei, &QAction::triggered, m_seiDlg, &QWidget::show);
    connect(ui->m_btnPagePrev, &QPushButton::clicked, this, &Korvath::OnButtonPagePrevClicked);
    connect(ui->m_btnPageNext, &QPushButton::clicked, this, &Korvath::OnButtonPageNextClicked);
}

void Korvath::firstShow() {
    createFirstShowPanes();
    if (config().play_video_on_start) {
        QTimer::singleShot(kAutoOpenMs, this, [this] {
            if (!playing1) {
                OnOpenVideo1();
            }
            if (m_linkState == LINK_NONE) {
                OnUdpConnect();
            }
        });
    }
    if (config().recv_telemetry) {
        openInterfacePort();
    } else {
        ui->stackedWidget->removeWidget(ui->page_3);
    }
}

void Korvath::applyViewMode(int mode) {
    const std::array<QAction*, 4> actions = {ui->action_videoWin1, ui->action_videoWin2,
                                             ui->action_videoWinLR, ui->action_videoWinTB};
    for (int i = 0; i < 4; ++i) {
        actions[static_cast<std::size_t>(i)]->setChecked(i == mode);
    }
    if (mode <= 1) {
        ui->splitter->setHandleWidth(0);
        ui->splitter->setSizes(mode == 0 ? QList<int>{1, 0} : QList<int>{0, 1});
    } else {
        ui->splitter->setHandleWidth(5);
        ui->splitter->setOrientation(mode == 2 ? Qt::Horizontal : Qt::Vertical);
        ui->splitter->setSizes({1, 1});
    }
    placeReplayPanel();
    placeTips();
}

void Korvath::OnClickedVideoWin1() {
    applyViewMode(0);
}
void Korvath::OnClickedVideoWin2() {
    applyViewMode(1);
}
void Korvath::OnClickedVideoWinLR() {
    applyViewMode(2);
}
void Korvath::OnClickedVideoWinTB() {
    applyViewMode(3);
}

void Korvath::OnFileSettings() {
    m_settings->show();
    m_settings->raise();
    m_settings->activateWindow();
}

// An index out of range is ignored by the stack, so there is no wrap.
void Korvath::OnButtonPageNextClicked() {
    ui->stackedWidget->setCurrentIndex(ui->stackedWidget->currentIndex() + 1);
}

void Korvath::OnButtonPagePrevClicked() {
    ui->stackedWidget->setCurrentIndex(ui->stackedWidget->currentIndex() - 1);
}

void Korvath::refreshStatus() {
    if (m_statusVideo == nullptr) {
        return;
    }
    QString video;
    if (playing1) {
        video += tr("视频1已连接  ");
    }
    if (m_replayState == 1) {
        video += tr("录像重放中  ");
    } else if (m_replayState == 2) {
        video += tr("录像重放暂停  ");
    }
    if (recording1) {
        video += tr("视频1录制中  ");
    }
    if (playing2) {
        video += tr("视频2已连接  ");
    }
    if (recording2) {
        video += tr("视频2录制中");
    }
    m_statusVideo->setText(video.isEmpty() ? tr("视频未连接") : video);

    switch (m_linkState) {
        case LINK_NONE:
            m_statusLink->setText(tr("控制连接关闭"));
            break;
        case LINK_SERIAL:
            m_statusLink->setText(tr("串口已连接"));
            break;
        case LINK_UDP:
            m_statusLink->setText(tr("UDP已连接"));
            break;
        default:
            m_statusLink->setText(QString());
            break;  // TCP shows nothing, on purpose
    }
}

void Korvath::on_action_telemetry_info() {
    ui_telemetry_info->retranslateUi(m_telemetryDlg);
    m_telemetryDlg->show();
    m_telemetryDlg->raise();
}

void Korvath::closeEvent(QCloseEvent* e) {
    QMainWindow::closeEvent(e);
    releaseHeldButtons();
    silenceLink();
    oskel::hang_up(m_linkHandle);
    m_linkState = LINK_NONE;
    if (m_insHandle >= 0) {
        oskel::hang_up(m_insHandle);
        m_insHandle = -1;
    }
    closeInterfacePort();
    if (udp_port_id > 0) {
        oskel::hang_up(udp_port_id);
        udp_port_id = 0;
    }
    closeAllVideo();
    // An open settings dialog closes with the window, and stores its pages by that.
    if (m_settings->isVisible()) {
        m_settings->close();
    }
    storeEditsToConfig();
    // No thread posts any more: what still waits is handled here, so that every payload is freed. Replies
    // first, since they post records.
    QCoreApplication::sendPostedEvents(this, EVT_LINK_FRAME);
    for (int type = EVT_REPLAY_START; type <= EVT_NAV_BLOCK; ++type) {
        QCoreApplication::sendPostedEvents(this, type);
    }
}

void Korvath::storeEditsToConfig() {
    MyAppConfig& c = config();
    c.video1_port = ui_connection->le_ctrlVideoIpPort1->text().toInt();
    c.video2_play_address = ui_connection->le_ctrlVideoIpAddr2->text();
    c.video2_port = ui_connection->le_ctrlVideoIpPort2->text().toInt();
    c.serial_port = ui_connection->cbb_ctrlSerialNo->currentText();
    c.baudrate = ui_connection->cbb_ctrlSerialBaudRate->currentText();
    c.net_type = ui_connection->radioButton_14->isChecked() ? 1 : 0;
    c.video_type = ui_connection->cbb_stream_type->currentIndex();
    c.destination_address = ui_connection->cbb_ctrlConnIpAddr->text();
    c.destination_port = ui_connection->cbb_ctrlConnIpPort->text().toInt();
    c.local_bind_port = ui_connection->cbb_ctrlConnLocalPort->text().toInt();
    c.max_speed = ui->lineEdit_3->text().toInt();
    c.ir_pseudo_color_band = ui->comboBox_4->currentIndex();
    c.vl_zoom_level = ui->comboBox_2->currentIndex();
    c.lrf_cycle = ui->comboBox_6->currentIndex();
    c.template_type = ui->comboBox_3->currentIndex();
}
