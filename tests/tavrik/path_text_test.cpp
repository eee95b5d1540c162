#include "tavrik/path_text.h"

#include <gtest/gtest.h>

namespace tavrik::test {
namespace {

TEST(PathText, OfGbkIsBroughtToUtf8) {
    EXPECT_EQ(utf8FromGbk("/home/a b/20240102/120000_1.jpg"), "/home/a b/20240102/120000_1.jpg");
    EXPECT_EQ(utf8FromGbk("D:/\xBD\xD8\xCD\xBC/1.jpg"), "D:/\xE6\x88\xAA\xE5\x9B\xBE/1.jpg");
    // A second byte may be a backslash or a bar.
    EXPECT_EQ(utf8FromGbk("\x81\x5C\x81\x7C"), "\xE4\xB9\x97\xE4\xBA\x85");
    EXPECT_EQ(utf8FromGbk(""), "");
}

TEST(PathText, ThatIsNoGbkIsLeftAsItIs) {
    EXPECT_EQ(utf8FromGbk("/a\xFF\xFF/b"), "/a\xFF\xFF/b");
    EXPECT_EQ(utf8FromGbk("/a\xBD"), "/a\xBD");
}

}  // namespace
}  // namespace tavrik::test
