// Sends encoded pictures over UDP: as a transport stream, as a plain elementary stream cut into datagrams, or
// as one cut into blocks of 256 bytes, each with a header.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/stream/encoder.h"
#include "simulator/stream/sound.h"
#include "simulator/stream/ts_mux.h"
#include "simulator/wire/fault_injector.h"

namespace podsim {

constexpr std::size_t kRawDatagramSize = 1400;
constexpr std::size_t kTsDatagramSize = 7 * kTsPacketSize;
constexpr std::size_t kBlockSize = 256;
constexpr std::size_t kLongestBlockHeader = 200;
constexpr std::size_t kBlockDatagramSize = 5 * kBlockSize;

// Cuts data into pieces of at most `size` bytes, the last one shorter.
std::vector<std::vector<std::uint8_t>> cutIntoDatagrams(const std::vector<std::uint8_t>& data,
                                                        std::size_t size);

// The picture in whole blocks: the header, then bytes of the picture, zeros behind the last (which an Annex B
// stream may have there), so that no picture waits for the next one. The header is at most
// kLongestBlockHeader.
std::vector<std::uint8_t> cutIntoBlocks(const std::vector<std::uint8_t>& picture, const std::string& header);

// Belongs to one thread.
class VideoOutput {
public:
    enum class Form { kTransportStream, kRaw, kBlocks };
    struct Settings {
        Form form = Form::kTransportStream;
        Codec codec = Codec::kH264;
        std::string to;            // ADDRESS:PORT, multicast groups included
        std::string block_header;  // of kBlocks
        bool sound = false;        // beside the pictures of a transport stream
    };

    // Null with a reason.
    static std::unique_ptr<VideoOutput> open(const Settings& settings, std::uint64_t seed,
                                             std::string& error);
    ~VideoOutput();
    VideoOutput(const VideoOutput&) = delete;
    VideoOutput& operator=(const VideoOutput&) = delete;

    void setFaults(const FaultSettings& faults) { m_injector.set(faults); }
    void send(const AccessUnit& unit, std::int64_t now_ns);
    // Forms without sound send nothing.
    void sendSound(const SoundUnit& unit, std::int64_t now_ns);
    // The stream begins anew, as from a device that was switched off and on.
    void restart(Codec codec);
    // Sends what a delay held back until now.
    void pump(std::int64_t now_ns);
    std::optional<std::int64_t> nextDue() const { return m_injector.nextDue(); }

private:
    VideoOutput(Settings settings, int fd, const sockaddr_in& to, std::uint64_t seed);

    Settings m_settings;
    int m_fd;
    sockaddr_in m_to;
    TsMuxer m_muxer;
    FaultInjector m_injector;
    PicturePause m_pause;
    std::int64_t m_restUntilNs = 0;
};

}  // namespace podsim
