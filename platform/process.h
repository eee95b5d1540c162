// The process as the system sees it: what is left behind by a crash, and how it ends.
#pragma once

namespace platform {

// Installs the process-wide handler of fatal errors. A crash leaves one dump file, named
// "YYYY-MM-DD-hh-mm-ss-mmm-rr.dmp" (local time, milliseconds, two random digits), in the current directory,
// and the process then ends. Call once, before threads start. Returns false when the system refuses.
bool installCrashHandler();

// Ends the process at once with status 0: flushes the standard streams, runs no further clean-up.
[[noreturn]] void exitAtOnce();

}  // namespace platform
