// The built program's flights, as its inertial unit tells them.
#include <fcntl.h>

#include <cmath>

#include "simulator/wire/bytes.h"
#include "simulator/wire/wire.h"
#include "tests/simulator/program_helpers.h"

namespace podsim {
namespace {

constexpr double kDegrees = 180 / 3.14159265358979323846;

struct InsWord {
    double heading_deg, pitch_deg, roll_deg, latitude_deg, longitude_deg, altitude_m;
};

// Reads frames of the inertial unit.
class InsReader {
public:
    explicit InsReader(const std::string& path) : m_fd(open(path.c_str(), O_RDWR | O_NOCTTY)) {}
    ~InsReader() { close(m_fd); }
    InsReader(const InsReader&) = delete;
    InsReader& operator=(const InsReader&) = delete;

    std::optional<InsWord> next() {
        const auto deadline = Clock::now() + 20s;
        while (Clock::now() < deadline) {
            const Bytes mark = {0xAA, 0x55, 0x00, 0x3A};
            const auto at = std::search(m_stream.begin(), m_stream.end(), mark.begin(), mark.end());
            if (m_stream.end() - at >= 58) {
                const std::uint8_t* p = &*at + 4;
                const InsWord word{static_cast<double>(getF32(p + 10)),
                                   static_cast<double>(getF32(p + 14)),
                                   static_cast<double>(getF32(p + 18)),
                                   getI32(p + 22) * 1e-7,
                                   getI32(p + 26) * 1e-7,
                                   getI32(p + 30) * 1e-3};
                m_stream.erase(m_stream.begin(), at + 58);
                return word;
            }
            const Bytes some = readOnce(m_fd, 1000ms);
            m_stream.insert(m_stream.end(), some.begin(), some.end());
        }
        return std::nullopt;
    }

private:
    int m_fd;
    Bytes m_stream;
};

// The periodic frame by which a station sends back what it has heard: hundredths of a degree cut off,
// position in single precision.
Bytes sentBack(const InsWord& word) {
    Bytes f(44);
    f[0] = 0xFB;
    f[1] = 0x2C;
    putI16(&f[7], static_cast<std::int16_t>(word.pitch_deg * 100));
    putI16(&f[9], static_cast<std::int16_t>(word.roll_deg * 100));
    putU16(&f[11], static_cast<std::uint16_t>(word.heading_deg * 100));
    putF32(&f[20], static_cast<float>(word.longitude_deg));
    putF32(&f[24], static_cast<float>(word.latitude_deg));
    f[28] = 17;
    putI16(&f[29], static_cast<std::int16_t>(word.altitude_m));
    // 12 m/s in units of 0.1 km/h, along the heading.
    putI16(&f[31], static_cast<std::int16_t>(432 * std::cos(word.heading_deg / kDegrees)));
    putI16(&f[33], static_cast<std::int16_t>(432 * std::sin(word.heading_deg / kDegrees)));
    putI16(&f[35], 432);
    for (std::size_t i = 2; i < 42; ++i) {
        f[42] = static_cast<std::uint8_t>(f[42] ^ f[i]);
    }
    f[43] = 0xF0;
    return f;
}

double turn(double from_deg, double to_deg) { return std::remainder(to_deg - from_deg, 360); }

TEST(ProgramFlight, DoesNotFollowItsOwnEcho) {
    Pod pod({"--udp", "0", "--rtsp-port", "off", "--ins-pty", "--position", "30.45,114.42"});
    ASSERT_TRUE(pod.waitReady());
    InsReader ins(pod.address("ins"));
    const int fd = pod.talk();
    const std::optional<InsWord> first = ins.next();
    ASSERT_TRUE(first);
    // A pod that believed what comes back would fly on straight; this one turns by 3 degrees a second.
    const auto deadline = Clock::now() + 30s;
    double turned = 0;
    while (turned < 12 && Clock::now() < deadline) {
        const std::optional<InsWord> word = ins.next();
        ASSERT_TRUE(word);
        const Bytes back = sentBack(*word);
        ASSERT_EQ(send(fd, back.data(), back.size(), 0), 44);
        turned = turn(first->heading_deg, word->heading_deg);
        const double north_m = (word->latitude_deg - 30.45) * 111319.49;
        const double east_m = (word->longitude_deg - 114.42) * 111319.49 * std::cos(30.45 / kDegrees);
        ASSERT_NEAR(std::hypot(north_m, east_m), 225, 2);
    }
    EXPECT_GE(turned, 12);
    // Another place is believed at once.
    InsWord elsewhere = *first;
    elsewhere.latitude_deg = 31.5;
    bool there = false;
    while (!there && Clock::now() < deadline + 20s) {
        const Bytes told = sentBack(elsewhere);
        ASSERT_EQ(send(fd, told.data(), told.size(), 0), 44);
        const std::optional<InsWord> word = ins.next();
        ASSERT_TRUE(word);
        there = std::fabs(word->latitude_deg - 31.5) < 0.01;
    }
    EXPECT_TRUE(there);
    close(fd);
}

TEST(ProgramFlight, FliesARecordedRoute) {
    const std::string path = tempPath("podsim-route-");
    std::ofstream(path) << "time,longitude,latitude,altitude,heading\n0,10,50,300,77\n600,10.1,50,300,77\n";
    Pod pod({"--udp", "off", "--rtsp-port", "off", "--ins-pty", "--route", path});
    ASSERT_TRUE(pod.waitReady());
    InsReader ins(pod.address("ins"));
    const std::optional<InsWord> word = ins.next();
    ASSERT_TRUE(word);
    EXPECT_NEAR(word->latitude_deg, 50, 1e-6);
    EXPECT_GE(word->longitude_deg, 10 - 1e-6);
    EXPECT_LT(word->longitude_deg, 10.1);
    EXPECT_NEAR(word->heading_deg, 77, 1e-3);
    EXPECT_NEAR(word->altitude_m, 300, 0.01);
    unlink(path.c_str());
}

TEST(ProgramFlight, ABadRouteIsNamed) {
    const std::string path = tempPath("podsim-bad-route-");
    std::ofstream(path) << "10,50,300\n10,50\n";
    Pod bad({"--udp", "off", "--rtsp-port", "off", "--route", path});
    EXPECT_EQ(bad.waitExit(20s), 1);
    EXPECT_EQ(bad.errors(), "podsim: " + path + ": line 2: 2 fields where 3 belong\n");
    unlink(path.c_str());
    Pod none({"--udp", "off", "--rtsp-port", "off", "--route", "/nonexistent/route"});
    EXPECT_EQ(none.waitExit(20s), 1);
    EXPECT_NE(none.errors().find("/nonexistent/route: cannot be read"), std::string::npos);
    Pod plan({"--flight", "zigzag"});
    EXPECT_EQ(plan.waitExit(20s), 2);
}

}  // namespace
}  // namespace podsim
