#include "settings/relay.h"

#include "base/bytes.h"

namespace sorvane {

namespace {

constexpr std::uint8_t kLastModuleCode = 20;
// What modules send counts from 1 and is put into the list from 0.
constexpr int kFirstModule = 1;

int digitOf(char16_t c) {
    if (c >= u'0' && c <= u'9') {
        return c - u'0';
    }
    if (c >= u'a' && c <= u'f') {
        return c - u'a' + 10;
    }
    return c >= u'A' && c <= u'F' ? c - u'A' + 10 : -1;
}

// White space around the digits and "0x" before them are passed over.
std::uint8_t byteOf(std::u16string_view token) {
    constexpr std::u16string_view kSpace = u"\t\n\r\v\f";
    const std::size_t begin = token.find_first_not_of(kSpace);
    if (begin == std::u16string_view::npos) {
        return 0;
    }
    token = token.substr(begin, token.find_last_not_of(kSpace) + 1 - begin);
    if (token.size() > 2 && token[0] == u'0' && (token[1] == u'x' || token[1] == u'X')) {
        token.remove_prefix(2);
    }
    unsigned value = 0;
    for (const char16_t c : token) {
        const int digit = digitOf(c);
        if (digit < 0) {
            return 0;
        }
        value = (value << 4U | static_cast<unsigned>(digit)) & 0xFFU;
    }
    return static_cast<std::uint8_t>(value);
}

}  // namespace

std::uint8_t relayModuleCode(int row) {
    if (row == kRelayModules - 1) {
        return kLastModuleCode;
    }
    return row >= 0 && row < kRelayModules ? static_cast<std::uint8_t>(row + 1) : 0;
}

std::vector<std::uint8_t> relayData(int row, int number, std::u16string_view text) {
    std::vector<std::uint8_t> data = {relayModuleCode(row), lowByte(number)};
    for (std::size_t blank = text.find(u' '); blank != std::u16string_view::npos; blank = text.find(u' ')) {
        data.push_back(byteOf(text.substr(0, blank)));
        text.remove_prefix(blank + 1);
    }
    if (text.size() >= 2) {
        data.push_back(byteOf(text));
    }
    return data;
}

bool RelayBurst::add(const unsigned char* data, int size) {
    constexpr int kHead = 2;
    constexpr char kDigits[] = "0123456789ABCDEF";
    if (size < kHead) {
        return false;
    }
    if (m_count == 0) {
        m_module = data[0];
        m_number = data[1];
    }
    for (int i = kHead; i < size; ++i) {
        m_digits += kDigits[data[i] >> 4U];
        m_digits += kDigits[data[i] & 0xFU];
        m_digits += ' ';
    }
    return ++m_count == 1;
}

// The last module sends one more than its code.
int RelayBurst::row() const {
    const int row = m_module - kFirstModule;
    if (row == kLastModuleCode) {
        return kRelayModules - 1;
    }
    return row < kRelayModules ? row : -1;
}

void RelayBurst::clear() { *this = {}; }

}  // namespace sorvane
