// Which decoders this machine has, found out without holding anybody up.
#pragma once

#include <functional>

namespace tavrik {

// Opens the devices, which takes up to seconds, on a thread of its own, and calls `done` there once with what
// list_decoders() returns. Where the system gives no thread: with software alone, at once. After `done`
// list_decoders() answers at once; before, it waits.
void probeDecoders(std::function<void(int mask)> done);

}  // namespace tavrik
