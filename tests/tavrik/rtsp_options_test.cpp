#include "tavrik/rtsp_options.h"

#include <gtest/gtest.h>

#include "tavrik/address.h"

namespace tavrik::test {
namespace {

RtspOptions of(const char* text) { return rtspOptions(parseOptions(text)); }

using Transports = std::vector<RtspTransport>;

TEST(RtspOptions, TcpThenUdpByDefault) {
    const RtspOptions options = of("");
    EXPECT_EQ(options.transports, (Transports{RtspTransport::kTcp, RtspTransport::kUdp}));
    EXPECT_EQ(options.reorder_ms, 20);
    EXPECT_EQ(options.silence_ms, 0);
    EXPECT_TRUE(options.video && options.audio);
    EXPECT_EQ(of("rtsp_transport=carrier_pigeon").transports, options.transports);
}

TEST(RtspOptions, ATransportThatIsNamedIsTheOnlyOne) {
    EXPECT_EQ(of("rtsp_transport=tcp").transports, Transports{RtspTransport::kTcp});
    EXPECT_EQ(of("rtsp_transport=udp").transports, Transports{RtspTransport::kUdp});
    EXPECT_EQ(of("rtsp_transport=udp_multicast").transports, Transports{RtspTransport::kMulticast});
    EXPECT_EQ(of("rtsp_transport=http").transports, Transports{RtspTransport::kHttp});
    EXPECT_EQ(of("rtsp_transport=tcp+udp").transports,
              (Transports{RtspTransport::kUdp, RtspTransport::kTcp}));
    EXPECT_EQ(of("rtsp_transport=tcp+udp;rtsp_flags=prefer_tcp").transports,
              (Transports{RtspTransport::kTcp, RtspTransport::kUdp}));
}

TEST(RtspOptions, TimesAndSizesKeepTheirUnits) {
    EXPECT_EQ(of("max_delay=50000").reorder_ms, 50);
    EXPECT_EQ(of("max_delay=99999999999").reorder_ms, 5000);
    EXPECT_EQ(of("reorder_queue_size=0").reorder_ms, 0);
    EXPECT_EQ(of("reorder_queue_size=8").reorder_ms, 20);
    EXPECT_EQ(of("timeout=3000000").silence_ms, 3000);
    EXPECT_EQ(of("stimeout=1").silence_ms, 1);
    EXPECT_EQ(of("buffer_size=65536").buffer_bytes, 65536);
    EXPECT_EQ(of("min_port=5000;max_port=5010").port_max, 5010);
    EXPECT_EQ(of("user_agent=x y").user_agent, "x y");
}

TEST(RtspOptions, MediaThatAreNotAllowedAreNotAskedFor) {
    const RtspOptions video = of("allowed_media_types=video");
    EXPECT_TRUE(video.video);
    EXPECT_FALSE(video.audio);
    EXPECT_TRUE(of("allowed_media_types=video+audio").audio);
    EXPECT_FALSE(of("allowed_media_types=audio").video);
}

TEST(RtspOptions, NonsenseChangesNothing) {
    for (const char* text : {"max_delay=", "max_delay=-1", "max_delay=12x", "max_delay", "unknown=5"}) {
        EXPECT_EQ(of(text).reorder_ms, 20) << text;
    }
}

}  // namespace
}  // namespace tavrik::test
