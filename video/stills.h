// Single pictures of the open channels: where they lie and when they are taken. The stream library writes
// them.
#pragma once

#include <QString>
#include <array>
#include <functional>

#include "base/calendar_time.h"

class MyAppConfig;

// A channel as taking pictures sees it.
struct PicturedChannel {
    const bool& open;
    std::function<int()> handle;  // of its stream
};

// All must be set.
struct StillsActions {
    std::function<sorvane::CalendarTime()> local_clock;
    // The path asked for last, whether or not its file came about.
    std::function<void(const QString& path)> taken;
};

// Everything handed in outlives it. GUI thread.
class Stills {
public:
    using Channels = std::array<PicturedChannel, 2>;

    // dir: the window's field of the dated directory of the latest picture.
    Stills(Channels channels, QString& dir, const MyAppConfig& config, StillsActions actions);

    // One picture of each open channel, both with one time in their names; nothing without an open channel.
    void takeSingle();

private:
    const Channels m_channels;
    QString& m_dir;
    const MyAppConfig& m_config;
    const StillsActions m_actions;
};
