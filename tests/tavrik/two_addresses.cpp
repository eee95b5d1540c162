#include "two_addresses.h"

#include <dlfcn.h>
#include <netdb.h>
#include <sys/socket.h>

#include <atomic>
#include <cstring>

namespace {

std::atomic<int> g_lookUps{0};

}  // namespace

namespace tavrik::test {

int lookUpsOfTwoAddresses() { return g_lookUps; }

}  // namespace tavrik::test

// In the place of the system's for the whole process, its libraries too.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result) {
    using LookUp = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto system = reinterpret_cast<LookUp>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (node == nullptr || std::strcmp(node, tavrik::test::kTwoAddresses) != 0) {
        return system(node, service, hints, result);
    }
    ++g_lookUps;
    addrinfo numeric = hints != nullptr ? *hints : addrinfo{};
    numeric.ai_flags = (numeric.ai_flags & ~AI_ADDRCONFIG) | AI_NUMERICHOST;
    int outcome = EAI_NONAME;
    addrinfo** end = result;
    for (const char* address : {"::1", "127.0.0.2", "127.0.0.1"}) {
        if (system(address, service, &numeric, end) == 0) {
            outcome = 0;
            while (*end != nullptr) {
                end = &(*end)->ai_next;
            }
        }
    }
    return outcome;
}
