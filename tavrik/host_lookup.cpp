#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netdb.h>
#include <sys/socket.h>
#endif

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "tavrik/host_lookup.h"

namespace tavrik {
namespace {

struct Lookup {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    std::optional<std::string> answer;
};

std::optional<std::string> lookUpNow(const std::string& host) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_ADDRCONFIG;
    addrinfo* list = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0 || list == nullptr) return std::nullopt;
    char text[NI_MAXHOST] = {};
    const int result = getnameinfo(list->ai_addr, static_cast<socklen_t>(list->ai_addrlen), text,
                                   sizeof(text), nullptr, 0, NI_NUMERICHOST);
    freeaddrinfo(list);
    if (result != 0) return std::nullopt;
    return std::string(text);
}

}  // namespace

std::optional<std::string> lookUpHost(const std::string& host, int timeout_ms,
                                      const std::function<bool()>& cancelled) {
    constexpr auto kStep = std::chrono::milliseconds(50);
    const auto lookup = std::make_shared<Lookup>();
    try {
        std::thread([lookup, host] {
            std::optional<std::string> answer = lookUpNow(host);
            const std::lock_guard<std::mutex> lock(lookup->mutex);
            lookup->answer = std::move(answer);
            lookup->done = true;
            lookup->changed.notify_all();
        }).detach();
    } catch (const std::system_error&) {
        return std::nullopt;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    std::unique_lock<std::mutex> lock(lookup->mutex);
    while (!lookup->done && !cancelled() && std::chrono::steady_clock::now() < deadline) {
        lookup->changed.wait_for(lock, kStep);
    }
    return lookup->answer;
}

}  // namespace tavrik
