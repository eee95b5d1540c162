#include "settings/decoder_mask.h"

#include <chrono>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

namespace sorvane {

DecoderMask::DecoderMask(int mask) {
    std::promise<int> promise;
    promise.set_value(mask);
    m_mask = promise.get_future().share();
}

DecoderMask::DecoderMask(std::function<int()> ask) {
    auto task = std::make_shared<std::packaged_task<int()>>(std::move(ask));
    m_mask = task->get_future().share();
    try {
        std::thread([task] { (*task)(); }).detach();
    } catch (const std::system_error&) {
        (*task)();
    }
}

bool DecoderMask::known() const { return waitFor(std::chrono::milliseconds(0)); }

bool DecoderMask::waitFor(std::chrono::milliseconds longest) const {
    return m_mask.wait_for(longest) == std::future_status::ready;
}

}  // namespace sorvane
