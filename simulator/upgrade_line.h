// The control line's side of a firmware upgrade: answers as frames, what a flash holds as a file, the
// console.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/pod/pod.h"
#include "simulator/pod/upgrade.h"
#include "simulator/wire/wire.h"

namespace podsim {

wire::Bytes upgradeFrame(const Upgrade::Answer& answer);
// FOLDER/moduleN.bin, whole or not at all. False when it cannot be written.
bool writeFlash(const std::string& folder, int module, const std::vector<std::uint8_t>& image);

// What the console says to "upgrade" and "upgrade-fault KIND@FRAME", with the end of the line.
std::string upgradeConsole(const std::string& line, Pod& pod);

}  // namespace podsim
