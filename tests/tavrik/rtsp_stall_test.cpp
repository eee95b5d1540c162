// Lines that stop and go on inside pictures, change the order of packets, or lose one.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/adler32.h>
}

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "receiver.h"
#include "rtsp_server.h"
#include "tavrik/video_decoder.h"

namespace tavrik::test {
namespace {

constexpr std::uint32_t kTicks = 3600;

struct StallCase {
    Codec codec;
    int slices;
    bool over_udp;
};

std::uint32_t sumOf(const AVFrame* frame) {
    std::uint32_t sum = 1;
    for (int plane = 0; plane < 3; ++plane) {
        const int shift = plane == 0 ? 0 : 1;
        for (int y = 0; y < frame->height >> shift; ++y) {
            sum = av_adler32_update(sum, frame->data[plane] + y * frame->linesize[plane],
                                    static_cast<std::size_t>(frame->width >> shift));
        }
    }
    return sum;
}

struct CodedPicture {
    Bytes bytes;
    std::uint32_t sum = 0;  // of the picture that a decoder makes of it
};

std::vector<CodedPicture> codedPictures(const StallCase& with, int count) {
    EncoderSettings settings;
    settings.codec = with.codec;
    settings.slices = with.slices;
    TestEncoder encoder(settings);
    std::vector<CodedPicture> out(static_cast<std::size_t>(count));
    std::size_t decoded = 0;
    VideoDecoder decoder(DecoderKind::kSoftware, {},
                         [&](AVFrame* frame) { out[decoded++].sum = sumOf(frame); });
    decoder.open(with.codec == Codec::kH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC, nullptr, true);
    for (int n = 0; n < count; ++n) {
        Bytes& bytes = out[static_cast<std::size_t>(n)].bytes;
        bytes = encoder.encode(n);
        decoder.decode(bytes.data(), bytes.size(), AV_NOPTS_VALUE);
    }
    EXPECT_EQ(decoded, out.size());
    return out;
}

class PictureSums {
public:
    FrameCallback onFrame() {
        return [this](AVFrame* frame, float, int) {
            const std::uint32_t sum = sumOf(frame);
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_sums.push_back(sum);
            m_changed.notify_all();
        };
    }
    bool waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_until(lock,
                                    std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs),
                                    [&] { return m_sums.size() >= count; });
    }
    bool waitForSum(std::uint32_t sum) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_until(
            lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs),
            [&] { return std::find(m_sums.begin(), m_sums.end(), sum) != m_sums.end(); });
    }
    std::vector<std::uint32_t> sums() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_sums;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::uint32_t> m_sums;
};

class RtspStalls : public testing::TestWithParam<StallCase> {};

// Every picture is compared with what a
// decoder makes of the whole picture.
TEST_P(RtspStalls, EveryPictureIsWhole) {
    const StallCase& with = GetParam();
    RtspServer::Settings settings;
    settings.codec = with.codec;
    settings.audio = true;
    settings.fragment = 150;
    RtspServer server(settings);
    const std::vector<CodedPicture> pictures = codedPictures(with, 30);
    Receiver receiver;
    PictureSums sums;
    const int handle = feedOpen(server.url().c_str(), 0, sums.onFrame(), receiver.onAudio(), "", true,
                                with.over_udp ? "rtsp_transport=udp" : "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    RtspServer::Delivery delivery;
    delivery.sound = Bytes(160, 0xFF);
    delivery.reports = true;
    for (std::size_t n = 0; n < pictures.size(); ++n) {
        delivery.pauses = static_cast<int>(n % 4);
        delivery.pause_ms = n % 3 == 0 ? 250 : 60;
        server.sendPicture(pictures[n].bytes, static_cast<std::uint32_t>(n) * kTicks, delivery);
        // Each is shown before the next is sent: its end is known without it.
        ASSERT_TRUE(sums.waitFor(n + 1)) << n;
    }
    feedClose(handle);
    const std::vector<std::uint32_t> seen = sums.sums();
    ASSERT_EQ(seen.size(), pictures.size());
    for (std::size_t n = 0; n < pictures.size(); ++n) {
        EXPECT_EQ(seen[n], pictures[n].sum) << "picture " << n;
    }
}

class RtspDatagrams : public testing::Test {
protected:
    RtspDatagrams() {
        RtspServer::Settings settings;
        settings.fragment = 150;
        m_server = std::make_unique<RtspServer>(settings);
        m_handle = feedOpen(m_server->url().c_str(), 0, m_sums.onFrame(), nullptr, "", true,
                            "rtsp_transport=udp", nullptr, 1);
        EXPECT_TRUE(m_server->waitForPlay(kPatienceMs));
    }
    ~RtspDatagrams() override { feedClose(m_handle); }
    void send(std::size_t n, const RtspServer::Delivery& delivery) {
        m_server->sendPicture(m_pictures[n].bytes, static_cast<std::uint32_t>(n) * kTicks, delivery);
    }

    const std::vector<CodedPicture> m_pictures = codedPictures({Codec::kH264, 4, true}, 40);
    std::unique_ptr<RtspServer> m_server;
    PictureSums m_sums;
    int m_handle = 0;
};

TEST_F(RtspDatagrams, ThatOvertakeEachOtherArePutInOrder) {
    RtspServer::Delivery delivery;
    for (std::size_t n = 0; n < m_pictures.size(); ++n) {
        delivery.swapped = n > 0;  // before the first packet nothing tells the order
        send(n, delivery);
        ASSERT_TRUE(m_sums.waitFor(n + 1)) << n;
        EXPECT_EQ(m_sums.sums()[n], m_pictures[n].sum) << n;
    }
}

// A key picture every 10 pictures: a loss is seen no longer than until the next.
TEST_F(RtspDatagrams, ThatAreLostHurtNoFurtherThanTheNextKeyPicture) {
    RtspServer::Delivery delivery;
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t n = 0; n < m_pictures.size(); ++n) {
        delivery.loses_one = n == 13;
        send(n, delivery);
        std::this_thread::sleep_until(start + std::chrono::milliseconds(40) * (n + 1));
    }
    const auto whole = [&](std::size_t n) {
        const std::vector<std::uint32_t> seen = m_sums.sums();
        return std::find(seen.begin(), seen.end(), m_pictures[n].sum) != seen.end();
    };
    ASSERT_TRUE(m_sums.waitForSum(m_pictures.back().sum));
    for (std::size_t n = 0; n < m_pictures.size(); ++n) {
        if (n < 13 || n >= 20) {
            EXPECT_TRUE(whole(n)) << n;
        }
    }
    EXPECT_FALSE(whole(13)) << "the packet was lost";
}

INSTANTIATE_TEST_SUITE_P(Tavrik, RtspStalls,
                         testing::Values(StallCase{Codec::kH264, 1, false}, StallCase{Codec::kH264, 4, false},
                                         StallCase{Codec::kH265, 1, false},
                                         StallCase{Codec::kH264, 4, true}));

}  // namespace
}  // namespace tavrik::test
