// The look-up by the sockets' interface, the same on every system but for the headers that declare it; to be
// included once by each system's source, behind those headers.
#pragma once

#include "tavrik/resolver.h"

namespace tavrik {

std::optional<std::string> resolve(const std::string& host) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_ADDRCONFIG;
    addrinfo* list = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0 || list == nullptr) {
        return std::nullopt;
    }
    char text[NI_MAXHOST] = {};
    const int result = getnameinfo(list->ai_addr, static_cast<socklen_t>(list->ai_addrlen), text,
                                   sizeof(text), nullptr, 0, NI_NUMERICHOST);
    freeaddrinfo(list);
    if (result != 0) {
        return std::nullopt;
    }
    return std::string(text);
}

}  // namespace tavrik
