#include "simulator/stream/video_output.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "simulator/stream/transport.h"

namespace podsim {

std::vector<std::vector<std::uint8_t>> cutIntoDatagrams(const std::vector<std::uint8_t>& data,
                                                        std::size_t size) {
    std::vector<std::vector<std::uint8_t>> pieces;
    for (std::size_t at = 0; at < data.size(); at += size) {
        const std::size_t end = std::min(data.size(), at + size);
        pieces.emplace_back(data.begin() + static_cast<std::ptrdiff_t>(at),
                            data.begin() + static_cast<std::ptrdiff_t>(end));
    }
    return pieces;
}

std::vector<std::uint8_t> cutIntoBlocks(const std::vector<std::uint8_t>& picture, const std::string& header) {
    std::vector<std::uint8_t> blocks;
    const std::size_t room = kBlockSize - header.size();
    for (std::size_t at = 0; at < picture.size(); at += room) {
        const std::size_t start = blocks.size();
        const std::size_t end = std::min(picture.size(), at + room);
        blocks.insert(blocks.end(), header.begin(), header.end());
        blocks.insert(blocks.end(), picture.begin() + static_cast<std::ptrdiff_t>(at),
                      picture.begin() + static_cast<std::ptrdiff_t>(end));
        blocks.resize(start + kBlockSize, 0);
    }
    return blocks;
}

std::unique_ptr<VideoOutput> VideoOutput::open(const Settings& settings, std::uint64_t seed,
                                               std::string& error) {
    sockaddr_in endpoint{};
    if (!parseEndpoint(settings.to, endpoint)) {
        error = "'" + settings.to + "' is no ADDRESS:PORT";
        return nullptr;
    }
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        error = std::string("video socket: ") + std::strerror(errno);
        return nullptr;
    }
    // Room for a whole key frame; should a network be slower still, a picture is lost, not the pod's time.
    const int room = 1 << 20;
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
    const timeval patience{0, 20'000};
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    return std::unique_ptr<VideoOutput>(new VideoOutput(settings, fd, endpoint, seed));
}

VideoOutput::VideoOutput(Settings settings, int fd, const sockaddr_in& to, std::uint64_t seed)
    : m_settings(std::move(settings)),
      m_fd(fd),
      m_to(to),
      m_muxer(m_settings.codec, m_settings.sound),
      m_injector(seed) {}

VideoOutput::~VideoOutput() { close(m_fd); }

void VideoOutput::send(const AccessUnit& unit, std::int64_t now_ns) {
    std::vector<std::vector<std::uint8_t>> datagrams;
    if (m_settings.form == Form::kTransportStream) {
        std::vector<std::uint8_t> packets;
        m_muxer.write(unit.bytes.data(), unit.bytes.size(), unit.key_frame, now_ns, packets);
        datagrams = cutIntoDatagrams(packets, kTsDatagramSize);
    } else if (m_settings.form == Form::kBlocks) {
        datagrams = cutIntoDatagrams(cutIntoBlocks(unit.bytes, m_settings.block_header), kBlockDatagramSize);
    } else {
        datagrams = cutIntoDatagrams(unit.bytes, kRawDatagramSize);
    }
    const int pause_ms = m_injector.settings().pause_ms;
    if (pause_ms == 0) {
        m_restUntilNs = 0;
    }
    for (std::size_t i = 0; i < datagrams.size(); ++i) {
        const std::size_t size = datagrams[i].size();
        // What comes behind a rest waits for its end, later pictures as well.
        const std::int64_t at = std::max(now_ns, m_restUntilNs);
        m_injector.push(std::move(datagrams[i]), at);
        const int rest_ms = m_pause.restBehind(size, i + 1 == datagrams.size(), m_injector.settings());
        // Rests that are longer than the pictures between them would add up without end.
        const bool behind = m_restUntilNs - now_ns > pause_ms * 1'000'000LL;
        m_restUntilNs = at + (behind ? 0 : rest_ms * 1'000'000LL);
    }
    pump(now_ns);
}

void VideoOutput::sendSound(const SoundUnit& unit, std::int64_t now_ns) {
    if (m_settings.form != Form::kTransportStream) {
        return;
    }
    std::vector<std::uint8_t> packets;
    m_muxer.writeSound(unit.bytes.data(), unit.bytes.size(), unit.time_ns, packets);
    for (auto& datagram : cutIntoDatagrams(packets, kTsDatagramSize)) {
        m_injector.push(std::move(datagram), std::max(now_ns, m_restUntilNs));
    }
    pump(now_ns);
}

void VideoOutput::restart(Codec codec) {
    m_settings.codec = codec;
    m_muxer = TsMuxer(codec, m_settings.sound);
}

void VideoOutput::pump(std::int64_t now_ns) {
    while (auto datagram = m_injector.pop(now_ns)) {
        sendto(m_fd, datagram->data(), datagram->size(), MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&m_to), sizeof m_to);
    }
}

}  // namespace podsim
