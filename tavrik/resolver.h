// The system's name service.
#pragma once

#include <optional>
#include <string>

namespace tavrik {

// The first numeric address of a name, as the system orders them; nothing when there is none. Holds its
// thread for as long as the name service likes.
std::optional<std::string> resolve(const std::string& host);

}  // namespace tavrik
