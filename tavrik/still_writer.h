// One decoded picture as a JPEG file.
#pragma once

#include <string>

struct AVFrame;

namespace tavrik {

// At the picture's full size, colours as on the screen. path: UTF-8; its directory is made. Whole or not at
// all; a file of that name is replaced. Returns why it failed, empty if it has not.
std::string writeStill(const AVFrame& picture, const std::string& path);

}  // namespace tavrik
