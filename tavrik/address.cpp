#include "tavrik/address.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>

namespace tavrik {
namespace {

constexpr std::size_t kMaxAddressBytes = 2048;

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Control characters would end up in the requests that are sent; bytes above 0x7E belong percent-encoded.
bool hasForbiddenByte(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return c <= ' ' || c > '~'; });
}

std::optional<int> parseNumber(const std::string& text, int maximum) {
    if (text.empty() || text.size() > 5) {
        return std::nullopt;
    }
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        value = value * 10 + (c - '0');
    }
    if (value > maximum) {
        return std::nullopt;
    }
    return value;
}

bool validName(const std::string& host) {
    return !host.empty() && host.size() <= 253 && std::all_of(host.begin(), host.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '-' || c == '.' || c == '_';
    });
}

bool validIpv6(const std::string& host) {
    return host.find(':') != std::string::npos && host.size() <= 45 &&
           host.find_first_not_of("0123456789abcdefABCDEF:.") == std::string::npos;
}

// Splits "host:port" or "[v6]:port" into the address; false if malformed.
bool parseHostAndPort(const std::string& text, NetworkAddress& out) {
    std::string port;
    bool has_port = false;
    if (!text.empty() && text[0] == '[') {
        const std::size_t close = text.find(']');
        if (close == std::string::npos) {
            return false;
        }
        out.host = text.substr(1, close - 1);
        out.numeric_host = true;
        const std::string after = text.substr(close + 1);
        has_port = !after.empty();
        if (has_port && after[0] != ':') {
            return false;
        }
        if (has_port) {
            port = after.substr(1);
        }
        if (!validIpv6(out.host)) {
            return false;
        }
    } else {
        const std::size_t colon = text.find(':');
        has_port = colon != std::string::npos;
        out.host = text.substr(0, colon);
        if (has_port) {
            port = text.substr(colon + 1);
        }
        if (!validName(out.host)) {
            return false;
        }
        out.numeric_host = parseIpv4(out.host).has_value();
    }
    if (!has_port) {
        return true;
    }
    const std::optional<int> number = parseNumber(port, 65535);
    if (!number || *number == 0) {
        return false;
    }
    out.port = *number;
    return true;
}

}  // namespace

std::optional<NetworkAddress> parseNetworkAddress(const std::string& raw) {
    const std::string text = trimmed(raw);
    if (text.empty() || text.size() > kMaxAddressBytes || hasForbiddenByte(text)) {
        return std::nullopt;
    }
    const std::size_t colon = text.find("://");
    if (colon == std::string::npos) {
        return std::nullopt;
    }
    NetworkAddress out;
    out.scheme = text.substr(0, colon);
    std::transform(out.scheme.begin(), out.scheme.end(), out.scheme.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    static const char* const kSchemes[] = {"rtsp", "rtsps", "http", "https"};
    if (std::find(std::begin(kSchemes), std::end(kSchemes), out.scheme) == std::end(kSchemes)) {
        return std::nullopt;
    }
    const std::size_t start = colon + 3;
    const std::size_t path = text.find_first_of("/?#", start);
    std::string host = text.substr(start, path == std::string::npos ? std::string::npos : path - start);
    if (path != std::string::npos) {
        out.rest = text.substr(path);
    }
    const std::size_t at = host.rfind('@');
    if (at != std::string::npos) {
        out.authority = host.substr(0, at);
        host.erase(0, at + 1);
    }
    if (!parseHostAndPort(host, out)) {
        return std::nullopt;
    }
    return out;
}

std::string networkAddressWithHost(const NetworkAddress& address, const std::string& host) {
    std::string text = address.scheme + "://";
    if (!address.authority.empty()) {
        text += address.authority + "@";
    }
    text += host.find(':') != std::string::npos ? "[" + host + "]" : host;
    if (address.port != 0) {
        text += ":" + std::to_string(address.port);
    }
    return text + address.rest;
}

std::optional<std::uint32_t> parseIpv4(const std::string& text) {
    std::uint32_t value = 0;
    std::size_t at = 0;
    for (int part = 0; part < 4; ++part) {
        const std::size_t end = part < 3 ? text.find('.', at) : text.size();
        if (end == std::string::npos || end - at > 3) {
            return std::nullopt;
        }
        const std::optional<int> number = parseNumber(text.substr(at, end - at), 255);
        if (!number) {
            return std::nullopt;
        }
        value = (value << 8) | static_cast<std::uint32_t>(*number);
        at = end + 1;
    }
    return value;
}

bool isMulticast(std::uint32_t ipv4) { return (ipv4 >> 28) == 0xE; }

bool isLoopback(std::uint32_t ipv4) { return (ipv4 >> 24) == 127; }

std::optional<DatagramAddress> parseDatagramAddress(const std::string& sender, int port,
                                                    const std::string& interface_ip) {
    if (port < 1 || port > 65535) {
        return std::nullopt;
    }
    DatagramAddress out;
    out.port = static_cast<std::uint16_t>(port);
    const std::string from = trimmed(sender);
    const std::string on = trimmed(interface_ip);
    if (!from.empty()) {
        const std::optional<std::uint32_t> ip = parseIpv4(from);
        if (!ip) {
            return std::nullopt;
        }
        out.sender = *ip;
    }
    if (!on.empty()) {
        const std::optional<std::uint32_t> ip = parseIpv4(on);
        if (!ip) {
            return std::nullopt;
        }
        out.m_interface = *ip;
    }
    // A machine's own name often stands for a loopback address, which nothing from another host ever reaches.
    if (isLoopback(out.m_interface) && out.sender != 0 && !isLoopback(out.sender)) {
        out.m_interface = 0;
    }
    return out;
}

std::vector<std::pair<std::string, std::string>> parseOptions(const std::string& text) {
    std::vector<std::pair<std::string, std::string>> out;
    std::size_t at = 0;
    while (at <= text.size()) {
        const std::size_t end = std::min(text.find(';', at), text.size());
        const std::string piece = text.substr(at, end - at);
        const std::size_t equals = piece.find('=');
        if (equals != std::string::npos) {
            std::string key = trimmed(piece.substr(0, equals));
            if (!key.empty()) {
                out.emplace_back(std::move(key), trimmed(piece.substr(equals + 1)));
            }
        }
        at = end + 1;
    }
    return out;
}

}  // namespace tavrik
