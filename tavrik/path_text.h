// Paths as callers write them.
#pragma once

#include <string>

namespace tavrik {

// The text in UTF-8. What is no GBK is given back as it is: it may be UTF-8 already.
std::string utf8FromGbk(const std::string& gbk);

}  // namespace tavrik
