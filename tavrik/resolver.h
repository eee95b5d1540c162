// The system's name service.
#pragma once

#include <string>
#include <vector>

namespace tavrik {

// The numeric addresses of a name, as the system orders them; empty when there is none. Holds its thread for
// as long as the name service likes.
std::vector<std::string> resolve(const std::string& host);

}  // namespace tavrik
