#include "simulator/options.h"

#include <gtest/gtest.h>

namespace podsim {
namespace {

bool parse(const std::vector<std::string>& arguments, Options& options, std::string& error) {
    return parseOptions(arguments, options, error);
}

TEST(Options, Defaults) {
    Options o;
    std::string error;
    ASSERT_TRUE(parse({}, o, error));
    EXPECT_EQ(o.udp_port, 8000);
    EXPECT_EQ(o.bind_address, "127.0.0.1");
    EXPECT_EQ(o.rtsp_address, "127.0.0.1");
    EXPECT_EQ(o.rtsp_port, 8554);
    EXPECT_EQ(o.tcp_port, kNoPort);
    EXPECT_EQ(o.telemetry_hz, 25);
    EXPECT_EQ(o.channels[0].encoder.width, 1280);
    EXPECT_EQ(o.channels[1].encoder.width, 640);
    EXPECT_EQ(o.channels[1].encoder.height, 512);
}

TEST(Options, EveryOptionIsRead) {
    Options o;
    std::string error;
    ASSERT_TRUE(parse({"--bind",
                       "0.0.0.0",
                       "--udp=off",
                       "--tcp",
                       "0",
                       "--pty-link",
                       "/tmp/x",
                       "--peer",
                       "127.0.0.1:9",
                       "--latched",
                       "--places-held",
                       "--telemetry-hz",
                       "50",
                       "--telemetry-form",
                       "variable",
                       "--ins-pty-link=/tmp/y",
                       "--nav-udp",
                       "127.0.0.1:10",
                       "--feed-hz",
                       "10",
                       "--rtsp-bind",
                       "0.0.0.0",
                       "--rtsp-port",
                       "0",
                       "--codec0",
                       "h265",
                       "--size0",
                       "640x512",
                       "--fps0",
                       "30",
                       "--kbps0",
                       "900",
                       "--key-interval0",
                       "7",
                       "--slices0",
                       "4",
                       "--ts0",
                       "127.0.0.1:11",
                       "--raw1",
                       "127.0.0.1:12",
                       "--blocks0",
                       "127.0.0.1:13",
                       "--block-header0=hex:eB9000",
                       "--block-header1",
                       "head",
                       "--sound0",
                       "on",
                       "--clip1",
                       "c.mp4",
                       "--fault",
                       "telemetry.loss=0.5",
                       "--fault",
                       "video.stall=on",
                       "--upgrade-fault",
                       "late@7",
                       "--upgrade-fault=state=9@8",
                       "--flash",
                       "f",
                       "--seed",
                       "99",
                       "--position",
                       "48.5,-9.25",
                       "--event-log",
                       "z",
                       "--duration",
                       "1.5"},
                      o, error))
        << error;
    EXPECT_TRUE(o.latched);
    EXPECT_TRUE(o.places_held);
    EXPECT_EQ(o.bind_address, "0.0.0.0");
    EXPECT_EQ(o.udp_port, kNoPort);
    EXPECT_EQ(o.tcp_port, 0);
    EXPECT_TRUE(o.pty);
    EXPECT_EQ(o.pty_link, "/tmp/x");
    EXPECT_EQ(o.peer, "127.0.0.1:9");
    EXPECT_EQ(o.telemetry_hz, 50);
    EXPECT_TRUE(o.variable_reports);
    EXPECT_TRUE(o.ins_pty);
    EXPECT_EQ(o.ins_link, "/tmp/y");
    EXPECT_EQ(o.nav_to, "127.0.0.1:10");
    EXPECT_EQ(o.feed_hz, 10);
    EXPECT_EQ(o.rtsp_address, "0.0.0.0");
    EXPECT_EQ(o.rtsp_port, 0);
    EXPECT_EQ(o.channels[0].encoder.codec, Codec::kH265);
    EXPECT_EQ(o.channels[1].encoder.codec, Codec::kH264);
    EXPECT_EQ(o.channels[0].encoder.width, 640);
    EXPECT_EQ(o.channels[0].encoder.height, 512);
    EXPECT_EQ(o.channels[0].encoder.fps, 30);
    EXPECT_EQ(o.channels[0].encoder.bitrate_kbps, 900);
    EXPECT_EQ(o.channels[0].encoder.key_interval, 7);
    EXPECT_EQ(o.channels[0].encoder.slices, 4);
    EXPECT_EQ(o.channels[1].encoder.slices, 1);
    EXPECT_EQ(o.channels[0].ts_to, "127.0.0.1:11");
    EXPECT_EQ(o.channels[1].raw_to, "127.0.0.1:12");
    EXPECT_EQ(o.channels[0].blocks_to, "127.0.0.1:13");
    EXPECT_EQ(o.channels[0].block_header, std::string("\xEB\x90\0", 3));
    EXPECT_EQ(o.channels[1].block_header, "head");
    EXPECT_TRUE(o.channels[0].sound);
    EXPECT_FALSE(o.channels[1].sound);
    EXPECT_EQ(o.channels[1].clip, "c.mp4");
    EXPECT_EQ(o.telemetry_faults.loss, 0.5);
    EXPECT_TRUE(o.video_faults.silence);
    ASSERT_EQ(o.upgrade_faults.size(), 2U);
    EXPECT_EQ(o.upgrade_faults[0].kind, UpgradeFault::Kind::kLate);
    EXPECT_EQ(o.upgrade_faults[1].state, 9);
    EXPECT_EQ(o.flash_folder, "f");
    EXPECT_EQ(o.seed, 99u);
    EXPECT_EQ(o.latitude_deg, 48.5);
    EXPECT_EQ(o.longitude_deg, -9.25);
    EXPECT_EQ(o.event_log, "z");
    EXPECT_EQ(o.duration_s, 1.5);
}

TEST(Options, WrongOnesAreNamed) {
    const std::vector<std::vector<std::string>> wrong = {
        {"--nonsense"},
        {"udp"},
        {"--udp"},
        {"--udp", "70000"},
        {"--udp", "x"},
        {"--tcp", "-1"},
        {"--bind", "localhost"},
        {"--peer", "127.0.0.1"},
        {"--telemetry-hz", "501"},
        {"--profile", "loop"},
        {"--telemetry-form", "x"},
        {"--feed-hz", "0"},
        {"--rtsp-port", "1e3"},
        {"--codec0", "mpeg2"},
        {"--codec2", "h264"},
        {"--size0", "641x480"},
        {"--size0", "640"},
        {"--size0", "64x64"},
        {"--fps1", "0"},
        {"--kbps0", "1"},
        {"--key-interval0", "0"},
        {"--slices0", "0"},
        {"--slices0", "17"},
        {"--ts0", "127.0.0.1"},
        {"--raw0", ""},
        {"--blocks0", "x"},
        {"--block-header0", std::string(201, 'x')},
        {"--block-header0", "hex:EB9"},
        {"--block-header0", "hex:0x"},
        {"--sound0", "yes"},
        {"--clip0", ""},
        {"--fault", "x"},
        {"--upgrade-fault", "lost"},
        {"--flash", ""},
        {"--seed", "-3"},
        {"--position", "1"},
        {"--position", "95,0"},
        {"--event-log", ""},
        {"--duration", "0"},
        {"--duration", "nan"},
        {"--pty=yes"},
    };
    for (const auto& arguments : wrong) {
        Options o;
        std::string error;
        EXPECT_FALSE(parse(arguments, o, error)) << arguments[0];
        const std::string name = arguments[0].substr(0, arguments[0].find('='));
        EXPECT_NE(error.find(name), std::string::npos) << error;
    }
}

TEST(Options, Flights) {
    Options o;
    std::string error;
    EXPECT_EQ(o.flight, FlightPlan::kCircle);
    EXPECT_TRUE(o.route.empty());
    ASSERT_TRUE(parse({"--flight", "racetrack", "--route", "a.csv"}, o, error)) << error;
    EXPECT_EQ(o.flight, FlightPlan::kRacetrack);
    EXPECT_EQ(o.route, "a.csv");
    ASSERT_TRUE(parse({"--flight=circle"}, o, error)) << error;
    EXPECT_EQ(o.flight, FlightPlan::kCircle);
    EXPECT_FALSE(parse({"--flight", "zigzag"}, o, error));
    EXPECT_NE(error.find("--flight"), std::string::npos);
    EXPECT_FALSE(parse({"--route", ""}, o, error));
}

TEST(Options, EmptyBlockHeader) {
    Options o;
    std::string error;
    EXPECT_EQ(o.channels[0].block_header, "0");
    ASSERT_TRUE(parse({"--block-header0="}, o, error)) << error;
    EXPECT_EQ(o.channels[0].block_header, "");
    ASSERT_TRUE(parse({"--block-header0", "hex:"}, o, error)) << error;
    EXPECT_EQ(o.channels[0].block_header, "");
}

TEST(Options, Restart) {
    int channel = -1;
    RestartSettings settings;
    ASSERT_TRUE(parseRestart("1", channel, settings));
    EXPECT_EQ(channel, 1);
    EXPECT_FALSE(settings.codec);
    EXPECT_EQ(settings.width, 0);
    ASSERT_TRUE(parseRestart("0 h265 640x512", channel, settings));
    EXPECT_EQ(channel, 0);
    EXPECT_EQ(settings.codec, Codec::kH265);
    EXPECT_EQ(settings.width, 640);
    EXPECT_EQ(settings.height, 512);
    ASSERT_TRUE(parseRestart("0 512x288 h264", channel, settings));
    EXPECT_EQ(settings.codec, Codec::kH264);
    for (const char* wrong : {"", "2", "-1", "x", "0 mpeg2", "0 64x64", "0 640x", "0 h264 1"}) {
        EXPECT_FALSE(parseRestart(wrong, channel, settings)) << wrong;
    }
}

TEST(Options, HelpTellsEveryOption) {
    const std::string text = helpText();
    for (const char* name :
         {"--bind",      "--udp",           "--peer",           "--tcp",           "--pty",
          "--pty-link",  "--telemetry-hz",  "--telemetry-form", "--ins-pty",       "--ins-pty-link",
          "--nav-udp",   "--feed-hz",       "--rtsp-bind",      "--rtsp-port",     "--codecN",
          "--sizeN",     "--fpsN",          "--kbpsN",          "--key-intervalN", "--slicesN",
          "--tsN",       "--rawN",          "--blocksN",        "--block-headerN", "--soundN",
          "--clipN",     "restart",         "--fault",          "--seed",          "--position",
          "--event-log", "--upgrade-fault", "--flash",          "--profile",       "--flight",
          "--route",     "--duration",      "--help",           "--version",       "SIGUSR1",
          "disconnect",  "telemetry.loss",  "examples:"}) {
        EXPECT_NE(text.find(name), std::string::npos) << name;
    }
}

}  // namespace
}  // namespace podsim
