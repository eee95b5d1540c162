#include "tavrik/slice_header.h"

#include <gtest/gtest.h>

#include "real_streams.h"
#include "tavrik/bit_reader.h"

namespace tavrik::test {
namespace {

struct Stream264 {
    Sequence264 sequence;
    bool bottom_order = false;
    SliceHeads heads{Codec::kH264};
    explicit Stream264(const Sequence264& s = {}, bool bottom = false) : sequence(s), bottom_order(bottom) {
        learn(sequence264(s));
        learn(picture264(bottom));
    }
    void learn(const Bytes& nal) { heads.learn(nal.data(), nal.size()); }
    SliceHead head(const Slice264& s) const {
        const Bytes nal = realSlice264(s, sequence, bottom_order);
        return heads.read(nal.data(), nal.size());
    }
    bool another(const Slice264& a, const Slice264& b) const {
        EXPECT_TRUE(head(a).known);
        EXPECT_TRUE(head(b).known);
        return ofAnotherPicture(head(a), head(b));
    }
};

// address, frame, order, idr, idr_id, reference, field, delta
TEST(SliceHeads, TellPicturesOfH264ApartByEachOfTheirMarks) {
    const Stream264 s;
    const Slice264 base{0, 7, 9, false, 0, true, 0, 0};
    EXPECT_FALSE(s.another(base, {40, 7, 9, false, 0, true, 0, 0}));
    EXPECT_TRUE(s.another(base, {40, 8, 9, false, 0, true, 0, 0})) << "frame number";
    EXPECT_TRUE(s.another(base, {40, 7, 11, false, 0, true, 0, 0})) << "order";
    EXPECT_TRUE(s.another(base, {40, 7, 9, true, 0, true, 0, 0})) << "random access";
    EXPECT_TRUE(s.another(base, {40, 7, 9, false, 0, false, 0, 0})) << "reference";
    EXPECT_TRUE(s.another({0, 0, 0, true, 1, true, 0, 0}, {40, 0, 0, true, 2, true, 0, 0}));
    EXPECT_FALSE(s.another({0, 0, 0, true, 1, true, 0, 0}, {40, 0, 0, true, 1, true, 0, 0}));
    EXPECT_TRUE(s.another({40, 7, 9}, {20, 7, 9})) << "addresses rise within a picture";
    EXPECT_TRUE(s.another({40, 7, 9}, {40, 7, 9}));
}

TEST(SliceHeads, KnowTheProfilesOfH264ThatSendSlicesInAnyOrder) {
    const Stream264 s({66});
    EXPECT_FALSE(s.another({40, 7, 9}, {20, 7, 9}));
    EXPECT_TRUE(s.another({40, 7, 9}, {20, 8, 9}));
}

TEST(SliceHeads, ReadFieldsDeltasAndScalingLists) {
    const Stream264 fields({100, 0, false, true});
    EXPECT_TRUE(fields.another({0, 7, 9, false, 0, true, 1, 0}, {40, 7, 9, false, 0, true, 2, 0}));
    EXPECT_FALSE(fields.another({0, 7, 9, false, 0, true, 2, 0}, {40, 7, 9, false, 0, true, 2, 0}));
    EXPECT_TRUE(fields.another({0, 7, 9, false, 0, true, 2, 0}, {40, 7, 10, false, 0, true, 2, 0}));
    const Stream264 deltas({77, 1, true, false}, true);
    EXPECT_TRUE(deltas.another({0, 7, 0, false, 0, true, 0, 3}, {40, 7, 0, false, 0, true, 0, -3}));
    EXPECT_FALSE(deltas.another({0, 7, 0, false, 0, true, 0, 3}, {40, 7, 0, false, 0, true, 0, 3}));
    const Stream264 bottom({77, 0}, true);
    EXPECT_TRUE(bottom.another({0, 7, 9, false, 0, true, 0, 1}, {40, 7, 9, false, 0, true, 0, 2}));
}

TEST(SliceHeads, SayNothingWithoutParameterSetsOrWithTooFewBytes) {
    const Bytes slice = realSlice264({40, 7, 9});
    SliceHeads none(Codec::kH264);
    EXPECT_FALSE(none.read(slice.data(), slice.size()).known);
    const Stream264 s;
    const SliceHead whole = s.heads.read(slice.data(), slice.size());
    bool known = false;
    for (std::size_t size = 0; size <= slice.size(); ++size) {
        const SliceHead head = s.heads.read(slice.data(), size);
        EXPECT_TRUE(head.known || !known) << size;
        known = head.known;
        EXPECT_TRUE(!known || head.mark == whole.mark);
    }
    EXPECT_TRUE(known);
    EXPECT_FALSE(ofAnotherPicture(SliceHead{}, whole));
}

TEST(SliceHeads, AreThoseOfSlicesAlone) {
    const Stream264 s;
    Bytes nal = realSlice264({40, 7, 9});
    const SliceHead slice = s.heads.read(nal.data(), nal.size());
    for (int type = 0; type < 32; ++type) {
        nal[0] = static_cast<std::uint8_t>(0x60 | type);
        const SliceHead head = s.heads.read(nal.data(), nal.size());
        // A slice, its first partition, one of a random access picture.
        EXPECT_EQ(head.known, type == 1 || type == 2 || type == 5) << type;
        EXPECT_TRUE(type != 2 || head.mark == slice.mark);
    }
}

// What stands where in a head depends on the sequence's set: each field is read from its own bits.
TEST(SliceHeads, ReadEachFieldBehindEveryKindOfSequence) {
    for (const std::uint32_t profile : {77u, 100u}) {
        for (const std::uint32_t order_type : {0u, 1u, 2u}) {
            for (const int field : {0, 1, 2}) {
                const Stream264 s({profile, order_type, false, profile == 100}, true);
                const SliceHead head = s.head({40, 0xA5, 37, true, 3, true, field, -3});
                EXPECT_TRUE(head.known && head.has_mark && head.ordered);
                EXPECT_EQ(head.address, 40u);
                const std::uint32_t order = order_type == 0 ? 37 : 0;
                const std::uint32_t delta = order_type == 1 ? static_cast<std::uint32_t>(-3) : 0;
                const std::uint32_t bottom =
                    order_type == 0 && field == 0 ? static_cast<std::uint32_t>(-3) : 0;
                const std::uint32_t kind = field == 0 ? 0 : static_cast<std::uint32_t>(field);
                EXPECT_EQ(head.mark,
                          (std::array<std::uint32_t, 8>{0, 3, 0xA5, kind, 3, order, delta, bottom}))
                    << profile << " " << order_type << " " << field;
            }
        }
    }
}

// What is too short to be a set of any kind changes nothing that is known.
TEST(SliceHeads, LearnNothingFromSetsOfOneOrTwoBytes) {
    Stream264 s;
    for (const Bytes& nal : {Bytes{0x67}, Bytes{0x67, 0x4D}, Bytes{0x68}, Bytes{0x68, 0x80}}) {
        s.learn(nal);
        EXPECT_TRUE(s.head({40, 7, 9}).known) << nal.size() << " bytes of " << +nal[0];
    }
    s.heads.learn(nullptr, 0);
    EXPECT_TRUE(s.head({40, 7, 9}).known);
}

TEST(SliceHeads, OfAPictureSetThatCannotBeTellNothing) {
    const Stream264 s;
    for (const std::uint32_t id : {1u, 255u, 256u, 257u, 100000u, 0x7FFFFFFEu}) {
        const Bytes slice = BitWriter().ue(0).ue(5).ue(id).u(8, 7).u(6, 9).nal({0x61}, 60);
        EXPECT_FALSE(s.heads.read(slice.data(), slice.size()).known) << id;
        Stream264 other;
        other.learn(BitWriter().ue(id).ue(0).u(1, 0).u(1, 0).ue(0).ue(0).nal({0x68}, 12));
        EXPECT_EQ(other.heads.read(slice.data(), slice.size()).known, id < 256) << id;
    }
}

struct Stream265 {
    SliceHeads heads{Codec::kH265};
    explicit Stream265(bool sub_layers = false, bool window = true) {
        for (const Bytes& nal : {sequence265(sub_layers, window), picture265()}) {
            heads.learn(nal.data(), nal.size());
        }
    }
    bool another(const Slice265& a, const Slice265& b) const {
        const Bytes first = realSlice265(a), second = realSlice265(b);
        const SliceHead one = heads.read(first.data(), first.size());
        const SliceHead two = heads.read(second.data(), second.size());
        EXPECT_TRUE(one.known && two.known);
        return ofAnotherPicture(one, two);
    }
};

// address, order, idr, dependent
TEST(SliceHeads, TellPicturesOfH265Apart) {
    for (const int form : {0, 1, 2, 3}) {
        const Stream265 s((form & 1) != 0, (form & 2) != 0);
        EXPECT_FALSE(s.another({0, 17}, {400, 17}));
        EXPECT_TRUE(s.another({0, 17}, {400, 18})) << "order";
        EXPECT_TRUE(s.another({0, 0, true}, {400, 0})) << "kind";
        EXPECT_TRUE(s.another({800, 17}, {400, 17})) << "addresses rise within a picture";
        EXPECT_FALSE(s.another({0, 17}, {400, 99, false, true})) << "a dependent segment repeats no order";
        EXPECT_TRUE(s.another({800, 17}, {400, 99, false, true}));
        EXPECT_FALSE(s.another({0, 0, true}, {1199, 0, true}));
    }
}

TEST(SliceHeads, OfH265WithoutDependentSlicesHaveNoBitForThem) {
    SliceHeads heads(Codec::kH265);
    for (const Bytes& nal : {sequence265(), picture265(false)}) {
        heads.learn(nal.data(), nal.size());
    }
    for (const std::uint32_t address : {0u, 400u, 1199u}) {
        const Bytes slice = realSlice265({address, 17}, 60, false);
        const SliceHead head = heads.read(slice.data(), slice.size());
        EXPECT_TRUE(head.known && head.has_mark) << address;
        EXPECT_EQ(head.address, address);
        EXPECT_EQ(head.mark[3], 17u) << address;
    }
}

// A head that ends early tells nothing, and once it is whole the rest of the slice changes nothing.
TEST(SliceHeads, OfCutSlicesOfH265TellNothing) {
    const Stream265 s;
    for (const Slice265& what :
         {Slice265{0, 17}, Slice265{400, 17}, Slice265{400, 0, true}, Slice265{400, 0, false, true}}) {
        const Bytes slice = realSlice265(what);
        EXPECT_FALSE(SliceHeads(Codec::kH265).read(slice.data(), slice.size()).known);
        const SliceHead whole = s.heads.read(slice.data(), slice.size());
        ASSERT_TRUE(whole.known);
        EXPECT_EQ(whole.address, what.address);
        EXPECT_EQ(whole.has_mark, !what.dependent);
        std::size_t needed = 0;
        for (std::size_t size = 0; size <= slice.size(); ++size) {
            // Cut off for good: behind the end lies what no reader may touch.
            const Bytes cut(slice.begin(), slice.begin() + static_cast<std::ptrdiff_t>(size));
            const SliceHead head = s.heads.read(cut.data(), cut.size());
            needed = head.known && needed == 0 ? size : needed;
            EXPECT_EQ(head.known, needed != 0) << size;
            if (head.known) {
                EXPECT_EQ(head.mark, whole.mark) << size;
                EXPECT_EQ(head.address, whole.address) << size;
            } else {
                EXPECT_FALSE(ofAnotherPicture(head, whole) || ofAnotherPicture(whole, head)) << size;
            }
        }
        EXPECT_GT(needed, 3U);
        EXPECT_LT(needed, 10U);
    }
}

TEST(SliceHeads, SurviveSetsOfAnyBytes) {
    std::uint32_t state = 1;
    const auto random = [&state] {
        return static_cast<std::uint8_t>((state = state * 1103515245u + 12345u) >> 16);
    };
    int known = 0;
    for (int round = 0; round < 20000; ++round) {
        SliceHeads h264(Codec::kH264), h265(Codec::kH265);
        for (const std::uint8_t head : {0x67, 0x68, 0x41}) {
            Bytes nal(1 + random() % 40);
            for (auto& byte : nal) {
                byte = static_cast<std::uint8_t>(random() & (random() % 2 != 0 ? 0xFF : 0xC1));
            }
            nal[0] = head;
            h264.learn(nal.data(), nal.size());
            known += h264.read(nal.data(), nal.size()).known ? 1 : 0;
            nal[0] = head == 0x67 ? 0x42 : head == 0x68 ? 0x44 : 0x02;
            if (nal.size() > 1) {
                nal[1] = 1;
            }
            h265.learn(nal.data(), nal.size());
            known += h265.read(nal.data(), nal.size()).known ? 1 : 0;
        }
    }
    EXPECT_GT(known, 10);
}

TEST(BitReader, LeavesEmulationPreventionOutAndStopsAtTheEnd) {
    const Bytes bytes{0x00, 0x00, 0x03, 0x01, 0x80};
    BitReader r(bytes.data(), bytes.size());
    EXPECT_EQ(r.bits(24), 1u);
    EXPECT_EQ(r.ue(), 0u);
    EXPECT_EQ(r.bits(7), 0u);
    EXPECT_TRUE(r.ok());
    r.bit();
    EXPECT_FALSE(r.ok());
    EXPECT_EQ(r.ue(), 0u);
}

}  // namespace
}  // namespace tavrik::test
