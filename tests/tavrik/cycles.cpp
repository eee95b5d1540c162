#include "cycles.h"

#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "clip_files.h"
#include "receiver.h"
#include "rtsp_server.h"

namespace tavrik::test {
namespace {

constexpr std::size_t kShown = 5;
constexpr int kGroup = 10;

int entriesOf(const char* folder) {
    const std::filesystem::directory_iterator all(folder);
    return static_cast<int>(std::distance(begin(all), end(all)));
}

}  // namespace

const char* nameOf(CycleKind kind) {
    switch (kind) {
        case CycleKind::kRtsp:
            return "Rtsp";
        case CycleKind::kTransport:
            return "Transport";
        case CycleKind::kRecording:
            return "Recording";
        case CycleKind::kReplay:
            break;
    }
    return "Replay";
}

// The camera sends one group of pictures over and over, each a key picture's time from the next, so that its
// own work does not count.
struct CycleRunner::Impl {
    Impl(CycleKind what, std::string where)
        : kind(what), folder(std::move(where) + "/cycles_" + std::to_string(::getpid())) {
        std::filesystem::create_directories(folder);
        if (kind == CycleKind::kReplay) {
            clip = writeClip("cycles_" + std::to_string(::getpid()) + ".mp4", {});
            return;
        }
        TestEncoder encoder(EncoderSettings{});
        for (int n = 0; n < kGroup; ++n) {
            units.push_back(encoder.encode(n));
        }
        if (kind == CycleKind::kTransport) {
            transport = muxTransportStream(Codec::kH264, units, true);
        } else {
            RtspServer::Settings settings;
            settings.audio = kind == CycleKind::kRtsp;
            server = std::make_unique<RtspServer>(settings);
        }
        camera = std::thread([this] { send(); });
    }
    ~Impl() {
        stop = true;
        if (camera.joinable()) {
            camera.join();
        }
        std::error_code error;
        std::filesystem::remove_all(folder, error);
        std::filesystem::remove(clip, error);
    }
    void send() {
        UdpSender sender(port);
        for (std::uint32_t n = 0; !stop; ++n) {
            if (server != nullptr) {
                server->sendPicture(units[n % kGroup], n * 3600);
                server->sendSound(Bytes(320, 0x80), n * 320);
            } else if (n % kGroup == 0) {
                sender.send(transport);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(4));
        }
    }
    int open(Receiver& receiver) const {
        if (kind == CycleKind::kReplay) {
            return clipOpen(clip.c_str(), receiver.onFrame(), 1);
        }
        const std::string url = server != nullptr ? server->url() : "";
        return feedOpen(url.c_str(), port, receiver.onFrame(), receiver.onAudio(), "", server != nullptr, "",
                        receiver.onSei(), 1);
    }
    bool run() {
        Receiver receiver;
        const int handle = open(receiver);
        const std::string path = folder + "/a.mp4", still = folder + "/a.jpg";
        if (kind == CycleKind::kRecording) {
            captureBegin(path.c_str(), handle, 1);
            StillBegin(handle, folder.c_str(), 0, 1, still.c_str());
        }
        bool good = handle > 0 && receiver.waitForFrames(kShown);
        if (kind == CycleKind::kRtsp) {
            good = good && receiver.waitFor([&] { return !receiver.m_sound.empty(); });
        }
        feedClose(handle);
        if (kind == CycleKind::kRecording) {
            std::error_code error;
            good = std::filesystem::remove(path, error) && std::filesystem::remove(still, error) && good;
        }
        return good;
    }

    const CycleKind kind;
    const std::string folder;
    std::string clip;
    std::vector<Bytes> units;
    Bytes transport;
    std::unique_ptr<RtspServer> server;
    const int port = freeUdpPort();
    std::atomic<bool> stop{false};
    std::thread camera;
};

CycleRunner::CycleRunner(CycleKind kind, std::string folder)
    : m_impl(std::make_unique<Impl>(kind, std::move(folder))) {}
CycleRunner::~CycleRunner() = default;
bool CycleRunner::run() { return m_impl->run(); }

ProcessCounts processCounts() {
    ProcessCounts counts;
    counts.handles = entriesOf("/proc/self/fd");
    counts.threads = entriesOf("/proc/self/task");
    std::size_t pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    counts.resident = resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const auto heap = mallinfo2();
    counts.allocated = heap.uordblks + heap.hblkhd;
    return counts;
}

}  // namespace tavrik::test
