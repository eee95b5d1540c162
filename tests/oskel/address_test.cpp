#include "oskel/address.h"

#include <gtest/gtest.h>

namespace {

TEST(BindAddress, LoopbackIsAnyUnlessTheRemoteIsLoopbackOrNobody) {
    const struct {
        const char* local;
        const char* remote;
        const char* bound_to;
    } table[] = {
        {"127.0.0.1", "192.168.1.160", "0.0.0.0"},
        {"127.0.1.1", "192.168.1.160", "0.0.0.0"},
        {"127.255.255.254", "8.8.8.8", "0.0.0.0"},
        {"127.0.1.1", "239.1.2.3", "0.0.0.0"},
        {"127.0.1.1", "255.255.255.255", "0.0.0.0"},
        {"::1", "fd00::2", "::"},
        {"127.0.1.1", "127.0.0.1", "127.0.1.1"},
        {"127.0.1.1", "0.0.0.0", "127.0.1.1"},
        {"::1", "::1", "::1"},
        {"::1", "::", "::1"},
        {"192.168.1.2", "192.168.1.160", "192.168.1.2"},
        {"192.168.1.2", "127.0.0.1", "192.168.1.2"},
        {"0.0.0.0", "192.168.1.160", "0.0.0.0"},
    };
    for (const auto& row : table) {
        const auto local = oskel::parseAddress(row.local);
        const auto remote = oskel::parseAddress(row.remote);
        ASSERT_TRUE(local && remote);
        EXPECT_EQ(oskel::bindAddress(*local, *remote).to_string(), row.bound_to)
            << row.local << " to " << row.remote;
    }
}

}  // namespace
