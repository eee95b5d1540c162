#include "settings/reply_router.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Reply {
    std::uint16_t code;
    std::string data;
    bool operator==(const Reply& other) const { return code == other.code && data == other.data; }
};

// Notes what reaches it.
class NotingPage : public SettingsPage {
public:
    explicit NotingPage(std::vector<Reply>& replies) : m_replies(replies) {}
    void load() override {}
    void onReply(std::uint16_t code, const unsigned char* data, int size) override {
        m_replies.push_back({code, std::string(data, data + size)});
    }

private:
    std::vector<Reply>& m_replies;
};

class SilentPage : public SettingsPage {
public:
    void load() override {}
};

class ReplyRouterTest : public ::testing::Test {
protected:
    ReplyRouterTest() {
        for (auto& place : replies) {
            pages.push_back(std::make_unique<NotingPage>(place));
        }
    }
    const std::vector<Reply>& of(PageId page) const { return replies[static_cast<std::size_t>(page)]; }

    std::array<std::vector<Reply>, kPageCount> replies;
    PageList pages;
};

constexpr std::array<ReplyRow, 4> kTable = {
    {{7, PageId::kOsd}, {0xABCD, PageId::kCommon}, {8, PageId::kOsd}, {7, PageId::kFile}}};
const unsigned char kData[] = {'p', 'o', 0, 'd'};

TEST_F(ReplyRouterTest, ACodeWithARowReachesItsPageWithItsData) {
    const ReplyRouter router(kTable, pages);
    EXPECT_TRUE(router.route(0xABCD, kData, 4));
    EXPECT_EQ(of(PageId::kCommon), (std::vector<Reply>{{0xABCD, std::string("po\0d", 4)}}));
    EXPECT_TRUE(of(PageId::kOsd).empty());
    EXPECT_TRUE(router.route(8, kData, 0));
    EXPECT_EQ(of(PageId::kOsd), (std::vector<Reply>{{8, ""}}));
}

TEST_F(ReplyRouterTest, OnePageTakesACodeThatStandsTwice) {
    const ReplyRouter router(kTable, pages);
    EXPECT_TRUE(router.route(7, kData, 2));
    EXPECT_EQ(of(PageId::kOsd), (std::vector<Reply>{{7, "po"}}));
    EXPECT_TRUE(of(PageId::kFile).empty());
}

TEST_F(ReplyRouterTest, AFirstByteOfItsOwnHasAPageOfItsOwn) {
    constexpr std::array<ReplyRow, 3> kByFirst = {
        {{18, PageId::kRemote, 2}, {18, PageId::kFile, 0xF0}, {18, PageId::kOsd}}};
    const ReplyRouter router(kByFirst, pages);
    const unsigned char two[] = {2, 9};
    const unsigned char high[] = {0xF0};
    const unsigned char other[] = {3, 2};
    EXPECT_TRUE(router.route(18, two, 2));
    EXPECT_TRUE(router.route(18, high, 1));
    EXPECT_TRUE(router.route(18, other, 2));
    // Without any data there is no first byte.
    EXPECT_TRUE(router.route(18, two, 0));
    EXPECT_EQ(of(PageId::kRemote), (std::vector<Reply>{{18, "\x02\t"}}));
    EXPECT_EQ(of(PageId::kFile), (std::vector<Reply>{{18, "\xF0"}}));
    EXPECT_EQ(of(PageId::kOsd), (std::vector<Reply>{{18, "\x03\x02"}, {18, ""}}));
    constexpr std::array<ReplyRow, 1> kOnlyTwo = {{{18, PageId::kRemote, 2}}};
    EXPECT_FALSE(ReplyRouter(kOnlyTwo, pages).route(18, other, 2));
    EXPECT_FALSE(ReplyRouter(kOnlyTwo, pages).route(18, nullptr, 0));
}

TEST_F(ReplyRouterTest, ACodeWithoutARowReachesNobody) {
    const ReplyRouter router(kTable, pages);
    // Neither the neighbours nor a code that agrees in its low byte.
    for (const std::uint16_t code : {0, 6, 9, 0xCD, 0x0107, 0xFFFF}) {
        EXPECT_FALSE(router.route(code, kData, 4)) << code;
    }
    for (const auto& place : replies) {
        EXPECT_TRUE(place.empty());
    }
}

TEST_F(ReplyRouterTest, AnEmptyTableGivesNothingAway) {
    constexpr std::array<ReplyRow, 0> kNone{};
    const ReplyRouter router(kNone, pages);
    EXPECT_FALSE(router.route(0, kData, 4));
    EXPECT_FALSE(router.route(7, nullptr, 0));
}

TEST_F(ReplyRouterTest, APageThatUnderstandsNoReplyTakesItsCodesAllTheSame) {
    pages[static_cast<std::size_t>(PageId::kOsd)] = std::make_unique<SilentPage>();
    const ReplyRouter router(kTable, pages);
    EXPECT_TRUE(router.route(8, kData, 4));
}

}  // namespace
