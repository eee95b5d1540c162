// Which page of the settings takes which reply of the pod.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "settings/settings_page.h"

// The pages, in the order in which the dialog holds, loads and stores them.
enum class PageId : std::size_t {
    kCommon,
    kFile,
    kOsd,
    kEncoder,
    kEncoderWeb,
    kDevice,
    kRelay,
    kUpgrade,
    kRemote,
    kStick
};
constexpr std::size_t kPageCount = 10;
using PageList = std::vector<std::unique_ptr<SettingsPage>>;

struct ReplyRow {
    std::uint16_t code;
    PageId page;
    int first_byte = -1;  // of the data, where it tells what the reply is about; -1: any, or none at all
};

class ReplyRouter {
public:
    // Table and pages outlive the router. By the first route, each page of the table stands in the list, at
    // the place of its id. The first row with a code and first byte holds.
    template <std::size_t N>
    ReplyRouter(const std::array<ReplyRow, N>& table, const PageList& pages)
        : m_rows(table.data()), m_count(N), m_pages(pages) {}

    // Gives a reply to the page of its code: `size` bytes, valid during the call. False when no row has them;
    // nobody has seen the reply then.
    bool route(std::uint16_t code, const unsigned char* data, int size) const;

private:
    const ReplyRow* m_rows;
    std::size_t m_count;
    const PageList& m_pages;
};
