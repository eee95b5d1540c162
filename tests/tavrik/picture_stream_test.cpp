#include "tavrik/picture_stream.h"

#include <gtest/gtest.h>

#include <algorithm>

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

TEST(PictureStream, TellsWhereDecodingAndWhereAFileCanBegin) {
    struct Case {
        std::vector<Bytes> nals;
        bool decoding, file;
    };
    // A message of another kind first, and one with emulation prevention in it.
    const Bytes recovery_behind{0x06, 0x05, 0x04, 0, 0, 3, 0, 0, 0x06, 0x01, 0xC4, 0x80};
    const Bytes six_inside{0x06, 0x05, 0x04, 6, 6, 6, 6, 0x80};
    const Bytes recovery265{0x4E, 0x01, 0x06, 0x01, 0xC4, 0x80};
    const Case h264[] = {{{slice264(true, true, 1)}, true, false},
                         {{kSps264, slice264(true, true, 2)}, true, false},
                         {{kPps264, slice264(true, true, 3)}, true, true},
                         {{slice264(true, false, 4)}, false, false},
                         {{kRecovery264, slice264(true, false, 5)}, true, false},
                         {{kSei264, recovery_behind, slice264(true, false, 6)}, true, false},
                         {{six_inside, slice264(true, false, 7)}, false, false}};
    const Case h265[] = {{{kSps265, kPps265, slice265(true, true, 1)}, true, false},
                         {{kVps265, slice265(true, true, 2)}, true, true},
                         {{slice265(true, false, 3)}, false, false},
                         {{recovery265, slice265(true, false, 4)}, true, false}};
    const auto check = [](Codec codec, const Case& c, PictureStream& stream,
                          std::vector<AccessUnitPtr>& units) {
        units.clear();
        push(stream, joined(c.nals));
        stream.endOfPicture();
        ASSERT_EQ(units.size(), 1u);
        EXPECT_EQ(units[0]->codec, codec);
        EXPECT_EQ(units[0]->decoding_can_begin, c.decoding) << int(c.nals.back().back());
        EXPECT_EQ(units[0]->file_can_begin, c.file) << int(c.nals.back().back());
    };
    std::vector<AccessUnitPtr> units;
    const auto keep = [&units](const AccessUnitPtr& unit) { units.push_back(unit); };
    PictureStream one(Codec::kH264, keep), two(Codec::kH265, keep);
    for (const Case& c : h264) {
        check(Codec::kH264, c, one, units);
    }
    for (const Case& c : h265) {
        check(Codec::kH265, c, two, units);
    }
}

TEST(PictureStream, HandsOutUnitsThatStayAsTheyAreWithZerosBehindThem) {
    std::vector<AccessUnitPtr> units;
    PictureStream stream(Codec::kH264, [&units](const AccessUnitPtr& unit) { units.push_back(unit); });
    std::vector<Bytes> expected;
    for (std::uint8_t i = 1; i < 20; ++i) {
        expected.push_back(joined({slice264(true, i == 1, i, 100u * i)}));
        push(stream, expected.back());
    }
    stream.finish();
    ASSERT_EQ(units.size(), expected.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        EXPECT_EQ(Bytes(units[i]->data(), units[i]->data() + units[i]->size()), expected[i]);
        ASSERT_EQ(units[i]->padded.size(), expected[i].size() + 64);
        EXPECT_TRUE(std::all_of(units[i]->data() + units[i]->size(),
                                units[i]->data() + units[i]->padded.size(),
                                [](std::uint8_t byte) { return byte == 0; }));
    }
}

TEST(PictureStream, StampsThePictureThatBeginsNext) {
    std::vector<AccessUnitPtr> units;
    PictureStream stream(Codec::kH264, [&units](const AccessUnitPtr& unit) { units.push_back(unit); });
    const auto time = [](int s) { return std::chrono::steady_clock::time_point(std::chrono::seconds(s)); };
    push(stream, joined({slice264(true, true, 1, 100)}));
    stream.stamp({100, 90, time(1)});
    push(stream, {0x81, 0x81});  // the first picture goes on
    push(stream, joined({kSei264}));
    stream.stamp({200, 190, time(2)});
    push(stream, joined({slice264(true, false, 2), slice264(true, false, 3)}));
    stream.stamp({300, 290, time(3)});
    push(stream, joined({slice264(false, false, 3), slice264(true, false, 4)}));
    push(stream, joined({slice264(true, false, 5)}));
    stream.finish();
    ASSERT_EQ(units.size(), 5u);
    EXPECT_EQ(units[4]->stamp.pts, kNoTime) << "a stamp is for one picture";
    EXPECT_EQ(units[0]->stamp.pts, kNoTime);
    EXPECT_EQ(units[1]->stamp.pts, 100) << "its SEI is its first byte";
    EXPECT_EQ(units[1]->stamp.dts, 90);
    EXPECT_EQ(units[1]->stamp.arrival, time(1));
    EXPECT_EQ(units[2]->stamp.pts, 200) << "the first to begin behind the second stamp";
    EXPECT_EQ(units[2]->stamp.arrival, time(2));
    EXPECT_EQ(units[3]->stamp.pts, 300);
    EXPECT_EQ(units[3]->stamp.arrival, time(3));
}

TEST(PictureStream, ClosesTheUnitInHandWhereBytesWereLost) {
    std::vector<AccessUnitPtr> units;
    PictureStream stream(Codec::kH264, [&units](const AccessUnitPtr& unit) { units.push_back(unit); });
    const auto bytes = [&](std::size_t i) {
        return Bytes(units[i]->data(), units[i]->data() + units[i]->size());
    };
    Bytes slice = slice264(true, true, 1, 100);
    Bytes cut = joined({kSps264, kPps264, slice});
    cut.resize(cut.size() - 50);
    push(stream, cut);
    stream.lost();
    push(stream, {1, 2, 3, 4});  // the rest of another slice: not glued, not taken for a beginning
    push(stream, joined({slice264(false, true, 1)}));
    stream.endOfPicture();
    slice.resize(50);
    ASSERT_EQ(units.size(), 1u);
    EXPECT_EQ(bytes(0), joined({kSps264, kPps264, slice, slice264(false, true, 1)}));
    EXPECT_TRUE(units[0]->damaged);
    // Two zeros before the gap and a one behind it are no start code; a cut parameter set is none either.
    push(stream, {0, 0});
    stream.lost();
    push(stream, {1, 0x41, 0x88});
    push(stream, joined({slice264(true, false, 2)}));
    stream.endOfPicture();
    Bytes set = joined({kSps264});
    set.resize(set.size() - 2);
    push(stream, set);
    stream.lost();
    push(stream, joined({slice264(true, false, 3)}));
    stream.endOfPicture();
    ASSERT_EQ(units.size(), 3u);
    EXPECT_EQ(bytes(1), joined({slice264(true, false, 2)}));
    EXPECT_TRUE(units[1]->damaged) << "what was lost may have been its beginning";
    EXPECT_EQ(bytes(2), joined({slice264(true, false, 3)}));
}

TEST(PictureStream, ALossBetweenPicturesDamagesTheNextAlone) {
    std::vector<AccessUnitPtr> units;
    PictureStream stream(Codec::kH264, [&](const AccessUnitPtr& unit) { units.push_back(unit); });
    stream.lost();
    for (std::uint32_t n = 1; n < 5; ++n) {
        if (n == 3) {
            stream.lost();
        }
        push(stream, joined({slice264(true, n == 1, n)}));
        stream.endOfPicture();
    }
    ASSERT_EQ(units.size(), 4u);
    EXPECT_FALSE(units[0]->damaged) << "before the first byte nothing is missed";
    EXPECT_FALSE(units[1]->damaged);
    EXPECT_TRUE(units[2]->damaged);
    EXPECT_FALSE(units[3]->damaged);
}

TEST(PictureStream, TakesALossForNoFaultOfTheContainer) {
    Collected collected;
    PictureStream stream(Codec::kH264, collected.sink());
    for (int i = 0; i < 20; ++i) {
        push(stream, joined({slice264(true, false, 1)}));
        stream.endOfPicture();
        stream.lost();
        push(stream, joined({slice264(false, false, 2)}));
    }
    push(stream, joined({slice264(true, false, 3)}));
    stream.endOfPicture();
    EXPECT_FALSE(stream.pending());
}

TEST(AccessUnits, TakeNoEmptyNal) {
    std::vector<AccessUnitPtr> units;
    AccessUnitAssembler assembler(Codec::kH264, [&](const AccessUnitPtr& unit) { units.push_back(unit); });
    const Bytes slice = slice264(true, true, 1);
    Nal nal;
    nal.data = slice.data();
    nal.size = slice.size();
    assembler.add(Nal{});
    assembler.add(nal);
    assembler.add(Nal{});
    assembler.flush();
    ASSERT_EQ(units.size(), 1u);
    EXPECT_EQ(Bytes(units[0]->data(), units[0]->data() + units[0]->size()), joined({slice}));
}

TEST(AccessUnits, AreDamagedByEachOfTheirSlices) {
    std::vector<bool> damaged;
    AccessUnitAssembler assembler(Codec::kH264,
                                  [&](const AccessUnitPtr& unit) { damaged.push_back(unit->damaged); });
    const Bytes first = slice264(true, true, 1), second = slice264(false, true, 1);
    for (const auto& [of_first, of_second] : {std::pair{false, false}, {true, false}, {false, true}}) {
        Nal nal;
        nal.data = first.data();
        nal.size = first.size();
        nal.damaged = of_first;
        assembler.add(nal);
        nal.data = second.data();
        nal.size = second.size();
        nal.damaged = of_second;
        assembler.add(nal);
        assembler.flush();
    }
    EXPECT_EQ(damaged, (std::vector<bool>{false, true, true}));
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
