#include "tavrik/picture_stream.h"

#include <gtest/gtest.h>

#include "nal_streams.h"

namespace tavrik::test {
namespace {

struct Unit {
    Bytes bytes, sei;
    bool begin;
    bool operator==(const Unit& o) const { return bytes == o.bytes && sei == o.sei && begin == o.begin; }
};

struct Collected {
    std::vector<Unit> units;
    std::vector<Codec> codecs;
    PictureStream::Sink sink() {
        return [this](const AccessUnitPtr& unit) {
            units.push_back(
                {Bytes(unit->data(), unit->data() + unit->size()), unit->sei, unit->decoding_can_begin});
            codecs.push_back(unit->codec);
        };
    }
};

void push(PictureStream& stream, const Bytes& bytes) { stream.push(bytes.data(), bytes.size()); }

std::vector<Unit> assemble(Codec codec, const Bytes& bytes, std::size_t cut) {
    Collected collected;
    PictureStream stream(codec, collected.sink());
    stream.push(bytes.data(), cut);
    stream.push(bytes.data() + cut, bytes.size() - cut);
    stream.finish();
    return collected.units;
}

struct Scene {
    Codec codec;
    std::vector<std::vector<Bytes>> pictures;
};

// Every way in which a picture can begin.
const Scene kScenes[] = {
    {Codec::kH264,
     {{kSps264, kPps264, kSei264, slice264(true, true, 1)},
      {slice264(true, false, 2)},
      {kAud264, slice264(true, false, 3), slice264(false, false, 3)},
      {kSei264, kSei264, slice264(true, false, 4), slice264(false, false, 4), {0x0C, 0xFF, 0x80}},
      {kPps264, slice264(true, false, 5)},
      {kRecovery264, slice264(true, false, 6)}}},
    {Codec::kH265,
     {{kVps265, kSps265, kPps265, kSei265, slice265(true, true, 1)},
      {slice265(true, false, 2)},
      {kAud265, slice265(true, false, 3), slice265(false, false, 3), kSuffix265},
      {kSei265, slice265(true, false, 4), slice265(false, false, 4)},
      {kPps265, slice265(true, false, 5)}}},
};

std::vector<Unit> expectedOf(const Scene& scene) {
    std::vector<Unit> out;
    for (const auto& nals : scene.pictures) {
        std::vector<Bytes> sei;
        bool begin = false;
        for (const Bytes& nal : nals) {
            const NalInfo info = describeNal(scene.codec, nal.data(), nal.size());
            if (info.sei) {
                sei.push_back(nal);
            }
            begin = begin || info.random_access || info.recovery_point;
        }
        out.push_back({joined(nals), joined(sei), begin});
    }
    return out;
}

TEST(PictureStream, PutsPicturesTogetherForEachCut) {
    for (const Scene& scene : kScenes) {
        const std::vector<Unit> expected = expectedOf(scene);
        for (const std::size_t start_code : {3u, 4u}) {
            Bytes bytes;
            for (const auto& nals : scene.pictures) {
                const Bytes piece = joined(nals, start_code);
                bytes.insert(bytes.end(), piece.begin(), piece.end());
            }
            for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
                ASSERT_EQ(assemble(scene.codec, bytes, cut), expected) << cut;
                ASSERT_EQ(assemble(Codec::kUnknown, bytes, cut), expected) << "codec unknown " << cut;
            }
        }
    }
}

TEST(PictureStream, ToleratesEveryTruncation) {
    for (const Scene& scene : kScenes) {
        const Bytes whole = joined(scene.pictures[0]);
        for (std::size_t size = 0; size < whole.size(); ++size) {
            const std::vector<Unit> units =
                assemble(scene.codec, {whole.begin(), whole.begin() + static_cast<long>(size)}, 0);
            ASSERT_LE(units.size(), 1u);
        }
    }
}

TEST(PictureStream, LetsAPictureGoAtTheContainersWord) {
    Collected collected;
    PictureStream stream(Codec::kH264, collected.sink());
    push(stream, joined({kSps264, kPps264}));
    stream.endOfPicture();
    EXPECT_TRUE(collected.units.empty()) << "parameter sets wait for their picture";
    push(stream, joined({slice264(true, true, 1)}));
    EXPECT_TRUE(stream.pending());
    stream.endOfPicture();
    ASSERT_EQ(collected.units.size(), 1u);
    EXPECT_EQ(collected.units[0].bytes, joined({kSps264, kPps264, slice264(true, true, 1)}));
    EXPECT_FALSE(stream.pending());
}

TEST(PictureStream, DoesNotTrustAContainerThatEndsInsidePictures) {
    Collected collected;
    PictureStream stream(Codec::kH264, collected.sink());
    for (int i = 0; i < 10; ++i) {
        push(stream, joined({slice264(true, false, 1)}));
        stream.endOfPicture();
        push(stream, joined({slice264(false, false, 1)}));
        stream.endOfPicture();
    }
    collected.units.clear();
    push(stream, joined({slice264(true, false, 2)}));
    stream.endOfPicture();
    push(stream, joined({slice264(false, false, 2)}));
    stream.endOfPicture();
    push(stream, joined({slice264(true, false, 3)}));
    stream.finish();
    ASSERT_GE(collected.units.size(), 2u);
    EXPECT_EQ(collected.units[collected.units.size() - 2].bytes,
              joined({slice264(true, false, 2), slice264(false, false, 2)}));
}

TEST(PictureStream, FollowsAChangeOfCodecButNotOneDamagedSet) {
    Collected collected;
    PictureStream stream(Codec::kUnknown, collected.sink());
    push(stream, joined({slice264(true, true, 1)}));
    stream.finish();
    EXPECT_TRUE(collected.units.empty()) << "no parameter set yet";
    push(stream, joined({kSps264, kPps264, slice264(true, true, 1), kSps265, kSps264}));
    EXPECT_EQ(stream.codec(), Codec::kH264);
    push(stream, joined({kVps265, kSps265, kPps265, slice265(true, true, 2)}));
    stream.finish();
    EXPECT_EQ(stream.codec(), Codec::kH265);
    EXPECT_EQ(collected.codecs.back(), Codec::kH265);
    EXPECT_TRUE(collected.units.back().begin);
}

TEST(PictureStream, PassesOtherCodecsPacketByPacket) {
    Collected collected;
    PictureStream stream(Codec::kOther, collected.sink());
    push(stream, {1, 2});
    push(stream, {3});
    stream.endOfPicture();
    push(stream, {4});
    stream.finish();
    ASSERT_EQ(collected.units.size(), 2u);
    EXPECT_EQ(collected.units[0].bytes, (Bytes{1, 2, 3}));
    EXPECT_EQ(collected.units[1].bytes, (Bytes{4}));
}

TEST(PictureStream, StaysBoundedWithoutAnyPicture) {
    Collected collected;
    PictureStream stream(Codec::kH264, collected.sink());
    Bytes sei(60000, 0x55);
    sei[0] = 0x06;
    const Bytes piece = joined({sei});
    for (int i = 0; i < 1000; ++i) {
        push(stream, piece);
    }
    push(stream, joined({slice264(true, true, 1)}));
    stream.finish();
    ASSERT_EQ(collected.units.size(), 1u);
    EXPECT_LE(collected.units[0].bytes.size(), AccessUnitAssembler::kMaxUnitBytes + 100);
}

}  // namespace
}  // namespace tavrik::test
