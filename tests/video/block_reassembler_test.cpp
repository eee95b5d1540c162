#include "video/block_reassembler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

using sorvane::BlockReassembler;
using Bytes = std::vector<std::uint8_t>;

namespace {

Bytes block(const std::string& header, std::uint8_t fill) {
    Bytes b(header.begin(), header.end());
    b.resize(BlockReassembler::kBlockSize, fill);
    return b;
}

Bytes joined(const std::vector<Bytes>& parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// What the rule says of a whole stream that never overflows: from each place where a header stands to 256
// bytes on.
Bytes payloadsOf(const Bytes& stream, const std::string& header) {
    Bytes out;
    for (std::size_t p = 0; p + 256 <= stream.size();) {
        std::size_t same = 0;
        while (same < header.size() && stream[p + same] == static_cast<std::uint8_t>(header[same])) {
            ++same;
        }
        if (same == header.size()) {
            out.insert(out.end(), stream.begin() + static_cast<std::ptrdiff_t>(p + same),
                       stream.begin() + static_cast<std::ptrdiff_t>(p + 256));
            p += 256;
        } else {
            ++p;
        }
    }
    return out;
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

TEST(BlockReassembler, EverySplitInThreeGivesTheSame) {
    const std::string header = "\xAB\xCD\xAB";
    // Noise that looks like a header begun, two blocks, and the first bytes of a third.
    const Bytes stream =
        joined({{0xAB, 0xCD, 0x00, 0xAB}, block(header, 0xAB), {0xCD}, block(header, 0xCD), {0xAB}});
    for (std::size_t first = 0; first <= stream.size(); ++first) {
        // Every third pair; all places of each cut are among them.
        for (std::size_t second = first + first % 3; second <= stream.size(); second += 3) {
            Taker t;
            t.header = header;
            const auto a = stream.begin() + static_cast<std::ptrdiff_t>(first);
            const auto b = stream.begin() + static_cast<std::ptrdiff_t>(second);
            t.take(Bytes(stream.begin(), a));
            t.take(Bytes(a, b));
            t.take(Bytes(b, stream.end()));
            ASSERT_EQ(t.payloads, (std::vector<Bytes>{Bytes(253, 0xAB), Bytes(253, 0xCD)}))
                << first << " " << second;
            ASSERT_EQ(t.blocks.heldBytes(), 1U);
        }
    }
}

TEST(BlockReassembler, ByteByByteGivesTheSame) {
    Taker t;
    const Bytes stream = joined({{0xAB}, block(t.header, 1), block(t.header, 2)});
    for (const std::uint8_t byte : stream) {
        t.take({byte});
    }
    EXPECT_EQ(t.payloads, (std::vector<Bytes>{Bytes(254, 1), Bytes(254, 2)}));
}

TEST(BlockReassembler, AnEmptyDatagramChangesNothing) {
    Taker t;
    const Bytes b = block(t.header, 6);
    t.take(Bytes(b.begin(), b.begin() + 100));
    t.blocks.take(nullptr, 0, t.header, [](const std::uint8_t*, std::size_t) { FAIL(); });
    EXPECT_EQ(t.blocks.heldBytes(), 100U);
    t.take(Bytes(b.begin() + 100, b.end()));
    EXPECT_EQ(t.payloads, std::vector<Bytes>{Bytes(254, 6)});
}

TEST(BlockReassembler, EveryLengthOfHeader) {
    for (std::size_t length = 0; length <= 256; ++length) {
        Taker t;
        t.header = std::string(length, 'h');
        t.take(joined({block(t.header, 1), block(t.header, 2)}));
        ASSERT_EQ(t.payloads, (std::vector<Bytes>{Bytes(256 - length, 1), Bytes(256 - length, 2)})) << length;
        ASSERT_EQ(t.blocks.heldBytes(), 0U);
    }
}

TEST(BlockReassembler, ExactlyFullIsNoOverflow) {
    Taker t;
    const Bytes part = block(t.header, 5);
    const Bytes eight = joined({part, part, part, part, part, part, part, part});
    ASSERT_EQ(eight.size(), 2048U);
    t.take(eight);
    EXPECT_EQ(t.payloads.size(), 8U);
    t.take(Bytes(part.begin(), part.begin() + 200));
    t.take(Bytes(eight.begin(), eight.begin() + 1848));
    // The block begun takes 56 bytes of the next one; the six behind that are found by searching.
    EXPECT_EQ(t.payloads.size(), 8U + 7U);
    EXPECT_EQ(t.blocks.heldBytes(), 56U);
}

TEST(BlockReassembler, AnOverflowLosesItsOwnDatagramToo) {
    Taker t;
    t.take(Bytes(100, 0x55));
    t.take(joined({block(t.header, 1), Bytes(1693, 0x55)}));  // 2049 with what is held
    EXPECT_TRUE(t.payloads.empty());
    EXPECT_EQ(t.blocks.heldBytes(), 0U);
    t.take(joined({Bytes(77, 0x55), block(t.header, 2)}));
    EXPECT_EQ(t.payloads, std::vector<Bytes>{Bytes(254, 2)});
}

TEST(BlockReassembler, AnyStreamInAnyPiecesGivesWhatTheRuleSays) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        const std::string header(random() % 4, static_cast<char>(random() % 2));
        Bytes stream(random() % 5000);
        for (std::uint8_t& byte : stream) {
            byte = static_cast<std::uint8_t>(random() % 2);
        }
        Taker t;
        t.header = header;
        // At most 255 bytes stay behind, so that these pieces never overflow.
        for (std::size_t at = 0; at < stream.size();) {
            const std::size_t end = std::min(stream.size(), at + random() % 1793);
            t.take(Bytes(stream.begin() + static_cast<std::ptrdiff_t>(at),
                         stream.begin() + static_cast<std::ptrdiff_t>(end)));
            at = end;
        }
        ASSERT_EQ(joined(t.payloads), payloadsOf(stream, header)) << round;
    }
}
