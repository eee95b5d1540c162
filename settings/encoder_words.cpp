#include "settings/encoder_words.h"

#include <cstddef>
#include <initializer_list>

#include "base/bytes.h"

namespace sorvane {

namespace {

constexpr std::uint8_t kEncoderCode = 98;

Command encoderCommand(std::initializer_list<std::uint8_t> bytes) {
    Command c;
    c.kind = Command::Kind::kPayload;
    c.code = kEncoderCode;
    for (const std::uint8_t byte : bytes) {
        c.bytes[static_cast<std::size_t>(c.size++)] = byte;
    }
    return c;
}

std::vector<std::uint8_t> withText(std::vector<std::uint8_t> data, std::string_view text) {
    data.insert(data.end(), text.begin(), text.end());
    return data;
}

}  // namespace

Command codecCommand(int codec) { return encoderCommand({0, lowByte(codec)}); }

Command bitRateCommand(int rate) { return encoderCommand({1, lowByte(rate), highByte(rate)}); }

std::vector<std::uint8_t> folderNamedByTime() { return {1}; }

std::vector<std::uint8_t> folderNamed(std::string_view text) { return withText({2}, text); }

std::vector<std::uint8_t> customText(int x, int y, bool shown, std::string_view text) {
    constexpr std::uint8_t kShown = 0, kHidden = 1;
    return withText({lowByte(x), highByte(x), lowByte(y), highByte(y), shown ? kShown : kHidden}, text);
}

}  // namespace sorvane
