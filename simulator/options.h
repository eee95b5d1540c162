// What podsim is told on its command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/pod/profile.h"
#include "simulator/pod/upgrade.h"
#include "simulator/stream/channel.h"
#include "simulator/wire/fault_injector.h"

namespace podsim {

constexpr int kChannels = 2;
constexpr int kNoPort = -1;
constexpr int kStationPort = 12001;  // the local port of a station that was told no other

struct Options {
    std::string bind_address = "127.0.0.1";
    int udp_port = 8000;  // kNoPort: off; 0: any free one
    int tcp_port = kNoPort;
    bool latched = false;      // movements last until their own stop
    bool places_held = false;  // a place is pointed at while its periodic frames come
    int web_port = kNoPort;    // of the encoder's page
    bool pty = false;
    std::string pty_link;
    std::string peer;       // ADDRESS:PORT; empty: whoever sent last, at first kStationPort here
    int telemetry_hz = 25;  // 0: none
    bool variable_reports = false;
    Profile profile = Profile::kNone;
    bool ins_pty = false;
    std::string ins_link;
    std::string nav_to;  // ADDRESS:PORT; empty: off
    int feed_hz = 25;    // of inertial unit and interface frames

    std::string rtsp_address = "127.0.0.1";
    int rtsp_port = 8554;  // kNoPort: off; 0: any free one
    ChannelOptions channels[kChannels];

    FaultSettings telemetry_faults;
    FaultSettings video_faults;
    std::vector<UpgradeFault> upgrade_faults;
    std::string flash_folder;  // empty: flashes are not written to files
    std::uint64_t seed = 1;
    bool has_position = false;
    double latitude_deg = 0;
    double longitude_deg = 0;
    FlightPlan flight = FlightPlan::kCircle;
    std::string route;  // file of a recorded flight; empty: none
    std::string event_log;
    double duration_s = 0;  // 0: until stopped

    bool help = false;
    bool version = false;

    Options();
};

// Reads the arguments behind the program's name. False with a reason in `error`; `options` is then half read.
bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& error);
// "0 h265 640x512": a channel, then perhaps a codec and a picture size. False when it is none.
bool parseRestart(const std::string& text, int& channel, RestartSettings& settings);
std::string helpText();

}  // namespace podsim
