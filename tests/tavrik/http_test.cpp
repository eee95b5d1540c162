#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

#include "http_camera.h"
#include "receiver.h"
#include "two_addresses.h"

namespace tavrik::test {
namespace {

TEST(Http, ShowsATransportStream) {
    for (const bool by_name : {false, true}) {
        HttpCamera camera;
        TestEncoder encoder(EncoderSettings{});
        Receiver receiver;
        const std::string url = by_name ? withTwoAddresses(camera.url()) : camera.url();
        const int handle =
            feedOpen(url.c_str(), 0, receiver.onFrame(), nullptr, "", true, "", receiver.onSei(), 1);
        ASSERT_GT(handle, 0);
        const Bytes sei = seiNal(Codec::kH264, {4, 5, 6});
        EXPECT_TRUE(stream(
            [&](int n) {
                camera.send(
                    muxTransportStream(Codec::kH264, {withSei(Codec::kH264, encoder.encode(n), sei)}, true));
            },
            [&] { return receiver.numbers().size() >= 20 && !receiver.sei().empty(); }, 5))
            << url;
        feedClose(handle);
        const std::vector<int> numbers = receiver.numbers();
        for (std::size_t i = 1; i < numbers.size(); ++i) {
            EXPECT_GT(numbers[i], numbers[i - 1]);
        }
    }
}

// The packets of a transport stream are no single frames of sound.
TEST(Http, PlaysTheSoundOfATransportStream) {
    HttpCamera camera;
    Receiver receiver;
    const int handle =
        feedOpen(camera.url().c_str(), 0, receiver.onFrame(), receiver.onAudio(), "", true, "", nullptr, 1);
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(camera.waitForRequest());
    TestEncoder encoder(EncoderSettings{});
    std::vector<Bytes> units;
    for (int n = 0; n < 100; ++n) {
        units.push_back(encoder.encode(n));
    }
    const Bytes bytes = muxTransportStream(Codec::kH264, units, true, true);
    // At its own pace: sound that is left behind by the pictures is not played.
    const std::size_t piece = bytes.size() / 400 + 1;
    ASSERT_TRUE(stream(
        [&](int n) {
            const std::size_t at = std::min(static_cast<std::size_t>(n) * piece, bytes.size());
            camera.send(
                Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                      bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at + piece, bytes.size()))));
        },
        [&] { return receiver.sound().size() > 4 * 30000; }, 10));
    feedClose(handle);
    EXPECT_EQ(receiver.m_rate, 48000);
    EXPECT_EQ(receiver.m_channels, 2);
    EXPECT_GE(receiver.numbers().size(), 10u);
    const Bytes sound = receiver.sound();
    const auto sample = [&](std::size_t i) {
        return static_cast<std::int16_t>(sound[i * 4] | (sound[i * 4 + 1] << 8));
    };
    int crossings = 0;
    double power = 0;
    for (std::size_t i = 10000; i < 20000; ++i) {
        crossings += (sample(i) < 0) != (sample(i + 1) < 0) ? 1 : 0;
        power += double(sample(i)) * sample(i);
    }
    EXPECT_NEAR(crossings, 10000.0 / 48 * 2, 10) << "1 kHz";
    EXPECT_NEAR(std::sqrt(power / 10000), 0.5 / std::sqrt(2.0) * 32768, 1200);
}

}  // namespace
}  // namespace tavrik::test
