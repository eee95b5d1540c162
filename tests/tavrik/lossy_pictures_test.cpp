// Datagrams that are lost, repeated and overtaken: no more damaged pictures than FFmpeg's own way shows of
// the same datagrams, and whole ones again soon after. SORVANE_LOSSY_PICTURES=2000 takes longer.
#include <gtest/gtest.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <ostream>
#include <thread>

#include "receiver.h"
#include "rtsp_server.h"
#include "stalled_run.h"
#include "tests/fakes/chaos_proxy.h"

namespace tavrik::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kPicturesInCi = 80;
constexpr std::size_t kTail = 5;
constexpr auto kPeriod = std::chrono::milliseconds(25);
constexpr auto kQuiet = std::chrono::milliseconds(1500);
constexpr std::size_t kGroup = 10;

// Trouble in two groups of pictures, two clean ones behind them.
bool troubled(std::size_t picture) { return picture / kGroup % 4 < 2; }

// What comes out for each datagram that goes in.
class Line {
public:
    Line(std::uint64_t seed, const chaos::Faults& faults) : m_dice(seed), m_faults(faults) {}

    std::vector<Bytes> pass(const Bytes& datagram, bool trouble) {
        const chaos::Fate fate = m_dice.next(trouble ? m_faults : chaos::Faults{}, datagram.size());
        std::vector<Bytes> out;
        if (!trouble && m_held) {
            // None of the trouble reaches what follows.
            out.push_back(*m_held);
            m_held.reset();
        }
        if (fate.held_back && !m_held) {
            m_held = datagram;
            return out;
        }
        if (!fate.lost) {
            out.insert(out.end(), fate.duplicated ? 2 : 1, datagram);
        }
        if (m_held) {
            out.push_back(*m_held);
            m_held.reset();
        }
        return out;
    }

private:
    chaos::Dice m_dice;
    chaos::Faults m_faults;
    std::optional<Bytes> m_held;
};

class Screen {
public:
    explicit Screen(const Film& film) : m_film(film) {}
    FrameCallback onFrame() {
        return [this](AVFrame* frame, float, int) { add(frame); };
    }
    void add(const AVFrame* frame) {
        const std::uint32_t sum = visibleSumOf(m_film, frame);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_sums.push_back(sum);
        m_latest = Clock::now();
    }
    void waitUntilQuiet() {
        for (;;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (Clock::now() > m_latest + kQuiet) {
                return;
            }
        }
    }
    std::vector<std::uint32_t> sums() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_sums;
    }

private:
    const Film& m_film;
    std::mutex m_mutex;
    std::vector<std::uint32_t> m_sums;
    Clock::time_point m_latest = Clock::now();
};

struct Input {
    const Bytes* bytes;
    std::size_t at = 0;
};

int readInput(void* opaque, std::uint8_t* to, int capacity) {
    auto* input = static_cast<Input*>(opaque);
    const std::size_t size = std::min(static_cast<std::size_t>(capacity), input->bytes->size() - input->at);
    if (size == 0) {
        return AVERROR_EOF;
    }
    std::memcpy(to, input->bytes->data() + input->at, size);
    input->at += size;
    return static_cast<int>(size);
}

// FFmpeg's demultiplexer, parser and decoder as they come, every picture shown.
class PlainPlayer {
public:
    explicit PlainPlayer(Screen& screen) : m_screen(screen) {}
    ~PlainPlayer() {
        avformat_close_input(&m_format);
        if (m_io != nullptr) {
            av_freep(&m_io->buffer);
            avio_context_free(&m_io);
        }
    }
    PlainPlayer(const PlainPlayer&) = delete;
    PlainPlayer& operator=(const PlainPlayer&) = delete;

    bool openBytes(const Bytes& bytes) {
        m_input.bytes = &bytes;
        m_format = avformat_alloc_context();
        m_io = avio_alloc_context(static_cast<std::uint8_t*>(av_malloc(4096)), 4096, 0, &m_input, readInput,
                                  nullptr, nullptr);
        m_format->pb = m_io;
        return avformat_open_input(&m_format, nullptr, av_find_input_format("mpegts"), nullptr) >= 0;
    }
    bool openRtsp(const std::string& url) {
        m_format = avformat_alloc_context();
        m_format->interrupt_callback = {
            [](void* self) { return static_cast<PlainPlayer*>(self)->m_stop ? 1 : 0; }, this};
        AVDictionary* options = nullptr;
        av_dict_set(&options, "rtsp_transport", "udp", 0);
        const int result = avformat_open_input(&m_format, url.c_str(), nullptr, &options);
        av_dict_free(&options);
        return result >= 0;
    }
    void stop() { m_stop = true; }
    void play() {
        const AVCodec* codec = nullptr;
        int index = -1;
        if (avformat_find_stream_info(m_format, nullptr) < 0 ||
            (index = av_find_best_stream(m_format, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0)) < 0) {
            return;
        }
        const CodecContextPtr context(avcodec_alloc_context3(codec));
        avcodec_parameters_to_context(context.get(), m_format->streams[index]->codecpar);
        avcodec_open2(context.get(), codec, nullptr);
        const PacketPtr packet(av_packet_alloc());
        while (av_read_frame(m_format, packet.get()) >= 0) {
            if (packet->stream_index == index) {
                decode(context.get(), packet.get());
            }
            av_packet_unref(packet.get());
        }
        decode(context.get(), nullptr);
    }

private:
    void decode(AVCodecContext* context, const AVPacket* packet) {
        const FramePtr frame(av_frame_alloc());
        avcodec_send_packet(context, packet);
        while (avcodec_receive_frame(context, frame.get()) >= 0) {
            m_screen.add(frame.get());
        }
    }

    Screen& m_screen;
    Input m_input{};
    AVFormatContext* m_format = nullptr;
    AVIOContext* m_io = nullptr;
    std::atomic<bool> m_stop{false};
};

struct Case {
    const char* name;
    bool rtsp;
    bool pes_lengths;
    chaos::Faults faults;
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

struct Shown {
    Comparison station;
    Comparison plain;
};

Shown overTs(const Film& film, std::size_t pictures, const Case& c) {
    WireForm form;
    form.pes_lengths = c.pes_lengths;
    const std::size_t count = pictures + kTail;
    const std::vector<Datagrams> sent = datagramsOf(film, count, form);
    Line line(fromEnvironment("SORVANE_SEED", 1), c.faults);
    Screen station(film), plain(film);
    const int port = freeUdpPort();
    const int handle = feedOpen("", port, station.onFrame(), nullptr, "127.0.0.1", false, "", nullptr, 1);
    UdpSender sender(port);
    Bytes copy;
    auto due = Clock::now();
    for (std::size_t n = 0; n < count; ++n) {
        std::this_thread::sleep_until(due += kPeriod);
        for (const Bytes& datagram : sent[n]) {
            for (const Bytes& out : line.pass(datagram, troubled(n) && n < pictures)) {
                sender.send(out, out.size());
                copy.insert(copy.end(), out.begin(), out.end());
            }
        }
    }
    station.waitUntilQuiet();
    feedClose(handle);
    PlainPlayer player(plain);
    EXPECT_TRUE(player.openBytes(copy));
    player.play();
    return {compare(film, station.sums(), pictures, count), compare(film, plain.sums(), pictures, count)};
}

Shown overRtsp(const Film& film, std::size_t pictures, const Case& c) {
    const std::size_t count = pictures + kTail;
    struct Way {
        Line line;
        UdpSender sender;
    };
    std::map<int, Way> ways;
    bool trouble = false;
    RtspServer::Settings how;
    how.datagrams = [&](int socket, const Bytes& packet) {
        auto way = ways.find(socket);
        if (way == ways.end()) {
            sockaddr_in peer{};
            socklen_t size = sizeof(peer);
            ::getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size);
            way = ways.try_emplace(socket, Way{Line(fromEnvironment("SORVANE_SEED", 1), c.faults),
                                               UdpSender(ntohs(peer.sin_port))})
                      .first;
        }
        for (const Bytes& out : way->second.line.pass(packet, trouble)) {
            way->second.sender.send(out, out.size());
        }
    };
    RtspServer server(how);
    Screen station(film), plain(film);
    const int handle = feedOpen(server.url().c_str(), 0, station.onFrame(), nullptr, "", true,
                                "rtsp_transport=udp", nullptr, 1);
    EXPECT_TRUE(server.waitForPlay(kPatienceMs));
    PlainPlayer player(plain);
    EXPECT_TRUE(player.openRtsp(server.url()));
    std::thread playing([&] { player.play(); });
    auto due = Clock::now();
    for (std::size_t n = 0; n < count; ++n) {
        std::this_thread::sleep_until(due += kPeriod);
        trouble = troubled(n) && n < pictures;
        server.sendPicture(film.unit(n), static_cast<std::uint32_t>(n) * 3600);
    }
    station.waitUntilQuiet();
    plain.waitUntilQuiet();
    player.stop();
    playing.join();
    feedClose(handle);
    return {compare(film, station.sums(), pictures, count), compare(film, plain.sums(), pictures, count)};
}

class LossyPictures : public testing::TestWithParam<Case> {};

TEST_P(LossyPictures, AreNoMoreDamagedThanTheyMustBe) {
    const Case& c = GetParam();
    const std::size_t pictures =
        fromEnvironment("SORVANE_LOSSY_PICTURES", kPicturesInCi) / (4 * kGroup) * 4 * kGroup;
    FilmSettings settings;
    settings.width = 640;
    settings.height = 480;
    settings.kbps = 2500;
    settings.key_interval = kGroup;
    settings.pictures = std::min<std::size_t>(250, (pictures + kTail + kGroup) / kGroup * kGroup);
    const Film film = makeFilm(settings);
    const Shown shown = c.rtsp ? overRtsp(film, pictures, c) : overTs(film, pictures, c);
    std::printf("[   SHOWN  ] %s station: %s; plain: %s\n", c.name, shown.station.text().c_str(),
                shown.plain.text().c_str());
    // What the plain way leaves out altogether counts with what it shows damaged.
    EXPECT_LE(shown.station.damaged, std::max(shown.plain.damaged, shown.plain.missing));
    const auto& whole = shown.station.whole_groups;
    for (std::size_t group = 0; group < pictures / kGroup; ++group) {
        if (!troubled(group * kGroup)) {
            EXPECT_EQ(std::count(whole.begin(), whole.end(), group), 1) << "group " << group;
        }
    }
}

chaos::Faults loss(double probability) {
    chaos::Faults faults;
    faults.loss = probability;
    return faults;
}
chaos::Faults reordering() {
    chaos::Faults faults;
    faults.reordering = 0.02;
    return faults;
}
chaos::Faults duplication() {
    chaos::Faults faults;
    faults.duplication = 0.05;
    return faults;
}

INSTANTIATE_TEST_SUITE_P(
    Tavrik, LossyPictures,
    testing::Values(Case{"TsLoss01", false, false, loss(0.001)}, Case{"TsLoss1", false, false, loss(0.01)},
                    Case{"TsLoss5", false, true, loss(0.05)}, Case{"TsReordered", false, false, reordering()},
                    Case{"TsRepeated", false, true, duplication()},
                    Case{"RtspLoss01", true, false, loss(0.001)}, Case{"RtspLoss1", true, false, loss(0.01)},
                    Case{"RtspLoss5", true, false, loss(0.05)},
                    Case{"RtspReordered", true, false, reordering()},
                    Case{"RtspRepeated", true, false, duplication()}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tavrik::test
