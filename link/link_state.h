// The control link as the operator sees it.
#pragma once

#include <cstdint>

enum LinkState : std::int32_t { kLinkNone = 0, kLinkSerial = 1, kLinkUdp = 2, kLinkTcp = 3 };
