#include "link/command_codes.h"

namespace sorvane {

const char* commandName(std::uint16_t code) {
    switch (code) {
#define SORVANE_COMMAND_NAME(name, code) \
    case code:                           \
        return #name;
        SORVANE_COMMANDS(SORVANE_COMMAND_NAME)
#undef SORVANE_COMMAND_NAME
        default:
            return nullptr;
    }
}

}  // namespace sorvane
