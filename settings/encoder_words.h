// What the pod is told of its encoder, of its folders and of the text in its picture.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "link/command_catalogue.h"

namespace sorvane {

// codec: 0 H.264, 1 H.265.
Command codecCommand(int codec);
// rate: in the unit of the page; its low 16 bits are sent.
Command bitRateCommand(int rate);

// Data of frames; texts are UTF-8 and end with the frame.
constexpr std::uint16_t kFolderNamingCode = 25;
constexpr std::uint16_t kCustomTextCode = 26;
std::vector<std::uint8_t> folderNamedByTime();
std::vector<std::uint8_t> folderNamed(std::string_view text);
// x, y: pixels, their low 16 bits are sent.
std::vector<std::uint8_t> customText(int x, int y, bool shown, std::string_view text);
// Characters of three bytes, the longest that count as one in an edit, for which a frame has room.
constexpr int kLongestFolderText = 84;
constexpr int kLongestCustomText = 82;

}  // namespace sorvane
