// Opening and closing both channels, the address history, the stall check, the road of a picture, and the
// marks of a drag.
#include <QCoreApplication>
#include <QTimerEvent>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "settings/player_settings_dlg.h"
#include "tavrik/tavrik.h"
#include "ui_connection.h"
#include "ui_korvath.h"
#include "video/audio_gate.h"
#include "video/frame_post.h"
#include "video/my_tip_dialog.h"
#include "video/qmyvideowidget.h"
#include "video/stream_rules.h"
#include "widgets/my_trans_dlg.h"

namespace {

// Valid until the next conversion.
const char* latin1(const QString& text) {
    static QByteArray bytes;
    bytes = text.toLatin1();
    return bytes.constData();
}

QStringList noted(const QStringList& history, const QString& address) {
    std::vector<std::string> texts;
    for (const QString& entry : history)
        texts.push_back(entry.toStdString());
    sorvane::noteOpenedAddress(texts, address.toStdString());
    QStringList result;
    for (const std::string& entry : texts)
        result << QString::fromStdString(entry);
    return result;
}

void centreMark(QLabel* mark, const QPoint& global) {
    mark->move(mark->parentWidget()->mapFromGlobal(global) - QPoint(mark->width() / 2, mark->height() / 2));
    mark->show();
}

// Only the marks are there: without a compositor the overlay would cover the picture, and the wheel reaches
// what lies beneath.
void maskToMarks(QWidget* overlay, std::initializer_list<const QLabel*> marks) {
    QRegion shape;
    for (const QLabel* mark : marks) {
        if (!mark->isHidden()) shape += QRegion(mark->geometry(), QRegion::Ellipse);
    }
    overlay->setMask(shape);
}

}  // namespace

void Korvath::setupVideo() {
    ui_connection->cbb_stream_type->addItems({QStringLiteral("RTSP"), QStringLiteral("UDP Raw"),
                                              QStringLiteral("UDP 422"), QStringLiteral("UDP TS")});
    ui_connection->le_ctrlVideoIpPort1->setText(QString::number(config().video1_port));
    ui_connection->le_ctrlVideoIpPort2->setText(QString::number(config().video2_port));
    const int type = config().video_type;
    ui_connection->cbb_stream_type->setCurrentIndex(
        type < ui_connection->cbb_stream_type->count() ? qMax(type, 0) : 0);
    onStreamTypeChanged(ui_connection->cbb_stream_type->currentIndex());
    connect(ui_connection->cbb_stream_type, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &Korvath::onStreamTypeChanged);
    connect(ui_connection->pushButton_22, &QPushButton::clicked, this, &Korvath::OnOpenVideo1_manual);
    connect(ui_connection->pushButton_23, &QPushButton::clicked, this, &Korvath::OnOpenVideo2);
}

void Korvath::onStreamTypeChanged(int index) {
    const bool has_port = index != sorvane::STREAM_RTSP;
    ui_connection->le_ctrlVideoIpPort1->setEnabled(has_port);
    ui_connection->le_ctrlVideoIpPort2->setEnabled(has_port);
    const std::string second = sorvane::secondAddress(index, config().video2_play_address.toStdString());
    ui_connection->le_ctrlVideoIpAddr2->setText(QString::fromStdString(second));
    refillVideo1Addresses();
}

void Korvath::refillVideo1Addresses() {
    QComboBox* box = ui_connection->comboBox_2;
    const int type = ui_connection->cbb_stream_type->currentIndex();
    box->clear();
    for (const QString& address : config().video1_play_address) {
        if (sorvane::offeredWith(type, address.toStdString())) box->addItem(address);
    }
    if (box->count() > 0) box->setCurrentIndex(0);
}

void Korvath::OnOpenVideo1() {
    if (playing1) {
        closeVideo1();
    } else {
        openVideo1();
    }
}

void Korvath::OnOpenVideo1_manual() {
    OnOpenVideo1();
}

void Korvath::OnOpenVideo2() {
    if (playing2) {
        closeVideo2();
    } else {
        openVideo2();
    }
}

void Korvath::openVideo1() {
    VideoSurface* surface = findOrCreateSurface(ui->videoWin1);
    if (surface == nullptr) return;
    audio_gate::open();
    if (ui_connection->cbb_stream_type->currentIndex() == sorvane::STREAM_UDP_422) {
        openBlockStream();
        return;
    }
    surface->player_handle = tavrik::feedOpen(
        latin1(ui_connection->comboBox_2->currentText()), ui_connection->le_ctrlVideoIpPort1->text().toInt(),
        frameCallback(this, ui->videoWin1),
        [this](unsigned char* data, int size, int sample_rate, int channels) {
            onAudio(data, size, sample_rate, channels);
        },
        ui_connection->comboBox->currentText().toStdString(),
        ui_connection->cbb_stream_type->currentIndex() == sorvane::STREAM_RTSP,
        config().av_dict_set.toStdString(), tavrik::SeiCallback(), m_settings->decoderValue());
    if (surface->player_handle > 0) openVideo1Success();
    refreshStatus();
}

void Korvath::openVideo1Success() {
    playing1 = true;
    no_signal1 = false;
    ui->videoWin1->streamStateChanged();
    ui_connection->pushButton_22->setText(tr("关闭"));
    config().video1_play_address =
        noted(config().video1_play_address, ui_connection->comboBox_2->currentText());
    refillVideo1Addresses();
    if (ui_connection->cbb_stream_type->currentIndex() != sorvane::STREAM_UDP_422) {
        m_videoCheckTimer = startTimer(config().check_video_ms, Qt::CoarseTimer);
    }
}

void Korvath::closeVideo1() {
    if (m_videoCheckTimer != 0) killTimer(m_videoCheckTimer);
    m_videoCheckTimer = 0;
    const VideoSurface* surface = findSurface(ui->videoWin1);
    const int handle = surface != nullptr ? surface->player_handle : 0;
    if (recording1) {
        tavrik::captureEnd(handle);
        recording1 = false;
        if (!recording2) ui->action_ctrlRec->setChecked(false);
    }
    // Sound may be waiting for its device, which feedClose would wait for in turn.
    audio_gate::close();
    tavrik::feedClose(handle);
    playing1 = false;
    no_signal1 = true;
    ui->videoWin1->streamStateChanged();
    ui_connection->pushButton_22->setText(tr("连接"));
    closeAudio();
    if (snapping1) {
        tavrik::StillEnd(handle);
        snapping1 = false;
    }
    closeBlockStream();
    if (m_frameTimer != 0) killTimer(m_frameTimer);
    m_frameTimer = 0;
    // The cached tail is drawn at full speed, not dropped; meant.
    while (!frame_cache.empty()) {
        FrameParcel* parcel = frame_cache.front();
        frame_cache.pop_front();
        renderAndDispose(parcel);
    }
    m_showFps = config().show_fps_init;
    refreshStatus();
}

void Korvath::openVideo2() {
    VideoSurface* surface = findOrCreateSurface(ui->videoWin2);
    if (surface == nullptr) return;
    surface->player_handle = tavrik::feedOpen(
        latin1(ui_connection->le_ctrlVideoIpAddr2->text()),
        ui_connection->le_ctrlVideoIpPort2->text().toInt(), frameCallback(this, ui->videoWin2),
        tavrik::AudioCallback(), ui_connection->comboBox->currentText().toStdString(),
        ui_connection->cbb_stream_type->currentIndex() == sorvane::STREAM_RTSP,
        config().av_dict_set.toStdString(), tavrik::SeiCallback(), m_settings->decoderValue());
    if (surface->player_handle > 0) {
        playing2 = true;
        ui_connection->pushButton_23->setText(tr("关闭"));
        no_signal2 = false;
        ui->videoWin2->streamStateChanged();
    }
    refreshStatus();
}

void Korvath::closeVideo2() {
    const VideoSurface* surface = findSurface(ui->videoWin2);
    const int handle = surface != nullptr ? surface->player_handle : 0;
    if (recording2) {
        tavrik::captureEnd(handle);
        recording2 = false;
        if (!recording1) ui->action_ctrlRec->setChecked(false);
    }
    tavrik::feedClose(handle);
    playing2 = false;
    no_signal2 = true;
    ui->videoWin2->streamStateChanged();
    ui_connection->pushButton_23->setText(tr("连接"));
    if (snapping2) {
        tavrik::StillEnd(handle);
        snapping2 = false;
    }
    refreshStatus();
}

// The whole policy of reconnection: no back-off, no limit, no message.
void Korvath::onVideoCheckTimer() {
    if (!m_videoAlive) {
        OnOpenVideo1();
        OnOpenVideo1();
    }
    m_videoAlive = false;
}

void Korvath::onVideoFrame(QMyEvent* e) {
    auto* parcel = static_cast<FrameParcel*>(e->data);
    if (parcel == nullptr) return;
    e->data = nullptr;
    if (ui_connection->cbb_stream_type->currentIndex() != sorvane::STREAM_UDP_422) {
        drawInTurn(std::unique_ptr<FrameParcel>(parcel));
        return;
    }
    frame_cache.push_back(parcel);
    if (m_frameTimer == 0 && static_cast<int>(frame_cache.size()) == config().cache_frame_count_start) {
        m_frameTimer = startTimer(sorvane::framePeriodMs(m_showFps), Qt::PreciseTimer);
    }
}

// The toolkit delivers all posted events, and those posted meanwhile, before it looks at input and timers
// again. Pictures that come faster than they can be drawn would never let it: a second one waits for the next
// turn.
void Korvath::drawInTurn(std::unique_ptr<FrameParcel> parcel) {
    constexpr int kNextTurnMs = 1;
    if (m_turnTimer != 0) {
        m_laterPictures.push_back(std::move(parcel));
        return;
    }
    renderAndDispose(parcel.release());
    m_turnTimer = startTimer(kNextTurnMs, Qt::PreciseTimer);
}

void Korvath::onTurnTimer() {
    if (m_laterPictures.empty()) {
        killTimer(m_turnTimer);
        m_turnTimer = 0;
        return;
    }
    FrameParcel* parcel = m_laterPictures.front().release();
    m_laterPictures.pop_front();
    renderAndDispose(parcel);
}

void Korvath::onFrameTimer() {
    const bool was_empty = frame_cache.empty();
    if (!was_empty) {
        FrameParcel* parcel = frame_cache.front();
        frame_cache.pop_front();
        renderAndDispose(parcel);
    }
    const sorvane::PacingRule rule{config().show_fps_modify, config().show_fps_min,
                                   config().cache_frame_count_max};
    m_showFps = sorvane::nextShowFps(m_showFps, was_empty, frame_cache.size(), rule);
    killTimer(m_frameTimer);
    m_frameTimer = startTimer(sorvane::framePeriodMs(m_showFps), Qt::PreciseTimer);
}

void Korvath::closeAllVideo() {
    if (m_videoCheckTimer != 0) killTimer(m_videoCheckTimer);
    if (m_frameTimer != 0) killTimer(m_frameTimer);
    if (m_turnTimer != 0) killTimer(m_turnTimer);
    m_videoCheckTimer = m_frameTimer = m_turnTimer = 0;
    audio_gate::close();
    for (const VideoSurface& surface : m_surfaces)
        tavrik::feedClose(surface.player_handle);
    closeAudio();
    closeBlockStream();
    for (FrameParcel* parcel : frame_cache)
        delete parcel;
    frame_cache.clear();
    m_laterPictures.clear();
}

bool Korvath::noSignalTest(int window_id) const {
    return (window_id == 1 && !no_signal1) || (window_id == 2 && !no_signal2);
}

// The first window alone: the rate limit is told for its drags only.
bool Korvath::dragUnderWay() const {
    return ui->videoWin1->dragUnderWay();
}

void Korvath::showDragRing(const QPoint& global_center) {
    if (m_dragOverlay == nullptr) return;
    centreMark(m_dragRing, global_center);
    maskToMarks(m_dragOverlay, {m_dragRing, m_dragDot});
    m_dragOverlay->show();
}

void Korvath::showDragDot(const QPoint& global_center) {
    if (m_dragOverlay == nullptr) return;
    centreMark(m_dragDot, global_center);
    maskToMarks(m_dragOverlay, {m_dragRing, m_dragDot});
}

void Korvath::hideDragMarks() {
    if (m_dragOverlay == nullptr) return;
    m_dragRing->hide();
    m_dragDot->hide();
    m_dragOverlay->hide();
}

void Korvath::placeTips() {
    struct Tip {
        MyTipDialog* dialog;
        QWidget* widget;
        bool open, snapping, recording;
    };
    const std::array<Tip, 2> tips = {{{m_tip1, ui->videoWin1, playing1, snapping1, recording1},
                                      {m_tip2, ui->videoWin2, playing2, snapping2, recording2}}};
    for (const Tip& tip : tips) {
        if (tip.dialog == nullptr || !tip.open) continue;
        tip.dialog->setSnapping(tip.snapping);
        tip.dialog->setRecording(tip.recording);
        if (tip.snapping || tip.recording) tip.dialog->move(tip.widget->mapToGlobal(QPoint(0, 5)));
    }
}
