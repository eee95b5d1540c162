// The control link as the operator sees it, and a kind of list that the window keeps for the commands.
#pragma once

#include <QVector>
#include <cstdint>

enum LinkState : std::int32_t { kLinkNone = 0, kLinkSerial = 1, kLinkUdp = 2, kLinkTcp = 3 };

// Ids of pending timers.
using CommandTimerList = QVector<int>;
