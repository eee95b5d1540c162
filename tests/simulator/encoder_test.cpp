#include "simulator/stream/encoder.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "simulator/stream/video_output.h"
#include "tests/simulator/av_reader.h"
#include "tests/simulator/test_picture.h"

namespace podsim {
namespace {

class EncoderOf : public testing::TestWithParam<Codec> {
protected:
    EncoderSettings settings() const {
        EncoderSettings s;
        s.codec = GetParam();
        s.width = 512;
        s.height = 288;
        s.bitrate_kbps = 1500;
        s.key_interval = 10;
        return s;
    }
    AVCodecID avId() const { return GetParam() == Codec::kH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC; }
};

TEST_P(EncoderOf, OnePictureInOneUnitOutThatDecodesToThatPicture) {
    std::string error;
    auto encoder = makeEncoder(settings(), error);
    ASSERT_TRUE(encoder) << error;
    AvDecoder decoder(avId());
    ASSERT_TRUE(decoder.good());
    TestPicture picture(512, 288);
    for (int i = 0; i < 25; ++i) {
        picture.draw(i);
        AccessUnit unit;
        ASSERT_TRUE(encoder->encode(picture.view(), false, unit));
        EXPECT_EQ(unit.key_frame, i % 10 == 0) << i;
        // With the pod's message in it, as it goes out.
        const auto sei = buildSeiNal(GetParam(), encodeSeiPayload(SeiFields()));
        const std::size_t at = seiInsertOffset(GetParam(), unit.bytes.data(), unit.bytes.size());
        unit.bytes.insert(unit.bytes.begin() + static_cast<long>(at), sei.begin(), sei.end());
        const int pictures = decoder.decode(unit.bytes, [&](const AVFrame& frame) {
            EXPECT_EQ(frame.width, 512);
            EXPECT_EQ(frame.height, 288);
            EXPECT_NEAR(frame.data[0][20 * frame.linesize[0] + 256], TestPicture::levelOf(i), 12) << i;
        });
        EXPECT_EQ(pictures, 1) << i;
    }
}

TEST_P(EncoderOf, CutsPicturesIntoSlices) {
    for (const int slices : {1, 4}) {
        EncoderSettings s = settings();
        s.slices = slices;
        std::string error;
        auto encoder = makeEncoder(s, error);
        if (GetParam() == Codec::kH265 && slices > 1) {
            EXPECT_FALSE(encoder);
            EXPECT_FALSE(error.empty());
            continue;
        }
        ASSERT_TRUE(encoder) << error;
        TestPicture picture(512, 288);
        for (int i = 0; i < 3; ++i) {
            picture.draw(i);
            AccessUnit unit;
            ASSERT_TRUE(encoder->encode(picture.view(), false, unit));
            int found = 0;
            for (std::size_t at = 0; at + 3 < unit.bytes.size(); ++at) {
                const auto* b = unit.bytes.data() + at;
                if (b[0] != 0 || b[1] != 0 || b[2] != 1) {
                    continue;
                }
                const int type = GetParam() == Codec::kH264 ? b[3] & 31 : b[3] >> 1 & 63;
                found += GetParam() == Codec::kH264 ? type == 1 || type == 5 : type < 32;
            }
            EXPECT_EQ(found, slices);
        }
    }
}

TEST_P(EncoderOf, KeyFrameOnDemand) {
    std::string error;
    auto encoder = makeEncoder(settings(), error);
    ASSERT_TRUE(encoder) << error;
    TestPicture picture(512, 288);
    AccessUnit unit;
    for (int i = 0; i < 5; ++i) {
        picture.draw(i);
        ASSERT_TRUE(encoder->encode(picture.view(), i == 4, unit));
        EXPECT_EQ(unit.key_frame, i == 0 || i == 4) << i;
    }
    // A receiver can begin with that unit alone.
    AvDecoder decoder(avId());
    EXPECT_EQ(decoder.decode(unit.bytes, [](const AVFrame&) {}), 1);
}

TEST_P(EncoderOf, MessageStandsAheadOfTheEncodersOwn) {
    std::string error;
    auto encoder = makeEncoder(settings(), error);
    ASSERT_TRUE(encoder) << error;
    TestPicture picture(512, 288);
    picture.draw(0);
    AccessUnit unit;
    ASSERT_TRUE(encoder->encode(picture.view(), false, unit));
    const std::size_t at = seiInsertOffset(GetParam(), unit.bytes.data(), unit.bytes.size());
    ASSERT_LT(at, unit.bytes.size());
    // Nothing but parameter sets comes before.
    for (std::size_t i = 0; i + 3 < at; ++i) {
        if (unit.bytes[i] != 0 || unit.bytes[i + 1] != 0 || unit.bytes[i + 2] != 1) {
            continue;
        }
        const int header = unit.bytes[i + 3];
        const int type = GetParam() == Codec::kH264 ? header & 31 : header >> 1 & 63;
        const bool set = GetParam() == Codec::kH264 ? type == 7 || type == 8 : type >= 32 && type <= 34;
        EXPECT_TRUE(set) << type;
    }
}

TEST_P(EncoderOf, BitrateChangesWithoutRestart) {
    std::string error;
    auto encoder = makeEncoder(settings(), error);
    ASSERT_TRUE(encoder) << error;
    TestPicture picture(512, 288);
    std::srand(1);
    const auto sizeOfRun = [&] {
        std::size_t total = 0;
        AccessUnit unit;
        for (int i = 0; i < 50; ++i) {
            for (auto& b : picture.y) {
                b = static_cast<std::uint8_t>(16 + std::rand() % 200);  // noise fills any rate
            }
            EXPECT_TRUE(encoder->encode(picture.view(), false, unit));
            total += unit.bytes.size();
        }
        return total;
    };
    const std::size_t before = sizeOfRun();
    ASSERT_TRUE(encoder->setBitrate(400));
    const std::size_t after = sizeOfRun();
    EXPECT_LT(after, before);
}

INSTANTIATE_TEST_SUITE_P(Both, EncoderOf, testing::Values(Codec::kH264, Codec::kH265),
                         [](const auto& each) { return each.param == Codec::kH264 ? "H264" : "H265"; });

TEST(Encoder, RefusesOddSizes) {
    std::string error;
    EncoderSettings s;
    s.width = 641;
    EXPECT_FALSE(makeEncoder(s, error));
    EXPECT_FALSE(error.empty());
}

TEST(RawOutput, DatagramsHoldEveryByteInOrder) {
    std::vector<std::uint8_t> data(2 * kRawDatagramSize + 17);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<std::uint8_t>(i * 31);
    }
    const auto pieces = cutIntoDatagrams(data, kRawDatagramSize);
    ASSERT_EQ(pieces.size(), 3u);
    std::vector<std::uint8_t> joined;
    for (const auto& piece : pieces) {
        EXPECT_LE(piece.size(), kRawDatagramSize);
        joined.insert(joined.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(joined, data);
    EXPECT_TRUE(cutIntoDatagrams({}, 1400).empty());
}

}  // namespace
}  // namespace podsim
