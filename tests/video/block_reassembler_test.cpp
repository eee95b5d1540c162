#include "video/block_reassembler.h"

#include <gtest/gtest.h>

#include <vector>

using sorvane::BlockReassembler;
using Bytes = std::vector<std::uint8_t>;

namespace {

Bytes block(const std::string& header, std::uint8_t fill) {
    Bytes b(header.begin(), header.end());
    b.resize(BlockReassembler::kBlockSize, fill);
    return b;
}

struct Taker {
    BlockReassembler blocks;
    std::string header = "\xAB\xCD";
    std::vector<Bytes> payloads;
    void take(const Bytes& data) {
        blocks.take(data.data(), data.size(), header,
                    [this](const std::uint8_t* p, std::size_t n) { payloads.emplace_back(p, p + n); });
    }
};

}  // namespace

TEST(BlockReassembler, WholeBlockGivesItsPayload) {
    Taker t;
    t.take(block(t.header, 7));
    ASSERT_EQ(t.payloads.size(), 1U);
    EXPECT_EQ(t.payloads[0], Bytes(254, 7));
    EXPECT_EQ(t.blocks.heldBytes(), 0U);
}

TEST(BlockReassembler, EverySplitGivesTheSame) {
    for (std::size_t split = 1; split < 512; ++split) {
        Taker t;
        Bytes two = block(t.header, 7);
        const Bytes second = block(t.header, 9);
        two.insert(two.end(), second.begin(), second.end());
        const auto at = two.begin() + static_cast<std::ptrdiff_t>(split);
        t.take(Bytes(two.begin(), at));
        t.take(Bytes(at, two.end()));
        ASSERT_EQ(t.payloads.size(), 2U) << split;
        EXPECT_EQ(t.payloads[1], Bytes(254, 9)) << split;
    }
}

TEST(BlockReassembler, HeaderIsSearchedByteByByte) {
    Taker t;
    Bytes data(3, 0x55);
    const Bytes b = block(t.header, 1);
    data.insert(data.end(), b.begin(), b.end());
    t.take(data);
    EXPECT_EQ(t.payloads.size(), 1U);
}

TEST(BlockReassembler, OverflowEmptiesTheBufferAndTheNextBlockIsFoundAgain) {
    Taker t;
    t.take(Bytes(255, 0x55));
    EXPECT_EQ(t.blocks.heldBytes(), 255U);
    t.take(Bytes(1794, 0x55));  // 2049 in all
    EXPECT_EQ(t.blocks.heldBytes(), 0U);
    t.take(Bytes(70000, 0x55));
    EXPECT_EQ(t.blocks.heldBytes(), 0U);
    t.take(block(t.header, 3));
    EXPECT_EQ(t.payloads, std::vector<Bytes>{Bytes(254, 3)});
}

TEST(BlockReassembler, EmptyHeaderCutsPlainBlocks) {
    Taker t;
    t.header.clear();
    t.take(Bytes(600, 4));
    EXPECT_EQ(t.payloads, (std::vector<Bytes>{Bytes(256, 4), Bytes(256, 4)}));
    EXPECT_EQ(t.blocks.heldBytes(), 88U);
}

TEST(BlockReassembler, HeaderBeyondABlockFindsNothing) {
    Taker t;
    t.header.assign(300, 'x');
    t.take(Bytes(2048, 'x'));
    EXPECT_TRUE(t.payloads.empty());
    EXPECT_EQ(t.blocks.heldBytes(), 255U);
}
