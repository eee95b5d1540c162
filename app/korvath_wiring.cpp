// Which part gets what, and which signal reaches which slot.
#include <QAction>

#include "analysis/qmyplotdlg.h"
#include "app/config/my_app_config.h"
#include "app/korvath_parts.h"
#include "pulse/connection_groups.h"
#include "settings/player_settings_dlg.h"
#include "telemetry/link_callbacks.h"
#include "video/replay_panel.h"
#include "widgets/common_dlg.h"
#include "widgets/my_message_box.h"

// Parts that live from the constructor on; the settings do not exist yet.
void Korvath::buildParts() {
    Parts& p = *m_parts;
    p.status_pages = std::make_unique<StatusPages>(p.form, m_telemetry, m_navBlock);
    p.sender = std::make_unique<CommandSender>(
        *this,
        SenderFields{m_frame, m_frameRelease, m_lastCode, m_navBlock, m_sendClock, m_periodTimer, m_navTimer,
                     m_linkHandle, m_insHandle},
        SenderQuestions{[this] { return m_settings == nullptr || m_settings->singleMode(); },
                        [this] { return m_settings != nullptr && m_settings->sendsTelemetryPeriodically(); },
                        [this] { return config().send_period_ms; }, [this] { return dragUnderWay(); },
                        [this] { return m_settings != nullptr && config().recv_telemetry; }});
    p.fields = std::make_unique<CommandFields>(p.form, *this);
    p.commands = std::make_unique<CommandPages>(
        p.form, *this, *p.sender, CommandPagesFields{m_zoomTimers, m_stopTimer, m_linkState, m_tracking},
        CommandQuestions{[this] { return m_telemetry.display_mode; }, [this] { return m_settings; },
                         [this] { return m_settings->osdPage(); }});
    p.intake = std::make_unique<Intake>(IntakeFields{m_telemetry, m_navBlock, m_tracking}, *this);
    connect(p.intake.get(), &Intake::recordTaken, this, [this] { m_parts->status_pages->onRecord(); });
    connect(p.intake.get(), &Intake::recordTaken, this,
            [this] { m_parts->fields->showReportedMode(m_telemetry.display_mode); });
    // The files before the plot.
    connect(p.intake.get(), &Intake::recordTaken, this, [this] {
        if (m_saving) {
            m_parts->telemetry_log->take(m_telemetry);
        }
        if (m_plotDlg != nullptr && m_plotDlg->is_running()) {
            m_plotDlg->add_record(m_telemetry);
        }
    });
    connect(p.intake.get(), &Intake::navBlockTaken, this,
            [this] { m_parts->status_pages->refreshAircraft(); });
    p.marks = std::make_unique<DragMarks>(DragMarkFields{m_dragOverlay, m_dragRing, m_dragDot});
    p.panes = std::make_unique<FloatingPanes>(
        *this, p.form,
        PaneFields{m_statPane, m_stateTab, m_ctrlPane, m_ctrlSelect, m_btnStatPane, m_btnCtrlPane,
                   m_panePlayCtrl, m_paneTimer, m_replayState},
        [this] { return m_settings->languageIndex(); });
    buildMaps();
    p.presenter = std::make_unique<PicturePresenter>(
        *this, PictureFields{m_videoAlive, frame_width, frame_height, frame_cache, m_frameTimer, m_showFps},
        [this] { return devicePixelRatioF(); },
        [this]() -> const MyAppConfig* { return m_settings != nullptr ? m_settings->m_config : nullptr; });
    p.sound = std::make_unique<ChannelSound>(SoundFields{audio_output, audio_device});
    p.blocks = std::make_unique<BlockStream>(
        udp_port_id, sorvane::BlockBufferFields{m_recv_buf_udp, recv_capacity, recv_size, recv_mutex});
}

void Korvath::buildMaps() {
    Parts& p = *m_parts;
    p.maps = std::make_unique<MapHosts>(p.form, MapFields{m_map1, m_map2, m_btnCtrlPane}, *this);
    p.commands->let_go_more = [&p](const void* but) { p.maps->letGo(but); };
    connect(p.intake.get(), &Intake::recordTaken, this, [this] {
        m_parts->maps->targetReported(m_telemetry.target_longitude / 1e7, m_telemetry.target_latitude / 1e7,
                                      static_cast<std::uint32_t>(m_telemetry.target_altitude));
    });
    connect(p.intake.get(), &Intake::insTaken, this, [this](const sorvane::AircraftFix& fix) {
        m_parts->maps->aircraftReported(fix.longitude_deg, fix.latitude_deg, fix.altitude_m,
                                        static_cast<float>(fix.heading_deg));
    });
}

// Parts that need the configuration and the dialogs.
void Korvath::buildConfiguredParts() {
    Parts& p = *m_parts;
    p.link = std::make_unique<LinkPanel>(*p.connection_form, *m_connectionDlg, config(),
                                         LinkFields{m_linkHandle, m_insHandle, m_linkState},
                                         LinkActions{onControlLinkData, onInsLinkData,
                                                     [this] {
                                                         m_settings->linkOpened();
                                                         applySendMode();
                                                     },
                                                     [this] {
                                                         m_parts->stick->release();
                                                         m_parts->commands->endAll();
                                                         m_parts->sender->linkClosed();
                                                     },
                                                     [this] { refreshStatus(); }});
    p.telemetry_log = std::make_unique<TelemetryLog>(
        *this, TelemetryLogFields{m_telemFileTimer, m_saving}, config(),
        TelemetryLogActions{[&p] { return p.sender->local_clock(); },
                            [this] { return m_linkState != kLinkNone; },
                            [this] { MyMessageBox::warning(this, tr("控制连接未打开"), tr("警告")); }});
    p.streams = std::make_unique<StreamPanel>(*p.connection_form, config(),
                                              [this] { return m_settings->decoderValue(); });
    const ChannelActions actions = {[this] { m_parts->streams->showOpen(playing1, playing2); },
                                    [this] {
                                        if (!recording1 && !recording2) {
                                            ui->action_ctrlRec->setChecked(false);
                                        }
                                    },
                                    [this] { refreshStatus(); }};
    const FirstChannel first = {*p.sound, *p.blocks, m_videoCheckTimer, m_videoAlive, *this, p.sei->taker()};
    p.channel1 = std::make_unique<VideoChannel>(
        1, ChannelParts{*ui->videoWin1, *p.streams, *p.presenter, config(), *this},
        ChannelFields{playing1, recording1, snapping1, no_signal1}, actions, &first);
    p.channel2 = std::make_unique<VideoChannel>(
        2, ChannelParts{*ui->videoWin2, *p.streams, *p.presenter, config(), *this},
        ChannelFields{playing2, recording2, snapping2, no_signal2}, actions);
}

void Korvath::buildRecording() {
    Parts& p = *m_parts;
    const auto clock = [&p] { return p.sender->local_clock(); };
    const auto handle1 = [&p] { return p.channel1->handle(); };
    const auto handle2 = [&p] { return p.channel2->handle(); };
    p.notices = std::make_unique<CompletionNotices>(
        *this, NoticeFields{snap_notice, rec_notice, snap_dir, snap_file, record_dir, record_file});
    p.recorder = std::make_unique<Recorder>(
        *this,
        Recorder::Channels{RecordedChannel{playing1, recording1, snapping1, m_tip1, handle1},
                           RecordedChannel{playing2, recording2, snapping2, m_tip2, handle2}},
        RecorderFields{m_recSplitTimer, m_blinkTimer, record_seconds, record_dir, record_file, m_replayState},
        RecorderControls{*ui->action_ctrlRec, *p.sei_form->record_raw}, config(),
        RecorderActions{clock, [this] { placeTips(); }, [this] { refreshStatus(); },
                        [this] { OnRecAviEnd(); }});
    p.stills = std::make_unique<Stills>(
        Stills::Channels{PicturedChannel{playing1, handle1}, PicturedChannel{playing2, handle2}}, snap_dir,
        config(), StillsActions{clock, [this](const QString& path) { OnContSnapEnd(path); }});
    p.replay = std::make_unique<Replay>(
        ReplayParts{*ui->action_fileOpenAvi, *ui->videoWin1, *p.presenter, *this},
        ReplayFields{m_replayState, replay_timer, replay_left_ms, playing1, recording1, m_panePlayCtrl},
        ReplayActions{[this] { return chooseRecording(*this, config().default_video_saving_directory); },
                      [this] { refuseReplay(*this); },
                      [this] { m_parts->streams->showOpen(playing1, playing2); },
                      [this] { m_parts->panes->placeReplayPanel(); }, [this] { refreshStatus(); },
                      [this] { activateWindow(); }, [this] { return m_settings->decoderValue(); },
                      [this] { OnReplayRefreshTimeout(); }});
    const auto* panel = static_cast<ReplayPanel*>(m_panePlayCtrl);
    connect(panel->m_btnPlay, &QPushButton::clicked, this, &Korvath::OnStartReplay);
    connect(panel->m_btnStop, &QPushButton::clicked, this, &Korvath::OnStopReplay);
}

void Korvath::buildPulse() {
    Parts& p = *m_parts;
    p.pulse = std::make_unique<PulseBoard>(
        PulseFields{playing1, playing2, m_linkState, m_insHandle},
        PulseQuestions{[&p] { return p.sender->sendsByItself(); }, [&p] { return p.link->sendTrouble(); }});
    PulseBoard* board = p.pulse.get();
    p.sender->pushed = [board](bool taken) { board->sent(taken); };
    connect(p.intake.get(), &Intake::recordTaken, board, &PulseBoard::reportCame);
    connect(p.intake.get(), &Intake::insTaken, board, &PulseBoard::inertialCame);
    connect(p.presenter.get(), &PicturePresenter::pictureCame, board, &PulseBoard::pictureCame);
    connect(m_settings, &PlayerSettingsDlg::languageChanged, board, &PulseBoard::languageChanged);
    showPulse(*board, *ui->statusBar, *p.form.picture_area, [this, &p](PulseSource source) {
        on_action_connection();
        pointAtGroup(*p.connection_form, *m_connectionDlg, source, m_linkState == kLinkSerial);
    });
    for (const QMyVideoWidget* picture : {ui->videoWin1, ui->videoWin2}) {
        auto* frame = new FrozenFrame(*picture, [board](int window) { return board->frozen(window); });
        connect(board, &PulseBoard::looked, frame, &FrozenFrame::follow);
    }
}

void Korvath::buildStick() {
    CommandPages& commands = *m_parts->commands;
    sorvane::FrameSender& frames = m_parts->sender->frames();
    sorvane::MovementGuard& movements = m_parts->sender->movements();
    StickActions a;
    a.settings = [this] { return m_settings->stickSettings(); };
    a.press_feedback = [this](int button) { return m_settings->pressFeedback(button); };
    a.axis_feedback = [this](int axis, float offset) { return m_settings->axisFeedback(axis, offset); };
    a.connect_change = [this](bool is_connect, int button_count, int product_id, int caps) {
        m_settings->on_js_connect_change(is_connect, button_count, product_id, caps);
    };
    a.tracking = [this] { return m_tracking; };
    a.last_code = [this] { return m_lastCode; };
    a.zoom_code = [this](bool in) { return sorvane::zoomBySourceCommand(in, m_telemetry.display_mode).code; };
    a.zoom = [&commands](bool in) { commands.zoomBySource(in); };
    a.command = [this](std::uint8_t code) { sendCommand4(code, 0, 0, 0, 0); };
    a.rate = [this](std::int16_t x, std::int16_t y) { sendCommandRate(0, sorvane::CMD_SERVO_RATE, x, y); };
    a.toggle_tracking = [this] { toggleTracking(); };
    a.stop_tracking = [this] { stopTracking(); };
    a.osd_next = [this] { osdNext(); };
    a.start_stop_timer = [this] { startStopTimer(); };
    a.stop = [this](std::uint16_t code) { stopCommand(code); };
    a.end = [&frames, &movements](std::uint16_t code) { frames.letGo(code, movements.singleMode()); };
    a.hold_begins = [&movements](const void* who, std::uint16_t code) { movements.holdBegins(who, code); };
    a.hold_ended = [&movements](const void* who) { movements.holdEnded(who); };
    a.holds = [&movements](const void* who) { return movements.holds(who); };
    const StickHandlers handlers = {
        [this](int button, bool plain) { on_js_btn_down_ex(button, plain); },
        [this](int button) { on_js_btn_up_ex(button); },
        [this](int axis, float offset, bool yaw_reverse, bool pitch_reverse, float speed) {
            on_js_direction(axis, offset, yaw_reverse, pitch_reverse, speed);
        },
        [this](int axis) { on_js_direction_reset(axis); }};
    m_parts->stick = std::make_unique<StickPanel>(std::move(a), handlers);
}

void Korvath::connectWindow() {
    const auto onAction = [this](QAction* action, void (Korvath::*slot)()) {
        connect(action, &QAction::triggered, this, slot);
    };
    onAction(ui->action_connection, &Korvath::on_action_connection);
    onAction(ui->action_fileSettings, &Korvath::OnFileSettings);
    onAction(ui->action_fileOpenAvi, &Korvath::OnOpenAviFile);
    onAction(ui->action_ctrlRec, &Korvath::OnRecordVideo);
    onAction(ui->action_ctrlSingleSnap, &Korvath::OnSingleSnap);
    // Full screen hides the tool bars, and hidden bars hold no shortcuts.
    addActions({ui->action_ctrlRec, ui->action_ctrlSingleSnap});
    onAction(ui->action_videoWin1, &Korvath::OnClickedVideoWin1);
    onAction(ui->action_videoWin2, &Korvath::OnClickedVideoWin2);
    onAction(ui->action_videoWinLR, &Korvath::OnClickedVideoWinLR);
    onAction(ui->action_videoWinTB, &Korvath::OnClickedVideoWinTB);
    onAction(ui->action_chartAna, &Korvath::OnActionChartAnaTriggered);
    connect(ui->action_map, &QAction::triggered, m_parts->maps.get(), &MapHosts::show);
    connect(m_parts->presenter.get(), &PicturePresenter::pictureCame, m_parts->maps.get(),
            &MapHosts::pictureCame);
    onAction(ui->action_telemetry_info, &Korvath::on_action_telemetry_info);
    connect(ui->action_sei, &QAction::triggered, m_seiDlg, &QWidget::show);
    connect(ui->m_btnPagePrev, &QPushButton::clicked, this, &Korvath::OnButtonPagePrevClicked);
    connect(ui->m_btnPageNext, &QPushButton::clicked, this, &Korvath::OnButtonPageNextClicked);
}

void Korvath::connectConnectionDialog() {
    const ConnectionForm& form = *m_parts->connection_form;
    connect(form.udp, &QRadioButton::toggled, this, &Korvath::OnNetControlUdpChanged);
    connect(form.serial_refresh, &QPushButton::clicked, this, &Korvath::RefreshSerialPortList);
    connect(form.serial_open, &QPushButton::clicked, this, &Korvath::OpenSerialPort);
    connect(form.net_open, &QPushButton::clicked, this, &Korvath::OnUdpConnect);
    connect(form.ins_refresh, &QPushButton::clicked, this, [this] { m_parts->link->refreshInsPorts(); });
    connect(form.ins_open, &QPushButton::clicked, this, [this] { m_parts->link->toggleIns(); });
    connect(form.video1_open, &QPushButton::clicked, this, &Korvath::OnOpenVideo1_manual);
    connect(form.video2_open, &QPushButton::clicked, this, &Korvath::OnOpenVideo2);
}

void Korvath::connectCommands() {
    const MainForm& form = m_parts->form;
    const auto onChoice = [this](QComboBox* box, void (Korvath::*slot)(int)) {
        connect(box, QOverload<int>::of(&QComboBox::activated), this, slot);
    };
    onChoice(form.palette, &Korvath::on_clr_changed);
    onChoice(form.enhancement, &Korvath::on_dde_changed);
    onChoice(form.template_size, &Korvath::on_template_changed);
    onChoice(form.fog_level, &Korvath::on_fog_changed);
    onChoice(form.load_enable, &Korvath::on_zh_enable_changed);
    onChoice(form.load_sleep, &Korvath::on_zh_sleep_changed);
    onChoice(form.display_mode, &Korvath::on_video_mode_changed);
    onChoice(form.osd_mode, &Korvath::on_osd_changed);
    onChoice(form.locate_mode, &Korvath::on_locate_mode_changed);
    onChoice(form.azimuth_mode, &Korvath::on_scan_mode_changed_x);
    onChoice(form.pitch_mode, &Korvath::on_scan_mode_changed_y);
    const auto onSwitch = [this](SwitchControl* control, void (Korvath::*slot)(bool)) {
        connect(control, &SwitchControl::toggled, this, slot);
    };
    onSwitch(form.detection_boxes, &Korvath::on_toggled_ai);
    onSwitch(form.illuminator, &Korvath::on_toggled_li);
    onSwitch(form.night_mode, &Korvath::on_toggled_dzd);
    onSwitch(form.stabilisation, &Korvath::on_toggled_dzwx);
    onSwitch(form.auto_track, &Korvath::on_toggled_auto_track);
    onSwitch(form.window_demist, &Korvath::on_toggled_cw);
}

void Korvath::connectSettings() {
    m_settings->setLinkQuestion([this] { return m_linkState != kLinkNone; });
    connect(m_settings, &PlayerSettingsDlg::themeChosen, this, &Korvath::applyTheme);
    connect(m_settings, &PlayerSettingsDlg::languageChanged, this, &Korvath::retranslate);
    connect(m_settings, &PlayerSettingsDlg::sendModeChanged, this, [this] {
        if (m_parts->stick != nullptr && m_parts->commands->modeIsNew()) {
            m_parts->stick->release();
        }
        m_parts->commands->modeChanged();
        applySendMode();
    });
    connect(m_settings, &PlayerSettingsDlg::servoFrameChosen, this, &Korvath::setServoFrame);
    connect(m_settings, &PlayerSettingsDlg::commandRequested, this,
            [this](const sorvane::Command& command) { sorvane::send(m_parts->sender->frames(), command); });
    connect(m_settings, &PlayerSettingsDlg::timedCommandRequested, this,
            [this](const sorvane::Command& command) {
                sorvane::send(m_parts->sender->frames(), command);
                startStopTimer();
            });
    connect(m_settings, &PlayerSettingsDlg::frameRequested, this,
            [this](std::uint16_t code, const QByteArray& payload) {
                sendVariableFrame(code, payload.constData(), payload.size());
            });
    connect(m_settings, &PlayerSettingsDlg::stopRequested, this,
            [this](int code) { m_parts->commands->endUnlessHeld(static_cast<std::uint16_t>(code)); });
    // What moves would not get its stop any more.
    connect(m_settings, &PlayerSettingsDlg::silenceRequested, this, [this] {
        m_parts->stick->release();
        m_parts->commands->endAll();
        silenceLink();
    });
    connect(m_parts->intake.get(), &Intake::replyTaken, m_settings, &PlayerSettingsDlg::on_recv_single_frame);
}
