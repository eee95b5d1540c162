#include "tavrik/decoder_probe.h"

#include <system_error>
#include <thread>
#include <utility>

#include "tavrik/tavrik.h"

namespace tavrik {

void probeDecoders(std::function<void(int mask)> done) {
    constexpr int kSoftwareAlone = 1;
    try {
        std::thread([done] { done(list_decoders()); }).detach();
    } catch (const std::system_error&) {
        done(kSoftwareAlone);
    }
}

}  // namespace tavrik
