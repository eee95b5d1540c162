#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "receiver.h"

namespace tavrik::test {
namespace {

enum class Form { kRaw, kTransport, kTransportWithLengths };

struct Case {
    Codec codec;
    Form form;
};

// Pictures 0, 1, 2 ... in datagrams, as the form wants them.
class UdpCamera {
public:
    UdpCamera(Case c, int port, const std::string& to = "127.0.0.1", int slices = 1)
        : m_case(c), m_encoder(settings(c.codec, slices)), m_sender(port, to) {}
    void send(int number, const Bytes& sei = {}) {
        Bytes unit = m_encoder.encode(number);
        if (!sei.empty()) {
            unit = withSei(m_case.codec, unit, sei);
        }
        if (m_case.form == Form::kRaw) {
            m_sender.send(unit, 1400);
        } else {
            m_sender.send(
                muxTransportStream(m_case.codec, {unit}, m_case.form == Form::kTransportWithLengths));
        }
    }
    UdpSender& sender() { return m_sender; }

private:
    static EncoderSettings settings(Codec codec, int slices) {
        EncoderSettings s;
        s.codec = codec;
        s.slices = slices;
        return s;
    }
    Case m_case;
    TestEncoder m_encoder;
    UdpSender m_sender;
};

class UdpPictures : public testing::TestWithParam<Case> {};

TEST_P(UdpPictures, ArriveInOrderWithTheirContentAndTheirSei) {
    const int port = freeUdpPort();
    Receiver receiver;
    const int handle =
        feedOpen("127.0.0.1", port, receiver.onFrame(), nullptr, "127.0.0.1", false, "", receiver.onSei(), 1);
    ASSERT_GT(handle, 0);
    UdpCamera camera(GetParam(), port);
    const Bytes sei = seiNal(GetParam().codec, {5, 0, 0, 1, 0, 0, 0, 7});
    const bool enough =
        stream([&](int n) { camera.send(n, sei); }, [&] { return receiver.numbers().size() >= 30; });
    feedClose(handle);
    ASSERT_TRUE(enough);
    const std::vector<int> numbers = receiver.numbers();
    EXPECT_EQ(numbers[0], 0);
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        EXPECT_EQ(numbers[i], numbers[i - 1] + 1) << i;
    }
    ASSERT_FALSE(receiver.sei().empty());
    EXPECT_EQ(receiver.m_seiKind, GetParam().codec == Codec::kH265 ? 1 : 0);
    const Bytes expected = annexB({sei});
    for (const Bytes& run : receiver.sei()) {
        ASSERT_GT(run.size(), expected.size());
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), run.begin()));
        ASSERT_EQ(run.back(), 0);
        ASSERT_NE(run[run.size() - 2], 0);
    }
}

TEST_P(UdpPictures, ComeThroughSentBackToBackAndCutAnywhere) {
    const int port = freeUdpPort();
    Receiver receiver;
    const int handle = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    ASSERT_GT(handle, 0);
    TestEncoder encoder(EncoderSettings{GetParam().codec});
    std::vector<Bytes> units;
    for (int n = 0; n < 20; ++n) {
        units.push_back(encoder.encode(n));
    }
    Bytes bytes;
    if (GetParam().form == Form::kRaw) {
        for (const Bytes& unit : units) {
            bytes.insert(bytes.end(), unit.begin(), unit.end());
        }
    } else {
        bytes = muxTransportStream(GetParam().codec, units, GetParam().form == Form::kTransportWithLengths);
    }
    UdpSender sender(port);
    sender.send(bytes, 997);
    // Nothing shows yet that a raw stream's last picture is whole.
    const std::size_t count = GetParam().form == Form::kRaw ? 19 : 20;
    ASSERT_TRUE(receiver.waitForFrames(count));
    feedClose(handle);
    std::vector<int> expected(count);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(receiver.numbers(), expected);
}

INSTANTIATE_TEST_SUITE_P(Tavrik, UdpPictures,
                         testing::Values(Case{Codec::kH264, Form::kRaw}, Case{Codec::kH265, Form::kRaw},
                                         Case{Codec::kH264, Form::kTransport},
                                         Case{Codec::kH265, Form::kTransport},
                                         Case{Codec::kH264, Form::kTransportWithLengths},
                                         Case{Codec::kH265, Form::kTransportWithLengths}));

TEST(UdpStream, TakesPicturesOfSeveralSlices) {
    const int port = freeUdpPort();
    Receiver receiver;
    const int handle = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    UdpCamera camera({Codec::kH264, Form::kRaw}, port, "127.0.0.1", 4);
    EXPECT_TRUE(stream([&](int n) { camera.send(n); }, [&] { return receiver.numbers().size() >= 12; }));
    feedClose(handle);
    const std::vector<int> numbers = receiver.numbers();
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        EXPECT_EQ(numbers[i], numbers[i - 1] + 1) << i;
    }
}

TEST(UdpStream, BeginsAtAKeyPictureWhenJoinedInTheMiddle) {
    for (const Codec codec : {Codec::kH264, Codec::kH265}) {
        const int port = freeUdpPort();
        Receiver receiver;
        const int handle = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
        TestEncoder encoder(EncoderSettings{codec});
        for (int n = 0; n < 3; ++n) {
            encoder.encode(n);
        }
        UdpSender sender(port);
        EXPECT_TRUE(stream([&](int n) { sender.send(encoder.encode(n + 3), 1400); },
                           [&] { return receiver.numbers().size() >= 5; }));
        feedClose(handle);
        EXPECT_EQ(receiver.numbers()[0], 10);
    }
}

TEST(UdpStream, JoinsAMulticastGroup) {
    const int port = freeUdpPort();
    Receiver receiver;
    const int handle =
        feedOpen("239.255.77.11", port, receiver.onFrame(), nullptr, "127.0.0.1", false, "", nullptr, 1);
    ASSERT_GT(handle, 0);
    UdpCamera camera({Codec::kH264, Form::kRaw}, port, "239.255.77.11");
    EXPECT_TRUE(stream([&](int n) { camera.send(n); }, [&] { return receiver.numbers().size() >= 5; }));
    feedClose(handle);
}

TEST(UdpStream, FindsThePictureBehindNoiseAndALossyLine) {
    const int port = freeUdpPort();
    Receiver receiver;
    const int handle = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    TestEncoder encoder(EncoderSettings{});
    UdpSender sender(port);
    unsigned seed = 1;
    const auto random = [&seed] { return (seed = seed * 1103515245u + 12345u) >> 16; };
    Bytes noise(20000);
    for (auto& b : noise) {
        b = static_cast<std::uint8_t>(random());
    }
    sender.send(noise);
    const bool enough = stream(
        [&](int n) {
            const Bytes unit = encoder.encode(n);
            for (std::size_t at = 0; at < unit.size(); at += 1000) {
                if (random() % 20 == 0) {
                    continue;
                }
                const std::size_t end = std::min(unit.size(), at + 1000);
                sender.send(
                    Bytes(unit.begin() + static_cast<long>(at), unit.begin() + static_cast<long>(end)));
            }
        },
        [&] { return receiver.numbers().size() >= 60; }, 5);
    feedClose(handle);
    EXPECT_TRUE(enough);
}

TEST(UdpStream, TakesAFloodWithoutHarm) {
    const int port = freeUdpPort();
    Receiver receiver;
    const int handle = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    UdpCamera camera({Codec::kH264, Form::kRaw}, port);
    EXPECT_TRUE(stream([&](int n) { camera.send(n); }, [&] { return receiver.numbers().size() >= 3; }));
    const Bytes flood(60000, 0x00);
    for (int i = 0; i < 2000; ++i) {
        camera.sender().send(flood, 60000);
    }
    const std::size_t before = receiver.numbers().size();
    EXPECT_TRUE(stream([&](int n) { camera.send(n + 100); },
                       [&] { return receiver.numbers().size() >= before + 20; }));
    feedClose(handle);
}

TEST(UdpStream, DecodesTheSoundOfATransportStream) {
    const int port = freeUdpPort();
    Receiver receiver;
    const int handle = feedOpen("", port, receiver.onFrame(), receiver.onAudio(), "", false, "", nullptr, 1);
    TestEncoder encoder(EncoderSettings{});
    std::vector<Bytes> units;
    for (int n = 0; n < 100; ++n) {
        units.push_back(encoder.encode(n));
    }
    UdpSender sender(port);
    // At its own pace, and longer than what has to be heard: sound that is left behind by the pictures is not
    // played.
    const Bytes bytes = muxTransportStream(Codec::kH264, units, true, true);
    const std::size_t piece = bytes.size() / 400 / 188 * 188 + 188;
    ASSERT_TRUE(stream(
        [&](int n) {
            const std::size_t at = std::min(static_cast<std::size_t>(n) * piece, bytes.size());
            sender.send(
                Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                      bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at + piece, bytes.size()))));
        },
        [&] { return receiver.sound().size() > 4 * 30000; }, 10));
    feedClose(handle);
    EXPECT_EQ(receiver.m_rate, 48000);
    EXPECT_EQ(receiver.m_channels, 2);
    // The tone: 1 kHz at half of full scale, so 2 zero crossings a millisecond.
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
    EXPECT_NEAR(crossings, 10000.0 / 48 * 2, 10);
    EXPECT_NEAR(std::sqrt(power / 10000), 0.5 / std::sqrt(2.0) * 32768, 1200);
}

TEST(UdpStream, WaitsForAPortThatIsTaken) {
    const int port = freeUdpPort();
    Receiver first, second;
    const int one = feedOpen("", port, first.onFrame(), nullptr, "127.0.0.1", false, "", nullptr, 1);
    const int two = feedOpen("", port, second.onFrame(), nullptr, "127.0.0.1", false, "", nullptr, 1);
    ASSERT_GT(one, 0);
    ASSERT_GT(two, 0);
    feedClose(one);
    UdpCamera camera({Codec::kH264, Form::kRaw}, port);
    EXPECT_TRUE(stream([&](int n) { camera.send(n); }, [&] { return second.numbers().size() >= 3; }));
    feedClose(two);
    EXPECT_TRUE(first.numbers().empty());
}

}  // namespace
}  // namespace tavrik::test
