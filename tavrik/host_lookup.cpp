#include "tavrik/host_lookup.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "tavrik/resolver.h"

namespace tavrik {
namespace {

struct Lookup {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    std::vector<std::string> answer;
};

}  // namespace

std::vector<std::string> lookUpHost(const std::string& host, int timeout_ms,
                                    const std::function<bool()>& cancelled) {
    constexpr auto kStep = std::chrono::milliseconds(50);
    const auto lookup = std::make_shared<Lookup>();
    try {
        std::thread([lookup, host] {
            std::vector<std::string> answer = resolve(host);
            const std::lock_guard<std::mutex> lock(lookup->mutex);
            lookup->answer = std::move(answer);
            lookup->done = true;
            lookup->changed.notify_all();
        }).detach();
    } catch (const std::system_error&) {
        return {};
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    std::unique_lock<std::mutex> lock(lookup->mutex);
    while (!lookup->done && !cancelled() && std::chrono::steady_clock::now() < deadline) {
        lookup->changed.wait_for(lock, kStep);
    }
    return lookup->answer;
}

}  // namespace tavrik
