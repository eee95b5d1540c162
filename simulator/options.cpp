#include "simulator/options.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "simulator/stream/transport.h"

namespace podsim {
namespace {

using Value = const std::string&;

// One option: how it is written, what its value is called (null: none), what it does, how it is read.
struct OptionRow {
    const char* name;
    const char* value;
    const char* help;
    bool (*read)(Options& o, Value value);
};

bool readInt(Value text, int low, int high, int& out) {
    char* end = nullptr;
    const long n = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || n < low || n > high) {
        return false;
    }
    out = static_cast<int>(n);
    return true;
}

bool readDouble(Value text, double low, double high, double& out) {
    char* end = nullptr;
    const double x = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(x >= low && x <= high)) {
        return false;
    }
    out = x;
    return true;
}

bool readPort(Value text, int& out) {
    if (text != "off") {
        return readInt(text, 0, 65535, out);
    }
    out = kNoPort;
    return true;
}

bool readAddress(Value text, std::string& out) {
    sockaddr_in ignored{};
    out = text;
    return makeEndpoint(text, 0, ignored);
}

bool readEndpoint(Value text, std::string& out) {
    sockaddr_in ignored{};
    out = text;
    return parseEndpoint(text, ignored);
}

bool readPath(Value text, std::string& out) {
    out = text;
    return !text.empty();
}

bool readCodec(Value text, Codec& out) {
    out = text == "h265" ? Codec::kH265 : Codec::kH264;
    return text == "h264" || text == "h265";
}

bool readSize(Value text, int& width, int& height) {
    const std::size_t x = text.find('x');
    return x != std::string::npos && readInt(text.substr(0, x), 512, 1920, width) &&
           readInt(text.substr(x + 1), 288, 1088, height) && width % 2 == 0 && height % 2 == 0;
}

bool readProfile(Value text, Profile& out) {
    out = text == "scan" ? Profile::kScan : text == "slew" ? Profile::kSlew : Profile::kTrack;
    return text == "scan" || text == "slew" || text == "track";
}

bool readFlight(Value text, FlightPlan& out) {
    out = text == "racetrack" ? FlightPlan::kRacetrack : FlightPlan::kCircle;
    return text == "circle" || text == "racetrack";
}

bool readSwitch(Value text, bool& out) {
    out = text == "on";
    return text == "on" || text == "off";
}

// As it is, or "hex:" with two digits a byte.
bool readBlockHeader(Value text, std::string& out) {
    constexpr const char* kMark = "hex:";
    out = text;
    if (text.compare(0, 4, kMark) == 0) {
        out.clear();
        for (std::size_t i = 4; i < text.size(); i += 2) {
            const std::string digits = text.substr(i, 2);
            if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos ||
                digits.size() != 2) {
                return false;
            }
            out += static_cast<char>(std::strtol(digits.c_str(), nullptr, 16));
        }
    }
    return out.size() <= kLongestBlockHeader;
}

bool readPosition(Value text, Options& o) {
    const std::size_t comma = text.find(',');
    o.has_position = true;
    return comma != std::string::npos && readDouble(text.substr(0, comma), -85, 85, o.latitude_deg) &&
           readDouble(text.substr(comma + 1), -180, 180, o.longitude_deg);
}

bool readUpgradeFault(Value text, Options& o) {
    const auto fault = parseUpgradeFault(text);
    if (fault) {
        o.upgrade_faults.push_back(*fault);
    }
    return fault.has_value();
}

bool readSeed(Value text, std::uint64_t& out) {
    char* end = nullptr;
    out = std::strtoull(text.c_str(), &end, 10);
    return !text.empty() && text[0] != '-' && *end == '\0';
}

const OptionRow kControlOptions[] = {
    {"--bind", "ADDRESS", "where the control ports are bound (127.0.0.1)",
     [](Options& o, Value v) { return readAddress(v, o.bind_address); }},
    {"--udp", "PORT", "control over UDP (8000); off: none; 0: any free port",
     [](Options& o, Value v) { return readPort(v, o.udp_port); }},
    {"--peer", "ADDRESS:PORT",
     "send UDP reports there; else to whoever sent last, at first to port 12001 here",
     [](Options& o, Value v) { return readEndpoint(v, o.peer); }},
    {"--tcp", "PORT", "control over TCP as well (off); 0: any free port",
     [](Options& o, Value v) { return readPort(v, o.tcp_port); }},
    {"--web", "PORT", "the encoder's own page over HTTP (off); 0: any free port",
     [](Options& o, Value v) { return readPort(v, o.web_port); }},
    {"--pty", nullptr, "control over a pseudo terminal as well; its name is printed",
     [](Options& o, Value) { return o.pty = true; }},
    {"--pty-link", "PATH", "the same, with a symbolic link to it at PATH",
     [](Options& o, Value v) { return o.pty = readPath(v, o.pty_link); }},
    {"--telemetry-hz", "N", "reports a second, 0 to 500 (25)",
     [](Options& o, Value v) { return readInt(v, 0, 500, o.telemetry_hz); }},
    {"--telemetry-form", "FORM", "fixed: frames of 64 bytes; variable: frames of code 20 (fixed)",
     [](Options& o, Value v) {
         o.variable_reports = v == "variable";
         return v == "fixed" || v == "variable";
     }},
    {"--profile", "NAME",
     "move by itself: scan, slew (from one direction to the next), track (a new point each 8 s)",
     [](Options& o, Value v) { return readProfile(v, o.profile); }},
    {"--latched", nullptr, "a rate or lens movement lasts until its own stop, not for want of frames",
     [](Options& o, Value) { return o.latched = true; }},
    {"--places-held", nullptr, "a place is guided to or tracked while its periodic frames come, then no more",
     [](Options& o, Value) { return o.places_held = true; }},
    {"--ins-pty", nullptr, "frames of an inertial unit on a pseudo terminal of their own",
     [](Options& o, Value) { return o.ins_pty = true; }},
    {"--ins-pty-link", "PATH", "the same, with a symbolic link to it at PATH",
     [](Options& o, Value v) { return o.ins_pty = readPath(v, o.ins_link); }},
    {"--nav-udp", "ADDRESS:PORT", "frames of an external flight system to that port",
     [](Options& o, Value v) { return readEndpoint(v, o.nav_to); }},
    {"--feed-hz", "N", "rate of these two feeds, 1 to 200 (25)",
     [](Options& o, Value v) { return readInt(v, 1, 200, o.feed_hz); }},
};

const OptionRow kServerOptions[] = {
    {"--rtsp-bind", "ADDRESS", "where RTSP is served (127.0.0.1)",
     [](Options& o, Value v) { return readAddress(v, o.rtsp_address); }},
    {"--rtsp-port", "PORT", "its port (8554); off: no RTSP; 0: any free port",
     [](Options& o, Value v) { return readPort(v, o.rtsp_port); }},
};

const OptionRow kOtherOptions[] = {
    {"--fault", "FAULT", "switch a fault on from the start; may be repeated, see below", nullptr},
    {"--upgrade-fault", "KIND@FRAME",
     "one answer of a firmware upgrade goes wrong, see below; may be repeated",
     [](Options& o, Value v) { return readUpgradeFault(v, o); }},
    {"--flash", "FOLDER", "write each upgraded module's flash to FOLDER/module0.bin, module1.bin",
     [](Options& o, Value v) { return readPath(v, o.flash_folder); }},
    {"--seed", "N", "of the faults and the landscape (1): equal seeds, equal behaviour",
     [](Options& o, Value v) { return readSeed(v, o.seed); }},
    {"--position", "LAT,LON", "centre of the simulated flight in degrees",
     [](Options& o, Value v) { return readPosition(v, o); }},
    {"--flight", "NAME", "circle or racetrack (circle)",
     [](Options& o, Value v) { return readFlight(v, o.flight); }},
    {"--route", "FILE", "fly a recorded route in its place, over and over, see below",
     [](Options& o, Value v) { return readPath(v, o.route); }},
    {"--event-log", "FILE", "write what happens to FILE, a line an event",
     [](Options& o, Value v) { return readPath(v, o.event_log); }},
    {"--duration", "S", "stop by itself after S seconds",
     [](Options& o, Value v) { return readDouble(v, 0.001, 1e9, o.duration_s); }},
    {"--help", nullptr, "this text", [](Options& o, Value) { return o.help = true; }},
    {"--version", nullptr, "the version", [](Options& o, Value) { return o.version = true; }},
};

// The options of a channel; the channel's number stands behind the name: --codec0, --codec1.
struct ChannelRow {
    const char* name;
    const char* value;
    const char* help;
    bool (*read)(ChannelOptions& c, Value value);
};

const ChannelRow kChannelOptions[] = {
    {"--codec", "CODEC", "h264 or h265 (h264)",
     [](ChannelOptions& c, Value v) { return readCodec(v, c.encoder.codec); }},
    {"--size", "WxH", "picture size, even, 512x288 to 1920x1088 (0: 1280x720, 1: 640x512)",
     [](ChannelOptions& c, Value v) { return readSize(v, c.encoder.width, c.encoder.height); }},
    {"--fps", "N", "pictures a second, 1 to 60 (25)",
     [](ChannelOptions& c, Value v) { return readInt(v, 1, 60, c.encoder.fps); }},
    {"--kbps", "N", "bit rate, 64 to 100000 (0: 4000, 1: 2000)",
     [](ChannelOptions& c, Value v) { return readInt(v, 64, 100000, c.encoder.bitrate_kbps); }},
    {"--key-interval", "N", "pictures from key frame to key frame, 1 to 1000 (25)",
     [](ChannelOptions& c, Value v) { return readInt(v, 1, 1000, c.encoder.key_interval); }},
    {"--slices", "N", "slices a picture of H.264, 1 to 16 (1)",
     [](ChannelOptions& c, Value v) { return readInt(v, 1, 16, c.encoder.slices); }},
    {"--number", "PLACE", "blocks with the picture's number in its top edge: left, right or off (left)",
     [](ChannelOptions& c, Value v) {
         c.number_place = v == "right" ? NumberPlace::kRight
                          : v == "off" ? NumberPlace::kOff
                                       : NumberPlace::kLeft;
         return v == "left" || v == "right" || v == "off";
     }},
    {"--ts", "ADDRESS:PORT", "send the channel as MPEG-TS over UDP, whether watched or not",
     [](ChannelOptions& c, Value v) { return readEndpoint(v, c.ts_to); }},
    {"--raw", "ADDRESS:PORT", "send it as raw Annex B over UDP, in datagrams of at most 1400 bytes",
     [](ChannelOptions& c, Value v) { return readEndpoint(v, c.raw_to); }},
    {"--blocks", "ADDRESS:PORT", "send it as blocks of 256 bytes over UDP, each with the header",
     [](ChannelOptions& c, Value v) { return readEndpoint(v, c.blocks_to); }},
    {"--block-header", "TEXT", "that header (0), at most 200 bytes; hex:EB90 for bytes by their numbers",
     [](ChannelOptions& c, Value v) { return readBlockHeader(v, c.block_header); }},
    {"--sound", "SWITCH", "on: a tone as AAC beside the pictures, over RTSP and in MPEG-TS (off)",
     [](ChannelOptions& c, Value v) { return readSwitch(v, c.sound); }},
    {"--clip", "FILE", "pictures of a recorded file, over and over, in place of the camera's",
     [](ChannelOptions& c, Value v) { return readPath(v, c.clip); }},
};

template <std::size_t N>
const OptionRow* findRow(const OptionRow (&rows)[N], const std::string& name) {
    for (const OptionRow& row : rows) {
        if (name == row.name) {
            return &row;
        }
    }
    return nullptr;
}

const OptionRow* findRow(const std::string& name) {
    if (const OptionRow* row = findRow(kControlOptions, name)) {
        return row;
    }
    if (const OptionRow* row = findRow(kServerOptions, name)) {
        return row;
    }
    return findRow(kOtherOptions, name);
}

const ChannelRow* findChannelRow(const std::string& name, int& channel) {
    for (const ChannelRow& row : kChannelOptions) {
        for (channel = 0; channel < kChannels; ++channel) {
            if (name == row.name + std::to_string(channel)) {
                return &row;
            }
        }
    }
    return nullptr;
}

bool readFault(Options& o, Value text, std::string& error) {
    const auto fault = parseFault(text, error);
    if (!fault) {
        return false;
    }
    applyFault(*fault,
               fault->stream == FaultSwitch::Stream::kTelemetry ? o.telemetry_faults : o.video_faults);
    return true;
}

std::string line(const std::string& name, const char* value, const char* help) {
    char text[256];
    std::snprintf(text, sizeof text, "  %-32s %s\n", (name + (value ? std::string(" ") + value : "")).c_str(),
                  help);
    return text;
}

template <std::size_t N>
std::string lines(const OptionRow (&rows)[N]) {
    std::string text;
    for (const OptionRow& row : rows) {
        text += line(row.name, row.value, row.help);
    }
    return text;
}

}  // namespace

Options::Options() {
    channels[1].encoder.width = 640;
    channels[1].encoder.height = 512;
    channels[1].encoder.bitrate_kbps = 2000;
}

bool parseOptions(const std::vector<std::string>& arguments, Options& o, std::string& error) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string name = arguments[i];
        std::string value;
        const std::size_t equals = name.find('=');
        const bool joined = equals != std::string::npos && name.compare(0, 2, "--") == 0;
        if (joined) {
            value = name.substr(equals + 1);
            name.resize(equals);
        }
        int channel = 0;
        const OptionRow* row = findRow(name);
        const ChannelRow* channel_row = row ? nullptr : findChannelRow(name, channel);
        if (!row && !channel_row) {
            error = "unknown option '" + name + "'";
            return false;
        }
        const bool takes_value = row ? row->value != nullptr : true;
        if (takes_value && !joined) {
            if (++i == arguments.size()) {
                error = name + " needs a value";
                return false;
            }
            value = arguments[i];
        } else if (!takes_value && joined) {
            error = name + " takes no value";
            return false;
        }
        if (name == "--fault") {
            if (readFault(o, value, error)) {
                continue;
            }
            error = "--fault: " + error;
            return false;
        }
        const bool good = row ? row->read(o, value) : channel_row->read(o.channels[channel], value);
        if (!good) {
            error = name + ": '" + value + "' is not allowed; see podsim --help";
            return false;
        }
    }
    return true;
}

bool parseRestart(const std::string& text, int& channel, RestartSettings& settings) {
    std::istringstream words(text);
    std::string word;
    if (!(words >> word) || !readInt(word, 0, kChannels - 1, channel)) {
        return false;
    }
    settings = {};
    while (words >> word) {
        Codec codec = Codec::kH264;
        if (readCodec(word, codec)) {
            settings.codec = codec;
        } else if (!readSize(word, settings.width, settings.height)) {
            return false;
        }
    }
    return true;
}

std::string helpText() {
    std::string text =
        "podsim - a simulated pod: answers on a control line, flies, steers its cameras, tracks, and serves\n"
        "what they see as video with telemetry inside.\n"
        "\n"
        "usage: podsim [OPTION]...\n"
        "\n"
        "control line (several at once are fine; reports go out on all of them):\n" +
        lines(kControlOptions) +
        "\n"
        "video, served as /live/track0 (chosen picture) and /live/track1 (infrared picture):\n" +
        lines(kServerOptions) + "\nvideo, an option a channel; N is 0 or 1:\n";
    for (const ChannelRow& row : kChannelOptions) {
        text += line(std::string(row.name) + "N", row.value, row.help);
    }
    text +=
        "\nother:\n" + lines(kOtherOptions) +
        "\n"
        "FAULT is STREAM.NAME=VALUE. STREAM is telemetry (all that goes out on control lines) or video\n"
        "(UDP video; stall stops RTSP too). NAME is loss, duplicate, reorder or corrupt with a probability\n"
        "from 0 to 1, delay with milliseconds, or silence (for video also: stall) with on or off. For video\n"
        "also pause with milliseconds: the line rests inside a picture behind pause-after bytes of it (1), "
        "in\n"
        "every picture of pause-every (10); nothing is lost.\n"
        "\n"
        "A route is a file with a point a line, fields separated by commas: longitude, latitude, altitude "
        "in\n"
        "metres and perhaps heading, flown at 12 m/s; or, below a line of column names, any of time in\n"
        "seconds, longitude, latitude, altitude, heading, pitch and roll. # begins a remark.\n"
        "\n"
        "KIND@FRAME: the answer to that program frame, once. KIND is lost, doubled, late, reordered, "
        "state=N,\n"
        "silence (until an upgrade begins anew) or flash (a bit of the frame is wrong in the flash).\n"
        "\n"
        "While it runs, podsim reads commands from its standard input, one a line:\n"
        "  fault FAULT      switch a fault, for instance: fault telemetry.loss=0.2\n"
        "  faults           tell the faults that are on;  faults clear  switches them all off\n"
        "  restart N [h264|h265] [WxH]\n"
        "                   channel N's stream begins anew, with another codec or picture size\n"
        "  disconnect       hang up on a station connected over TCP\n"
        "  status           tell what the pod is doing\n"
        "  upgrade          tell where a firmware upgrade stands, and the versions that run\n"
        "  upgrade-fault KIND@FRAME\n"
        "                   one more such fault\n"
        "  motion           tell what moves by hand: rates, zoom, focus\n"
        "  quit             stop\n"
        "SIGUSR1 toggles telemetry.silence, SIGUSR2 video.stall; SIGINT and SIGTERM stop.\n"
        "\n"
        "Once everything is open, one line beginning with \"podsim ready\" tells all addresses.\n"
        "Exit status: 0 stopped, 1 something could not be opened (a port in use), 2 bad options.\n"
        "\n"
        "examples:\n"
        "  podsim\n"
        "      UDP control on 127.0.0.1:8000, video on rtsp://127.0.0.1:8554/live/track0 and .../track1\n"
        "  podsim --bind 0.0.0.0 --rtsp-bind 0.0.0.0\n"
        "      the same for a station on another machine\n"
        "  podsim --udp off --pty-link /tmp/pod --ins-pty-link /tmp/ins\n"
        "      control and inertial unit on serial ports /tmp/pod and /tmp/ins\n"
        "  podsim --codec0 h265 --size0 640x512 --raw0 127.0.0.1:8001 --ts1 127.0.0.1:14001\n"
        "      H.265 raw over UDP for the first channel, MPEG-TS for the second\n"
        "  podsim --rtsp-port off --blocks0 127.0.0.1:8001 --block-header0 hex:EB90\n"
        "      blocks of 256 bytes that begin with EB 90\n"
        "  podsim --fault telemetry.loss=0.1 --fault telemetry.delay=80 --event-log pod.log --duration 60\n"
        "      one minute on a bad line, recorded\n";
    return text;
}

}  // namespace podsim
