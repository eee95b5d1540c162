// The page that the pod's encoder serves: its settings, and a form that changes them.
#pragma once

#include <string>
#include <vector>

#include "simulator/pod/snapshot.h"
#include "simulator/wire/wire.h"

namespace podsim {

// Payloads of command 98 for what a query asks for ("codec=1&bitrate=4000"); unknown and wrong parts are
// passed over.
std::vector<wire::Bytes> encoderCommandsOf(const std::string& query);
// The page as HTML.
std::string encoderPage(const Snapshot& snapshot);

}  // namespace podsim
