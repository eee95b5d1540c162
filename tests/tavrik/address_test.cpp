#include "tavrik/address.h"

#include <gtest/gtest.h>

namespace tavrik::test {
namespace {

TEST(NetworkAddress, TakesWellFormedOnesApart) {
    const auto a = parseNetworkAddress(" RTSP://user:p@ss@Cam-1.local:8554/live/track0?x=1 ");
    ASSERT_TRUE(a);
    EXPECT_EQ(a->scheme, "rtsp");
    EXPECT_EQ(a->authority, "user:p@ss");
    EXPECT_EQ(a->host, "Cam-1.local");
    EXPECT_EQ(a->port, 8554);
    EXPECT_EQ(a->rest, "/live/track0?x=1");
    EXPECT_FALSE(a->numeric_host);
    EXPECT_EQ(networkAddressWithHost(*a, "10.0.0.1"), "rtsp://user:p@ss@10.0.0.1:8554/live/track0?x=1");
    EXPECT_EQ(networkAddressWithHost(*a, "fe80::1"), "rtsp://user:p@ss@[fe80::1]:8554/live/track0?x=1");
}

TEST(NetworkAddress, AcceptsTheseAndNoOthers) {
    const struct {
        std::string text;
        bool good;
    } table[] = {
        {"rtsp://192.168.1.160/live/track0", true},
        {"rtsp://192.168.1.160:554", true},
        {"rtsp://[::1]:554/x", true},
        {"http://camera/video.ts", true},
        {"https://camera/video", true},
        {"rtsps://camera", true},
        {"", false},
        {"   ", false},
        {"rtsp", false},
        {"rtsp:/", false},
        {"rtsp://", false},
        {"rtsp:///path", false},
        {"rtsp://:554/", false},
        {"rtsp://host:0/", false},
        {"rtsp://host:65536/", false},
        {"rtsp://host:99999999999/", false},
        {"rtsp://host:-1/", false},
        {"rtsp://host:/", false},
        {"rtsp://host:5a/", false},
        {"rtsp://ho st/", false},
        {"rtsp://host/a b", false},
        {"rtsp://host/\r\nInjected: yes", false},
        {std::string("rtsp://host/\0x", 14), false},
        {"rtsp://host/\t", false},
        {"rtsp://host/\x7f", false},
        {"rtsp://h\xC3\xB6st/", false},
        {"rtsp://ho$t/", false},
        {"rtsp://[::1/", false},
        {"rtsp://[::1]x/", false},
        {"rtsp://[zz]/", false},
        {"rtsp://[]/", false},
        {"file:///etc/passwd", false},
        {"concat:a|b", false},
        {"ftp://host/", false},
        {"udp://host:1", false},
        {"rtspx://host/", false},
        {"http:rtsp://host", false},
        {"/etc/passwd", false},
        {"192.168.1.160", false},
        {"rtsp://host/" + std::string(3000, 'a'), false},
    };
    for (const auto& row : table) {
        EXPECT_EQ(parseNetworkAddress(row.text).has_value(), row.good) << row.text;
    }
}

TEST(NetworkAddress, KnowsLiterals) {
    EXPECT_TRUE(parseNetworkAddress("rtsp://127.0.0.1/")->numeric_host);
    EXPECT_TRUE(parseNetworkAddress("rtsp://[::1]/")->numeric_host);
    EXPECT_FALSE(parseNetworkAddress("rtsp://127.0.0.1.example/")->numeric_host);
}

TEST(Ipv4, IsFourDecimalNumbers) {
    EXPECT_EQ(parseIpv4("1.2.3.4"), 0x01020304u);
    EXPECT_EQ(parseIpv4("255.255.255.255"), 0xFFFFFFFFu);
    for (const char* bad : {"", "1.2.3", "1.2.3.", ".1.2.3", "1.2.3.4.5", "1.2.3.256", "1..3.4", "a.b.c.d",
                            "1.2.3.4 ", "-1.2.3.4", "0001.2.3.4", "1.2.3.4:5"}) {
        EXPECT_FALSE(parseIpv4(bad)) << bad;
    }
    EXPECT_TRUE(isMulticast(*parseIpv4("224.0.0.1")));
    EXPECT_TRUE(isMulticast(*parseIpv4("239.255.255.255")));
    EXPECT_FALSE(isMulticast(*parseIpv4("223.255.255.255")));
    EXPECT_FALSE(isMulticast(*parseIpv4("240.0.0.0")));
}

TEST(DatagramAddress, AcceptsTheseAndNoOthers) {
    const struct {
        const char* sender;
        int port;
        const char* local;
        bool good;
    } table[] = {
        {"", 5000, "", true},
        {"192.168.1.160", 5000, "", true},
        {" 192.168.1.160 ", 65535, "127.0.0.1", true},
        {"239.1.2.3", 1, "127.0.0.1", true},
        {"", 0, "", false},
        {"", -1, "", false},
        {"", 65536, "", false},
        {"camera", 5000, "", false},
        {"rtsp://192.168.1.160", 5000, "", false},
        {"192.168.1.160:5000", 5000, "", false},
        {"192.168.1.160\n", 5000, "", false},
        {"", 5000, "eth0", false},
    };
    for (const auto& row : table) {
        EXPECT_EQ(parseDatagramAddress(row.sender, row.port, row.local).has_value(), row.good)
            << row.sender << " " << row.port << " " << row.local;
    }
}

TEST(DatagramAddress, LoopbackIsAnyUnlessTheSenderIsLoopbackOrNobody) {
    const struct {
        const char* sender;
        const char* local;
        std::uint32_t bound_to;
    } table[] = {
        {"192.168.1.160", "127.0.0.1", 0},      {"192.168.1.160", "127.0.1.1", 0},
        {"239.1.2.3", "127.0.0.1", 0},          {"192.168.1.160", "192.168.1.2", 0xC0A80102},
        {"127.0.0.1", "127.0.1.1", 0x7F000101}, {"127.0.0.1", "192.168.1.2", 0xC0A80102},
        {"", "127.0.1.1", 0x7F000101},          {"192.168.1.160", "", 0},
    };
    for (const auto& row : table) {
        const auto address = parseDatagramAddress(row.sender, 5000, row.local);
        ASSERT_TRUE(address.has_value());
        EXPECT_EQ(address->m_interface, row.bound_to) << row.sender << " " << row.local;
    }
}

TEST(Options, AreKeysAndValues) {
    using Pairs = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(parseOptions("rtsp_transport=udp"), (Pairs{{"rtsp_transport", "udp"}}));
    EXPECT_EQ(parseOptions(" a = 1 ;b=2=3;;c;=x;d="), (Pairs{{"a", "1"}, {"b", "2=3"}, {"d", ""}}));
    EXPECT_TRUE(parseOptions("").empty());
    EXPECT_TRUE(parseOptions(";;;").empty());
}

}  // namespace
}  // namespace tavrik::test
