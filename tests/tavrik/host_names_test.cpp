// Hosts that are given by name.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "receiver.h"
#include "rtsp_server.h"
#include "tavrik/host_lookup.h"
#include "tavrik/network_source.h"
#include "two_addresses.h"

namespace tavrik::test {
namespace {

constexpr std::uint32_t kTicks = 3600;

// Counts what a source delivers.
class CountingSink : public SourceSink {
public:
    bool stopped() const override { return m_stopped; }
    void pause(int ms) override { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }
    void onBytes(const std::uint8_t*, std::size_t) override {}
    void onVideo(const VideoPiece&, const SharedParameters&) override { ++m_pieces; }
    bool wantsAudio() const override { return false; }
    void onSound(const SoundPiece&, const SharedParameters&) override {}

    std::atomic<bool> m_stopped{false};
    std::atomic<int> m_pieces{0};
};

TEST(HostNames, AllAddressesAreFoundInTheSystemsOrder) {
    const auto found = lookUpHost(kTwoAddresses, kPatienceMs, [] { return false; });
    ASSERT_GE(found.size(), 2u);
    EXPECT_EQ(found[found.size() - 2], "127.0.0.2");
    EXPECT_EQ(found[found.size() - 1], "127.0.0.1");
}

TEST(HostNames, EachAddressIsTriedOverRtsp) {
    RtspServer server({});
    TestEncoder encoder(EncoderSettings{});
    Receiver receiver;
    const int before = lookUpsOfTwoAddresses();
    const int handle = feedOpen(withTwoAddresses(server.url()).c_str(), 0, receiver.onFrame(), nullptr, "",
                                true, "", nullptr, 1);
    EXPECT_TRUE(
        stream([&](int n) { server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * kTicks); },
               [&] { return receiver.numbers().size() >= 5; }));
    feedClose(handle);
    EXPECT_GT(lookUpsOfTwoAddresses(), before);
}

// Where FFmpeg receives RTSP in GStreamer's place.
TEST(HostNames, EachAddressIsTriedOverRtspByFfmpeg) {
    RtspServer server({});
    TestEncoder encoder(EncoderSettings{});
    NetworkSource source(*parseNetworkAddress(withTwoAddresses(server.url())), {});
    CountingSink sink;
    std::thread receiving([&] { source.run(sink); });
    EXPECT_TRUE(
        stream([&](int n) { server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * kTicks); },
               [&] { return sink.m_pieces >= 5; }));
    sink.m_stopped = true;
    receiving.join();
}

TEST(HostNames, OneWithoutAServerEndsTheTry) {
    int port = 0;
    {
        RtspServer gone({});
        port = gone.port();
    }
    const std::string url = std::string("rtsp://") + kTwoAddresses + ":" + std::to_string(port) + "/x";
    NetworkSource source(*parseNetworkAddress(url), {});
    CountingSink sink;
    source.run(sink);
    EXPECT_EQ(sink.m_pieces, 0);
}

}  // namespace
}  // namespace tavrik::test
