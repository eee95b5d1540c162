// A host name of the tests that has several addresses, of which only the last is a server's.
#pragma once

#include <string>

namespace tavrik::test {

// Stands for ::1, 127.0.0.2 and 127.0.0.1, in this order, whoever asks the system in this process.
constexpr const char* kTwoAddresses = "camera.two-addresses.test";
// Times that the system has been asked for it.
int lookUpsOfTwoAddresses();

// The address with that name in the place of 127.0.0.1.
inline std::string withTwoAddresses(std::string url) {
    return url.replace(url.find("127.0.0.1"), 9, kTwoAddresses);
}

}  // namespace tavrik::test
