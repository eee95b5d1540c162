// The picture cut into blocks.
#include <gtest/gtest.h>

#include "simulator/stream/video_output.h"

namespace podsim {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes counting(std::size_t n) {
    Bytes bytes(n);
    for (std::size_t i = 0; i < n; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i % 255 + 1);
    }
    return bytes;
}

// By the receiver's rule: the header, then the rest of 256 bytes.
Bytes joined(const Bytes& blocks, const std::string& header) {
    EXPECT_EQ(blocks.size() % 256, 0u);
    Bytes out;
    for (std::size_t at = 0; at + 256 <= blocks.size(); at += 256) {
        EXPECT_EQ(std::string(blocks.begin() + static_cast<long>(at),
                              blocks.begin() + static_cast<long>(at + header.size())),
                  header);
        out.insert(out.end(), blocks.begin() + static_cast<long>(at + header.size()),
                   blocks.begin() + static_cast<long>(at + 256));
    }
    return out;
}

TEST(Blocks, EverySizeComesBackWithZerosBehindIt) {
    for (const std::size_t header_size : {0, 1, 2, 4, 200}) {
        const std::string header(header_size, 'h');
        for (std::size_t n = 1; n < 600; ++n) {
            const Bytes picture = counting(n);
            const Bytes blocks = cutIntoBlocks(picture, header);
            const std::size_t room = 256 - header_size;
            ASSERT_EQ(blocks.size(), (n + room - 1) / room * 256) << n;
            Bytes padded = picture;
            padded.resize(blocks.size() / 256 * room, 0);
            ASSERT_EQ(joined(blocks, header), padded) << n;
        }
    }
}

TEST(Blocks, OfNothingAreNone) { EXPECT_TRUE(cutIntoBlocks({}, "0").empty()); }

}  // namespace
}  // namespace podsim
