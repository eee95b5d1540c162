// Files to replay, written by FFmpeg.
#pragma once

#include <string>

#include "test_video.h"

namespace tavrik::test {

struct ClipForm {
    int pictures = 20;  // at 25 a second, a key picture every ten
    int width = kWidth;
    int height = kHeight;
    std::string movflags;  // of FFmpeg's MP4 writer: "faststart", "frag_keyframe+empty_moov"
    bool video = true;
    bool sound = false;  // packets of silence of an AAC stream
};

// Writes an MP4 of pictures 0, 1, 2 ...; returns its path in the tests' folder.
std::string writeClip(const std::string& name, const ClipForm& form);
std::string writeFile(const std::string& name, const Bytes& bytes);
Bytes readFile(const std::string& path);
// How many of this process's descriptors stand for the file.
int openDescriptors(const std::string& path);

}  // namespace tavrik::test
