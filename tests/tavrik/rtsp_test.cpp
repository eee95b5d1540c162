#include <gtest/gtest.h>

#include <algorithm>

#include "receiver.h"
#include "rtsp_server.h"

namespace tavrik::test {
namespace {

constexpr std::uint32_t kTicks = 3600;

struct Case {
    Codec codec;
    const char* options;
    bool over_udp;
};

class RtspPictures : public testing::TestWithParam<Case> {};

TEST_P(RtspPictures, ArriveInOrderWithTheirContentAndTheirSei) {
    const Codec codec = GetParam().codec;
    RtspServer::Settings settings;
    settings.codec = codec;
    RtspServer server(settings);
    TestEncoder encoder(EncoderSettings{codec});
    Receiver receiver;
    const int handle = feedOpen(server.url().c_str(), 0, receiver.onFrame(), nullptr, "", true,
                                GetParam().options, receiver.onSei(), 1);
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    EXPECT_EQ(server.overUdp(), GetParam().over_udp);
    const Bytes sei = seiNal(codec, {1, 0, 0, 2, 0, 0, 0, 9});
    const bool enough = stream(
        [&](int n) {
            server.sendPicture(withSei(codec, encoder.encode(n), sei),
                               static_cast<std::uint32_t>(n) * kTicks);
        },
        [&] { return receiver.numbers().size() >= 30; });
    feedClose(handle);
    ASSERT_TRUE(enough);
    const std::vector<int> numbers = receiver.numbers();
    for (std::size_t i = 1; i < numbers.size(); ++i)
        EXPECT_EQ(numbers[i], numbers[i - 1] + 1) << i;
    EXPECT_GT(receiver.bitrate_, 0);
    EXPECT_GT(receiver.fps_, 0);
    ASSERT_FALSE(receiver.sei().empty());
    EXPECT_EQ(receiver.sei_kind_, codec == Codec::H265 ? 1 : 0);
    const Bytes expected = annexB({sei});
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), receiver.sei().back().begin()));
    EXPECT_GE(server.teardowns(), 1);
}

INSTANTIATE_TEST_SUITE_P(Tavrik, RtspPictures,
                         testing::Values(Case{Codec::H264, "", false},
                                         Case{Codec::H264, "rtsp_transport=udp", true},
                                         Case{Codec::H265, "", false},
                                         Case{Codec::H265, "rtsp_transport=udp", true}));

}  // namespace
}  // namespace tavrik::test
