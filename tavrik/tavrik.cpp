#include "tavrik/tavrik.h"

#include <algorithm>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "tavrik/address.h"
#include "tavrik/clip_session.h"
#include "tavrik/datagram_source.h"
#include "tavrik/decoder_list.h"
#include "tavrik/live_session.h"
#include "tavrik/network_source.h"
#include "tavrik/path_text.h"
#include "tavrik/pull_source.h"
#include "tavrik/rtsp_source.h"

namespace tavrik {
namespace {

// Every open handle of the process. Its lock is never held while a session starts or closes.
class Registry {
public:
    // Never destroyed: threads left behind at exit may still be there.
    static Registry& instance() {
        static Registry* const registry = new Registry;
        return *registry;
    }

    int add(std::shared_ptr<Session> session) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const int handle = m_next++;
        m_sessions[handle] = std::move(session);
        return handle;
    }
    std::shared_ptr<Session> find(int handle) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_sessions.find(handle);
        return found != m_sessions.end() ? found->second : nullptr;
    }
    // The pull where the handle is not open.
    std::shared_ptr<Session> findOrPull(int handle) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        auto found = m_sessions.find(handle);
        if (found == m_sessions.end()) {
            found = m_sessions.find(m_pull);
        }
        return found != m_sessions.end() ? found->second : nullptr;
    }
    std::shared_ptr<Session> take(int handle) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_sessions.find(handle);
        if (found == m_sessions.end()) {
            return nullptr;
        }
        std::shared_ptr<Session> session = std::move(found->second);
        m_sessions.erase(found);
        if (handle == m_pull) {
            m_pull = 0;
        }
        return session;
    }
    int exchangePull(int handle) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_pull, handle);
    }
    void setHooks(ReplayHook on_start, ReplayHook on_end) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_onStart = on_start;
        m_onEnd = on_end;
    }
    ClipCallbacks clipCallbacks(FrameCallback on_frame) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return ClipCallbacks{std::move(on_frame), m_onStart, m_onEnd};
    }
    void setClipLength(std::int64_t ms) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_clipLengthMs = static_cast<std::int32_t>(std::min<std::int64_t>(ms, INT32_MAX));
    }
    std::int32_t clipLength() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_clipLengthMs;
    }

private:
    Registry() {
        // FFmpeg reports every damaged picture on the standard error output; a radio link has many.
        av_log_set_level(AV_LOG_FATAL);
        avformat_network_init();
    }

    std::mutex m_mutex;
    std::map<int, std::shared_ptr<Session>> m_sessions;
    int m_next = 1;
    int m_pull = 0;
    ReplayHook m_onStart = nullptr;
    ReplayHook m_onEnd = nullptr;
    std::int32_t m_clipLengthMs = 0;
};

std::unique_ptr<Source> makeSource(const char* url, int port, const std::string& local_ip, bool is_rtsp,
                                   const Options& options) {
    const std::string text = url != nullptr ? url : "";
    if (is_rtsp) {
        const auto address = parseNetworkAddress(text);
        if (!address) {
            return nullptr;
        }
        if (address->scheme == "rtsp") {
            return std::make_unique<RtspSource>(*address, options);
        }
        return std::make_unique<NetworkSource>(*address, options);
    }
    const auto address = parseDatagramAddress(text, port, local_ip);
    if (!address) {
        return nullptr;
    }
    return std::make_unique<DatagramSource>(*address);
}

// Latin-1 is the first 256 code points.
std::string utf8OfLatin1(const char* text) {
    std::string out;
    for (; *text != '\0'; ++text) {
        const auto c = static_cast<unsigned char>(*text);
        if (c < 0x80) {
            out += *text;
        } else {
            out += static_cast<char>(0xC0 | c >> 6);
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

void closeHandle(int handle) {
    if (const std::shared_ptr<Session> session = Registry::instance().take(handle)) {
        session->close();
    }
}

}  // namespace

int list_decoders() {
    Registry::instance();
    return availableDecoders();
}

int feedOpen(const char* url, int port, FrameCallback on_frame, AudioCallback on_audio, std::string local_ip,
             bool is_rtsp, std::string av_options, SeiCallback on_sei, std::uint8_t decoder) {
    try {
        Registry& registry = Registry::instance();
        const Options options = parseOptions(av_options);
        std::unique_ptr<Source> source = makeSource(url, port, local_ip, is_rtsp, options);
        if (source == nullptr) {
            return 0;
        }
        const auto session = std::make_shared<LiveSession>(
            LiveCallbacks{std::move(on_frame), std::move(on_audio), std::move(on_sei)}, decoderKind(decoder),
            options);
        const int handle = registry.add(session);
        if (session->start(std::move(source))) {
            return handle;
        }
        registry.take(handle);
    } catch (const std::exception&) {
        // Out of memory: the open fails, nothing else changes.
    }
    return 0;
}

int feedPull(FrameCallback on_frame, ReadCallback on_read, std::uint8_t decoder) {
    Registry& registry = Registry::instance();
    closeHandle(registry.exchangePull(0));
    if (!on_read) {
        return 0;
    }
    try {
        const auto session = std::make_shared<LiveSession>(
            LiveCallbacks{std::move(on_frame), nullptr, nullptr}, decoderKind(decoder), Options{});
        // The session outlives its source's thread, so its gate may be kept by reference.
        auto source =
            std::make_unique<PullSource>([&gate = session->gate(), on_read](unsigned char* to, int capacity) {
                int got = 0;
                gate.call([&] { got = on_read(to, capacity); });
                return got;
            });
        const int handle = registry.add(session);
        if (session->start(std::move(source))) {
            closeHandle(registry.exchangePull(handle));
            return handle;
        }
        registry.take(handle);
    } catch (const std::exception&) {
        // As in feedOpen.
    }
    return 0;
}

void feedClose(int handle) {
    Registry& registry = Registry::instance();
    if (const std::shared_ptr<Session> session = registry.take(handle)) {
        session->close();
    } else {
        closeHandle(registry.exchangePull(0));
    }
}

void feedHold(int handle) {
    if (const std::shared_ptr<Session> session = Registry::instance().find(handle)) {
        session->hold();
    }
}

void feedResume(int handle) {
    if (const std::shared_ptr<Session> session = Registry::instance().find(handle)) {
        session->resume();
    }
}

int clipOpen(const char* path, FrameCallback on_frame, std::uint8_t decoder) {
    if (path == nullptr) {
        return 0;
    }
    try {
        Registry& registry = Registry::instance();
        const auto session =
            std::make_shared<ClipSession>(registry.clipCallbacks(std::move(on_frame)), decoderKind(decoder));
        if (!session->prepare(utf8OfLatin1(path))) {
            return 0;
        }
        registry.setClipLength(session->lengthMs());
        const int handle = registry.add(session);
        // A replay that has ended is no open handle any more: it would stand between a close and the pull.
        if (session->start([&registry, handle] { registry.take(handle); })) {
            return handle;
        }
        registry.take(handle);
    } catch (const std::exception&) {
        // As in feedOpen.
    }
    return 0;
}

void ClipHooks(ReplayHook on_replay_start, ReplayHook on_replay_end) {
    Registry::instance().setHooks(on_replay_start, on_replay_end);
}

std::int32_t ClipLengthMs() { return Registry::instance().clipLength(); }

void captureBegin(const char* path, int handle, int format) {
    const std::shared_ptr<Session> session = Registry::instance().findOrPull(handle);
    if (session != nullptr && path != nullptr && *path != '\0') {
        session->captureBegin(path, format == 1);
    }
}

void captureEnd(int handle) {
    if (const std::shared_ptr<Session> session = Registry::instance().findOrPull(handle)) {
        session->captureEnd();
    }
}

void StillBegin(int handle, const char*, int, int, const char* path) {
    const std::shared_ptr<Session> session = Registry::instance().findOrPull(handle);
    if (session != nullptr && path != nullptr && *path != '\0') {
        session->stillBegin(utf8FromGbk(path));
    }
}

void StillEnd(int handle) {
    if (const std::shared_ptr<Session> session = Registry::instance().findOrPull(handle)) {
        session->stillEnd();
    }
}

}  // namespace tavrik
