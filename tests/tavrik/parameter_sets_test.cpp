#include "tavrik/parameter_sets.h"

#include <gtest/gtest.h>

#include "nal_streams.h"
#include "real_streams.h"

namespace tavrik::test {
namespace {

Bytes joined(const std::vector<Bytes>& nals, std::size_t code = 4) {
    Bytes out;
    for (const Bytes& nal : nals) {
        out.insert(out.end(), code - 1, 0);
        out.push_back(1);
        out.insert(out.end(), nal.begin(), nal.end());
    }
    return out;
}

// Profile, constraints, level, then the number as Exp-Golomb: 1 is 0, 010 is 1, 011 is 2.
const Bytes kSequence0{0x67, 66, 0, 30, 0x80}, kSequence0Other{0x67, 66, 0, 31, 0x90};
const Bytes kSequence1{0x67, 66, 0, 30, 0x48};
const Bytes kPicture0{0x68, 0xC0}, kPicture1{0x68, 0x50};
const Bytes kMessage{0x06, 5, 1, 9, 0x80};
const Bytes kSlice{0x65, 0x88, 1, 2, 3};

TEST(ParameterSets, KeepsTheLatestOfEachNumber) {
    ParameterSets sets(Codec::kH264);
    const Bytes first = joined({kSequence0, kPicture0, kMessage, kSlice});
    EXPECT_TRUE(sets.learn(first.data(), first.size()));
    EXPECT_EQ(sets.bytes(), joined({kSequence0, kPicture0}));
    const Bytes second = joined({kPicture1, kSequence1, kSequence0Other, kSlice}, 3);
    EXPECT_TRUE(sets.learn(second.data(), second.size()));
    EXPECT_EQ(sets.bytes(), joined({kSequence0Other, kSequence1, kPicture0, kPicture1}));
    const Bytes none = joined({kMessage, kSlice});
    EXPECT_FALSE(sets.learn(none.data(), none.size()));
}

TEST(ParameterSets, LooksNotBehindTheFirstSlice) {
    ParameterSets sets(Codec::kH264);
    const Bytes unit = joined({kSlice, kSequence0});
    EXPECT_FALSE(sets.learn(unit.data(), unit.size()));
    EXPECT_TRUE(sets.bytes().empty());
}

TEST(ParameterSets, OfH265StandInTheirOrder) {
    // A video set 0; a sequence set of one layer: 12 bytes of profile and level, then number 1 (010) or 0
    // (1).
    const Bytes video{0x40, 1, 0x0C, 1};
    Bytes sequence0{0x42, 1, 0x01}, sequence1{0x42, 1, 0x01}, layered{0x42, 1, 0x03};
    for (Bytes* s : {&sequence0, &sequence1, &layered}) {
        s->insert(s->end(), 12, 0x55);
    }
    sequence0.push_back(0x80);
    sequence1.push_back(0x48);
    // One more layer with a level of its own: flags 01 and 14 bits of nothing, 8 bits of level, number 0.
    layered.insert(layered.end(), {0x40, 0x00, 0x5D, 0x80});
    const Bytes picture{0x44, 1, 0xC0};
    const Bytes slice{0x26, 1, 0x80, 9};
    ParameterSets sets(Codec::kH265);
    Bytes unit = joined({picture, sequence1, sequence0, video, slice});
    EXPECT_TRUE(sets.learn(unit.data(), unit.size()));
    EXPECT_EQ(sets.bytes(), joined({video, sequence0, sequence1, picture}));
    unit = joined({layered, slice});
    EXPECT_TRUE(sets.learn(unit.data(), unit.size()));
    EXPECT_EQ(sets.bytes(), joined({video, layered, sequence1, picture}));
}

TEST(ParameterSets, HaveNothingOfOtherCodecs) {
    ParameterSets sets(Codec::kOther);
    const Bytes unit = joined({kSequence0, kSlice});
    EXPECT_FALSE(sets.learn(unit.data(), unit.size()));
    EXPECT_FALSE(sets.learn(nullptr, 0));
}

TEST(ParameterSets, TellsPicturesThatNeedThoseBeforeTheKeyPicture) {
    const auto unit = [](int type) {
        return joined({{0x4E, 1, 5, 1, 9, 0x80}, {static_cast<std::uint8_t>(type << 1), 1, 0x80, 7}});
    };
    for (int type = 0; type < 32; ++type) {
        const Bytes bytes = unit(type);
        EXPECT_EQ(needsPicturesBeforeKey(Codec::kH265, bytes.data(), bytes.size()), type == 8 || type == 9);
        EXPECT_FALSE(needsPicturesBeforeKey(Codec::kH264, bytes.data(), bytes.size()));
    }
}

}  // namespace
}  // namespace tavrik::test
