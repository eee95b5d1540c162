// A stack of its own for the handler of fatal signals, in every thread.
#pragma once

namespace platform {

// Gives the calling thread one that lasts as long as the process. From the program's start on the threads
// that it and its libraries create have one each, which goes with the thread; not in sanitizer builds, whose
// run-time does that itself. False when the system refuses.
bool giveSignalStack();

}  // namespace platform
