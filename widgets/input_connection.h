// The connection on which the toolkit receives its input, where the system has such a thing.
#pragma once

#include <optional>

// Null where there is none; nothing at all where the system's own window moves are not to be had (another
// display system than the one that the station is built for). Not owned.
std::optional<void*> inputConnection();
