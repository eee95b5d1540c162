#include "tavrik/capture_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace tavrik::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::filesystem::path place(const std::string& name) {
    return std::filesystem::temp_directory_path() / std::filesystem::u8path("tavrik_file_" + name);
}

Bytes contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(file)), {});
}

TEST(CaptureFile, GrowsUnderAChineseNameAndBeginsAnew) {
    const std::string name = "\xE5\xBD\x95\xE5\x83\x8F.mp4";
    const auto path = place(name);
    for (const std::uint8_t fill : {1, 2}) {
        CaptureFile file;
        ASSERT_TRUE(file.open(path.u8string()));
        const Bytes piece(1000, fill);
        EXPECT_TRUE(file.append(piece.data(), piece.size()));
        EXPECT_TRUE(file.append(piece.data(), 24));
        EXPECT_TRUE(file.close());
        EXPECT_EQ(contentOf(path), Bytes(1024, fill));
    }
    std::filesystem::remove(path);
}

TEST(CaptureFile, SaysWhyItDoesNotOpen) {
    CaptureFile file;
    EXPECT_FALSE(file.open((place("none") / "there" / "clip.mp4").u8string()));
    EXPECT_FALSE(file.error().empty());
}

}  // namespace
}  // namespace tavrik::test
