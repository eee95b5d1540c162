// Sends encoded pictures over UDP, as a transport stream or as a plain elementary stream cut into datagrams.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/stream/encoder.h"
#include "simulator/stream/ts_mux.h"
#include "simulator/wire/fault_injector.h"

namespace podsim {

constexpr std::size_t kRawDatagramSize = 1400;
constexpr std::size_t kTsDatagramSize = 7 * kTsPacketSize;

// Cuts data into pieces of at most `size` bytes, the last one shorter.
std::vector<std::vector<std::uint8_t>> cutIntoDatagrams(const std::vector<std::uint8_t>& data,
                                                        std::size_t size);

// Belongs to one thread.
class VideoOutput {
public:
    enum class Form { kTransportStream, kRaw };

    // `to` is ADDRESS:PORT, multicast groups included. Null with a reason.
    static std::unique_ptr<VideoOutput> open(Form form, Codec codec, const std::string& to,
                                             std::uint64_t seed, std::string& error);
    ~VideoOutput();
    VideoOutput(const VideoOutput&) = delete;
    VideoOutput& operator=(const VideoOutput&) = delete;

    void setFaults(const FaultSettings& faults) { m_injector.set(faults); }
    void send(const AccessUnit& unit, std::int64_t now_ns);
    // Sends what a delay held back until now.
    void pump(std::int64_t now_ns);
    std::optional<std::int64_t> nextDue() const { return m_injector.nextDue(); }

private:
    VideoOutput(Form form, Codec codec, int fd, const sockaddr_in& to, std::uint64_t seed);

    Form m_form;
    int m_fd;
    sockaddr_in m_to;
    TsMuxer m_muxer;
    FaultInjector m_injector;
    PicturePause m_pause;
    std::int64_t m_restUntilNs = 0;
};

}  // namespace podsim
