// Looks a host name up without ever holding the caller longer than it wants.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tavrik {

// The numeric addresses of `host`, the best first; empty if there is none, after timeout_ms, or once
// cancelled() is true. The look-up itself cannot be interrupted: it runs on a thread that is left behind.
std::vector<std::string> lookUpHost(const std::string& host, int timeout_ms,
                                    const std::function<bool()>& cancelled);

}  // namespace tavrik
