// Starting with the operator's session.
#pragma once

#include <string>

namespace platform {

// Registers a program (UTF-8, the system's own separators) under `name` to start with the session; writes
// only if what is registered differs. Windows: the machine's Run key (needs the rights for it). Elsewhere:
// the desktop's autostart folder. Says nothing on a failure.
void registerAutostart(const std::string& name, const std::string& program_path);

}  // namespace platform
