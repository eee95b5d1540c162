// The decoders that the stream library has, asked for on a thread of their own: opening a graphics device
// takes a driver hundreds of milliseconds, and one that hangs must hold nothing.
#pragma once

#include <chrono>
#include <functional>
#include <future>

namespace sorvane {

// Copies share the answer. Any thread.
class DecoderMask {
public:
    // Known from the start. Bit 0 software, 1 CUDA, 2 Quick Sync.
    DecoderMask(int mask);  // NOLINT(google-explicit-constructor): a mask is one
    // Calls `ask` once on a thread that nobody waits for but value(); what `ask` uses lives as long as the
    // process. Without a thread to be had it is called at once.
    explicit DecoderMask(std::function<int()> ask);

    bool known() const;
    // Waits until it is known.
    int value() const { return m_mask.get(); }
    // Waits for so long at most; false if it is not known then.
    bool waitFor(std::chrono::milliseconds longest) const;

private:
    std::shared_future<int> m_mask;
};

}  // namespace sorvane
