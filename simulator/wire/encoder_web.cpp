#include "simulator/wire/encoder_web.h"

#include <sstream>

#include "simulator/pod/text.h"

namespace podsim {
namespace {

// -1 for what is no number up to `most`.
int numberOf(const std::string& text, int most) {
    if (text.empty() || text.size() > 6 || text.find_first_not_of("0123456789") != std::string::npos) {
        return -1;
    }
    const int value = std::stoi(text);
    return value <= most ? value : -1;
}

}  // namespace

std::vector<wire::Bytes> encoderCommandsOf(const std::string& query) {
    constexpr int kMostRate = 65535;
    std::vector<wire::Bytes> commands;
    std::istringstream parts(query);
    for (std::string part; std::getline(parts, part, '&');) {
        const std::size_t equals = part.find('=');
        if (equals == std::string::npos) {
            continue;
        }
        const std::string name = part.substr(0, equals);
        const std::string value = part.substr(equals + 1);
        if (const int codec = numberOf(value, 1); name == "codec" && codec >= 0) {
            commands.push_back({0, static_cast<std::uint8_t>(codec)});
        } else if (const int rate = numberOf(value, kMostRate); name == "bitrate" && rate >= 0) {
            commands.push_back(
                {1, static_cast<std::uint8_t>(rate & 0xFF), static_cast<std::uint8_t>(rate >> 8)});
        }
    }
    return commands;
}

std::string encoderPage(const Snapshot& s) {
    const bool h265 = s.encoder_codec == 1;
    const std::string rate = s.encoder_bitrate_kbps > 0 ? std::to_string(s.encoder_bitrate_kbps) : "";
    return formatText(
        "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Encoder</title><style>"
        "body{margin:0;background:#18202a;color:#e8eef4;font:16px sans-serif}"
        "h1{background:#0a63bd;margin:0;padding:12px 16px;font-size:20px}"
        "form,p{margin:16px}label{display:block;margin:12px 0}"
        "select,input,button{font-size:16px;padding:6px}</style></head><body>"
        "<h1>Encoder of the simulated pod</h1><p>Address %d.%d.%d.%d, picture %d x %d</p>"
        "<form action=\"/\" method=\"get\"><label>Codec <select name=\"codec\">"
        "<option value=\"0\"%s>H.264</option><option value=\"1\"%s>H.265</option></select></label>"
        "<label>Bit rate <input name=\"bitrate\" value=\"%s\"> kb/s</label>"
        "<button>Set</button></form></body></html>\n",
        s.ip[0], s.ip[1], s.ip[2], s.ip[3], s.frame_width, s.frame_height, h265 ? "" : " selected",
        h265 ? " selected" : "", rate.c_str());
}

}  // namespace podsim
