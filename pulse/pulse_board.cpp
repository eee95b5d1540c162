#include "pulse/pulse_board.h"

#include <QElapsedTimer>
#include <algorithm>
#include <utility>

using sorvane::PulseState;

namespace {

constexpr qint64 kFrozenMs = 1000;

std::function<qint64()> steadyClock() {
    QElapsedTimer timer;
    timer.start();
    return [timer] { return timer.elapsed(); };
}

QString seconds(qint64 ms) { return QString::number(static_cast<double>(ms) / 1000.0, 'f', 1); }

}  // namespace

PulseBoard::PulseBoard(const PulseFields& fields, PulseQuestions questions)
    : m_fields(fields), m_ask(std::move(questions)) {
    if (!m_ask.now_ms) {
        m_ask.now_ms = steadyClock();
    }
}

bool PulseBoard::inUse(PulseSource source) const {
    switch (source) {
        case PulseSource::kPicture1:
            return m_fields.playing1;
        case PulseSource::kPicture2:
            return m_fields.playing2;
        case PulseSource::kReport:
        case PulseSource::kSending:
            return m_fields.link_state != 0;
        case PulseSource::kInertial:
            break;
    }
    return m_fields.ins_handle >= 0;
}

void PulseBoard::follow(PulseSource source) {
    Source& s = at(source);
    const bool in_use = inUse(source);
    if (in_use && !s.pulse.inUse()) {
        s.last = Trouble();
    }
    s.pulse.follow(in_use, source != PulseSource::kSending || m_ask.sends_by_itself(), m_ask.now_ms());
}

void PulseBoard::came(PulseSource source) {
    follow(source);
    Source& s = at(source);
    if (s.pulse.came(m_ask.now_ms())) {
        s.last = {m_ask.wall_clock(), s.pulse.lastPauseMs(), {}};
    }
}

void PulseBoard::sent(bool taken) {
    if (taken) {
        came(PulseSource::kSending);
        return;
    }
    follow(PulseSource::kSending);
    Source& s = at(PulseSource::kSending);
    s.pulse.failed();
    if (s.pulse.inUse()) {
        s.last = {m_ask.wall_clock(), 0, tr("系统未接收待发数据")};
    }
}

void PulseBoard::look() {
    for (const PulseSource source : kPulseSources) {
        follow(source);
    }
    Source& sending = at(PulseSource::kSending);
    const QString words = sending.pulse.inUse() ? m_ask.send_trouble() : QString();
    sending.pulse.setBroken(!words.isEmpty());
    if (!words.isEmpty()) {
        sending.last = {m_ask.wall_clock(), 0, words};
    }
    emit looked();
}

sorvane::PulseReading PulseBoard::reading(PulseSource source) const {
    return at(source).pulse.read(m_ask.now_ms());
}

bool PulseBoard::trouble() const {
    return std::any_of(kPulseSources.begin(), kPulseSources.end(), [this](PulseSource source) {
        const PulseState state = reading(source).state;
        return state == PulseState::kWarn || state == PulseState::kDanger;
    });
}

bool PulseBoard::frozen(int window_id) const {
    const PulseSource source = picture(window_id);
    const sorvane::PulseReading now = reading(source);
    return now.state != PulseState::kAbsent && now.age_ms >= kFrozenMs && at(source).pulse.counts().came > 0;
}

QString PulseBoard::caption(PulseSource source) {
    switch (source) {
        case PulseSource::kPicture1:
            return tr("视频1");
        case PulseSource::kPicture2:
            return tr("视频2");
        case PulseSource::kReport:
            return tr("回报");
        case PulseSource::kSending:
            return tr("发送");
        case PulseSource::kInertial:
            break;
    }
    return tr("惯导");
}

QString PulseBoard::nameOf(PulseSource source) {
    switch (source) {
        case PulseSource::kPicture1:
            return tr("视频1：最后一帧画面的时间");
        case PulseSource::kPicture2:
            return tr("视频2：最后一帧画面的时间");
        case PulseSource::kReport:
            return tr("吊舱回报：最后一次回报的时间");
        case PulseSource::kSending:
            return tr("控制发送：最后一次发出的时间");
        case PulseSource::kInertial:
            break;
    }
    return tr("外接惯导：最后一帧数据的时间");
}

QString PulseBoard::rateText(const sorvane::Pulse& pulse) const {
    if (!pulse.byItself()) {
        return tr("频率：按需发送");
    }
    return tr("频率：每秒 %1").arg(pulse.rate(m_ask.now_ms()), 0, 'f', 1);
}

QString PulseBoard::lossText(PulseSource source, const sorvane::PulseCounts& counts) {
    QString text = counts.pauses == 0 ? tr("中断：无")
                                      : tr("中断：%1 次，约缺 %2，最长 %3 s")
                                            .arg(counts.pauses)
                                            .arg(counts.missing)
                                            .arg(seconds(counts.longest_pause_ms));
    if (source == PulseSource::kSending) {
        text += QLatin1Char('\n') + tr("未被系统接收：%1").arg(counts.failed);
    }
    return text;
}

QString PulseBoard::troubleText(const Trouble& trouble) {
    if (!trouble.when.isValid()) {
        return tr("最近错误：无");
    }
    const QString what =
        trouble.words.isEmpty() ? tr("中断 %1 s").arg(seconds(trouble.pause_ms)) : trouble.words;
    return tr("最近错误：%1 %2").arg(trouble.when.toString(QStringLiteral("HH:mm:ss")), what);
}

QString PulseBoard::tip(PulseSource source) const {
    const Source& s = at(source);
    return QStringList{nameOf(source), rateText(s.pulse), lossText(source, s.pulse.counts()),
                       troubleText(s.last), tr("点击打开其连接设置")}
        .join(QLatin1Char('\n'));
}
