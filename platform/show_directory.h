// Shows a directory or a file in the desktop's own programs.
#pragma once

namespace platform {

// Starts the desktop's program for `native_path` (UTF-8, the system's own separators) detached: it outlives
// us, and its result is not looked at. Returns false only when nothing could be started at all. Any thread.
bool showDirectory(const char* native_path);

}  // namespace platform
