#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "oskel/oskel.h"
#include "tests/oskel/peers.h"

namespace {

const std::string endless(100000, '1');

const char* const bad_addresses[] = {nullptr,
                                     " ",
                                     "   ",
                                     " 127.0.0.1",
                                     "127.0.0.1 ",
                                     "localhost",
                                     "example.invalid",
                                     "256.1.1.1",
                                     "1.2.3",
                                     "1.2.3.",
                                     "1.2.3.4.",
                                     ".1.2.3",
                                     "1..2.3",
                                     "1.2.3.4.5",
                                     "-1.2.3.4",
                                     "+1.2.3.4",
                                     "01.2.3.4",
                                     "1.2.3.4:80",
                                     "1.2.3.4/8",
                                     "0x7f.0.0.1",
                                     "2130706433",
                                     "127.1",
                                     "\n",
                                     "127.0.0.1\n",
                                     "127.0.0.1\r",
                                     "\x01\x02",
                                     "\xff\xfe",
                                     "%s%n",
                                     "::1::",
                                     ":",
                                     ":::",
                                     "[::1]",
                                     "12345::",
                                     "g::1",
                                     "::1/64",
                                     "1:2:3:4:5:6:7:8:9",
                                     endless.c_str()};

const int bad_ports[] = {-1, 65536, 100000, INT_MAX, INT_MIN};

TEST(BadText, AddressOfAStream) {
    for (const char* text : bad_addresses) {
        EXPECT_EQ(oskel::dialStream(text, 9, {}), 0) << (text ? text : "null");
    }
    EXPECT_EQ(oskel::dialStream("", 9, {}), 0);
}

TEST(BadText, PortOfAStream) {
    for (const int port : bad_ports) {
        EXPECT_EQ(oskel::dialStream("127.0.0.1", port, {}), 0) << port;
    }
    EXPECT_EQ(oskel::dialStream("127.0.0.1", 0, {}), 0);
}

TEST(BadText, AddressesOfADatagramPort) {
    for (const char* text : bad_addresses) {
        EXPECT_EQ(oskel::dialDatagram(text, 9, "", 0, {}), -1) << (text ? text : "null");
        EXPECT_EQ(oskel::dialDatagram("127.0.0.1", 9, text, 0, {}), -1) << (text ? text : "null");
        EXPECT_EQ(oskel::dialDatagram("", 0, text, 0, {}), -1) << (text ? text : "null");
    }
    EXPECT_EQ(oskel::dialDatagram("", 9, "127.0.0.1", 0, {}), -1) << "a remote port without an address";
    EXPECT_EQ(oskel::dialDatagram("::1", 9, "127.0.0.1", 0, {}), -1) << "two families";
    EXPECT_EQ(oskel::dialDatagram("127.0.0.1", 9, "::1", 0, {}), -1) << "two families";
#ifndef _WIN32
    // Wine, on which the Windows build is tested, binds to any address.
    EXPECT_EQ(oskel::dialDatagram("127.0.0.1", 9, "192.0.2.1", 0, {}), -1)
        << "not an address of this machine";
#endif
}

TEST(BadText, PortsOfADatagramPort) {
    for (const int port : bad_ports) {
        EXPECT_EQ(oskel::dialDatagram("127.0.0.1", port, "", 0, {}), -1) << port;
        EXPECT_EQ(oskel::dialDatagram("127.0.0.1", 9, "", port, {}), -1) << port;
        EXPECT_EQ(oskel::dialDatagram("", 0, "", port, {}), -1) << port;
    }
}

TEST(BadText, NameOfASerialPort) {
    const std::string longName(100000, 'x');
    const char* const names[] = {nullptr,    "",          " ",         "no_such_port",   "COM",
                                 "COM99999", "COMx",      "tty\n",     "\x01",           "\xff\xfe",
                                 "/",        "/tmp",      "/dev/null", "/etc/hostname",  "../etc/hostname",
                                 "C:",       "\\\\.\\C:", "\\\\.\\",   "\\\\.\\pipe\\x", longName.c_str()};
    for (const char* name : names) {
        EXPECT_EQ(oskel::dialSerial(name, 115200, {}), -1) << (name ? name : "null");
    }
}

TEST(BadText, PushArguments) {
    peers::UdpPeer peer;
    const int handle = oskel::dialDatagram("127.0.0.1", peer.port(), "", 0, {});
    ASSERT_GE(handle, 1);
    EXPECT_EQ(oskel::push_bytes(nullptr, 5, handle), -1);
    EXPECT_EQ(oskel::push_bytes("x", -1, handle), -1);
    EXPECT_EQ(oskel::push_bytes("x", INT_MIN, handle), -1);
    EXPECT_EQ(oskel::push_bytes("x", 0, handle), 0);
    EXPECT_EQ(oskel::push_bytes(nullptr, 0, handle), 0);
    EXPECT_EQ(oskel::push_bytes("x", 1, handle), 1);
    EXPECT_EQ(peer.receive(), peers::bytes("x"));
    oskel::hang_up(handle);
}

TEST(BadText, HandlesThatAreNotOpen) {
    const int closed = oskel::dialDatagram("", 0, "", 0, {});
    ASSERT_GE(closed, 1);
    ASSERT_EQ(oskel::hang_up(closed), 0);
    for (const int handle : {closed, 0, -1, -7, INT_MAX, INT_MIN}) {
        EXPECT_EQ(oskel::push_bytes("x", 1, handle), -1) << handle;
        EXPECT_EQ(oskel::hang_up(handle), -1) << handle;
        EXPECT_EQ(oskel::line_busy_ms(handle), 0) << handle;
        EXPECT_EQ(oskel::send_trouble(handle), oskel::SendTrouble::kNone) << handle;
        oskel::mark_ahead(handle);
    }
}

}  // namespace
