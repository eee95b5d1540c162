#include "oskel/address.h"

#include <cstring>

namespace oskel {
namespace {

constexpr std::size_t kLongestAddress = 64;  // IPv6 with a zone; an attacker's megabyte is not worth a look

// By hand, since the systems' own readers differ: some take "1.2", octal groups or an appended port.
std::optional<asio::ip::address> parseV4(const char* text) {
    asio::ip::address_v4::bytes_type bytes{};
    for (std::size_t group = 0; group < bytes.size(); ++group) {
        int digits = 0;
        int value = 0;
        for (; *text >= '0' && *text <= '9'; ++text, ++digits) {
            if (digits == 3 || (digits > 0 && value == 0)) {
                return std::nullopt;
            }
            value = value * 10 + (*text - '0');
        }
        if (digits == 0 || value > 255) {
            return std::nullopt;
        }
        if (*text != (group + 1 < bytes.size() ? '.' : '\0')) {
            return std::nullopt;
        }
        ++text;
        bytes[group] = static_cast<unsigned char>(value);
    }
    return asio::ip::address_v4(bytes);
}

// Brackets, slashes and blanks, which one system's reader takes and another's does not, stay out.
bool hasV6LettersOnly(const char* text) {
    const char* zone = std::strchr(text, '%');
    const std::size_t digits = zone != nullptr ? static_cast<std::size_t>(zone - text) : std::strlen(text);
    return std::strspn(text, "0123456789abcdefABCDEF:.") == digits;
}

std::optional<asio::ip::address> parseV6(const char* text) {
    if (!hasV6LettersOnly(text)) {
        return std::nullopt;
    }
    asio::error_code error;
    const auto address = asio::ip::make_address_v6(text, error);
    if (error) {
        return std::nullopt;
    }
    if (address.is_v4_mapped()) {
        return asio::ip::make_address_v4(asio::ip::v4_mapped, address);
    }
    return address;
}

}  // namespace

std::optional<asio::ip::address> parseAddress(const char* text) {
    if (text == nullptr) {
        return std::nullopt;
    }
    if (std::memchr(text, '\0', kLongestAddress) == nullptr) {
        return std::nullopt;
    }
    return std::strchr(text, ':') != nullptr ? parseV6(text) : parseV4(text);
}

asio::ip::address bindAddress(const asio::ip::address& local, const asio::ip::address& remote) {
    if (!local.is_loopback() || remote.is_loopback() || remote.is_unspecified()) {
        return local;
    }
    return local.is_v6() ? asio::ip::address(asio::ip::address_v6::any())
                         : asio::ip::address(asio::ip::address_v4::any());
}

}  // namespace oskel
