// The look-up by the sockets' interface, the same on every system but for the headers that declare it; to be
// included once by each system's source, behind those headers.
#pragma once

#include <algorithm>

#include "tavrik/resolver.h"

namespace tavrik {

std::vector<std::string> resolve(const std::string& host) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_ADDRCONFIG;
    addrinfo* list = nullptr;
    std::vector<std::string> found;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0) {
        return found;
    }
    for (const addrinfo* at = list; at != nullptr; at = at->ai_next) {
        char text[NI_MAXHOST] = {};
        if (getnameinfo(at->ai_addr, static_cast<socklen_t>(at->ai_addrlen), text, sizeof(text), nullptr, 0,
                        NI_NUMERICHOST) == 0 &&
            std::find(found.begin(), found.end(), text) == found.end()) {
            found.emplace_back(text);
        }
    }
    if (list != nullptr) {
        freeaddrinfo(list);
    }
    return found;
}

}  // namespace tavrik
