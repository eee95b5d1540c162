// What still comes and goes, source by source, in the operator's words: the dots and the bar show it.
#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <array>
#include <cstdint>
#include <functional>

#include "pulse/pulse.h"

enum class PulseSource { kPicture1, kPicture2, kReport, kSending, kInertial };
constexpr std::array<PulseSource, 5> kPulseSources = {PulseSource::kPicture1, PulseSource::kPicture2,
                                                      PulseSource::kReport, PulseSource::kSending,
                                                      PulseSource::kInertial};

// The window's fields that say what is in use.
struct PulseFields {
    const bool& playing1;
    const bool& playing2;
    const std::int32_t& link_state;  // 0: no control link
    const int& ins_handle;           // negative: the inertial unit's port is closed
};

// What the board asks of its surroundings, each time anew. All must be set but the clocks.
struct PulseQuestions {
    std::function<bool()> sends_by_itself;  // frames leave without the operator's doing
    std::function<QString()> send_trouble;  // why nothing can be sent; empty when all is well
    std::function<qint64()> now_ms = {};    // a clock that never goes back; a test sets its own
    std::function<QDateTime()> wall_clock = QDateTime::currentDateTime;
};

// The window tells it every arrival, and asks it to look again ten times a second. Fields outlive it. GUI
// thread.
class PulseBoard : public QObject {
    Q_OBJECT

public:
    PulseBoard(const PulseFields& fields, PulseQuestions questions);

    // window_id: 1 or 2.
    void pictureCame(int window_id) { came(picture(window_id)); }
    void reportCame() { came(PulseSource::kReport); }
    void inertialCame() { came(PulseSource::kInertial); }
    // Bytes were handed to the system for the control link: taken or not.
    void sent(bool taken);
    // Looks at every source, and says so by looked().
    void look();

    sorvane::PulseReading reading(PulseSource source) const;
    // Something in use is not ok.
    bool trouble() const;
    // A picture has come since that channel was opened, and none for at least a second.
    bool frozen(int window_id) const;
    // The short name beside a dot, and the tip: rate, losses, the last error.
    static QString caption(PulseSource source);
    QString tip(PulseSource source) const;

signals:
    void looked();
    // Captions are to be asked for again.
    void languageChanged();

private:
    // What went wrong last; the words are made when asked for, as the language may change.
    struct Trouble {
        QDateTime when;
        qint64 pause_ms = 0;
        QString words;  // of a line that takes nothing; empty for a pause
    };
    struct Source {
        sorvane::Pulse pulse;
        Trouble last;
    };
    Source& at(PulseSource source) { return m_sources[static_cast<std::size_t>(source)]; }
    const Source& at(PulseSource source) const { return m_sources[static_cast<std::size_t>(source)]; }
    static PulseSource picture(int window_id) {
        return window_id == 1 ? PulseSource::kPicture1 : PulseSource::kPicture2;
    }
    bool inUse(PulseSource source) const;
    void follow(PulseSource source);
    void came(PulseSource source);
    static QString nameOf(PulseSource source);
    QString rateText(const sorvane::Pulse& pulse) const;
    static QString lossText(PulseSource source, const sorvane::PulseCounts& counts);
    static QString troubleText(const Trouble& trouble);

    const PulseFields m_fields;
    PulseQuestions m_ask;
    std::array<Source, kPulseSources.size()> m_sources;
};
