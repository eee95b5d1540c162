// printf into a string, of any length.
#pragma once

#include <string>

namespace podsim {

std::string formatText(const char* pattern, ...) __attribute__((format(printf, 1, 2)));

}  // namespace podsim
