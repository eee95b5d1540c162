// The parts of the main window and its forms under names of meaning, in the order in which they are built.
#pragma once

#include <memory>

#include "app/korvath.h"
#include "app/panes/floating_panes.h"
#include "forms/connection_form.h"
#include "forms/main_form.h"
#include "forms/sei_form.h"
#include "forms/telemetry_form.h"
#include "input/stick_panel.h"
#include "link/command_fields.h"
#include "link/command_pages.h"
#include "link/command_sender.h"
#include "link/link_panel.h"
#include "map/map_hosts.h"
#include "pulse/pulse_bar.h"
#include "telemetry/intake.h"
#include "telemetry/sei_panel.h"
#include "telemetry/status_pages.h"
#include "telemetry/telemetry_log.h"
#include "video/block_stream.h"
#include "video/channel_sound.h"
#include "video/completion_notices.h"
#include "video/drag_marks.h"
#include "video/frozen_frame.h"
#include "video/picture_presenter.h"
#include "video/recorder.h"
#include "video/replay.h"
#include "video/stills.h"
#include "video/stream_panel.h"
#include "video/video_channel.h"
#include "widgets/title_strip.h"

struct Korvath::Parts {
    explicit Parts(Ui::KorvathClass& built) : form{built} {}

    // From the constructor on.
    MainForm form;
    std::unique_ptr<PulseBoard> pulse;  // made last, gone last: the sender tells it every frame
    std::unique_ptr<TitleStrip> strip;
    std::unique_ptr<StatusPages> status_pages;
    std::unique_ptr<CommandSender> sender;
    std::unique_ptr<CommandFields> fields;
    std::unique_ptr<CommandPages> commands;
    std::unique_ptr<Intake> intake;
    std::unique_ptr<DragMarks> marks;
    std::unique_ptr<FloatingPanes> panes;
    std::unique_ptr<MapHosts> maps;
    std::unique_ptr<PicturePresenter> presenter;
    std::unique_ptr<ChannelSound> sound;
    std::unique_ptr<BlockStream> blocks;
    // From the first start-up stage on: they need the dialogs and the configuration.
    std::unique_ptr<ConnectionForm> connection_form;
    std::unique_ptr<TelemetryForm> telemetry_form;
    std::unique_ptr<SeiForm> sei_form;
    std::unique_ptr<SeiPanel> sei;
    std::unique_ptr<LinkPanel> link;
    std::unique_ptr<TelemetryLog> telemetry_log;
    std::unique_ptr<StickPanel> stick;
    std::unique_ptr<StreamPanel> streams;
    std::unique_ptr<VideoChannel> channel1;
    std::unique_ptr<VideoChannel> channel2;
    std::unique_ptr<CompletionNotices> notices;
    std::unique_ptr<Recorder> recorder;
    std::unique_ptr<Stills> stills;
    std::unique_ptr<Replay> replay;
};
