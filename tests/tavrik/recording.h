// What stands in a recorded file, as another reader sees it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "film.h"

namespace tavrik::test {

struct Recording {
    std::vector<std::uint32_t> sums;  // of each picture, in the order of showing
    std::vector<std::int64_t> times;  // of each, 1/90000 s
    std::vector<int> widths;
    std::size_t packets = 0;    // of the picture
    std::vector<double> sound;  // of the first channel, -1 to 1
    int sound_rate = 0;
    double sound_begin = 0;  // seconds
    std::string trouble;     // empty: every packet was decoded without an error
};

// Decodes the whole file, MP4 or raw.
Recording readRecording(const std::string& path);
// Which pictures of the film these are; -1: none of them.
std::vector<int> numbersOf(const Film& film, const std::vector<std::uint32_t>& sums);
// "first..last" if each picture follows the one before it, else what is wrong.
std::string runOf(const std::vector<int>& numbers);

// An MP4 file that was ended properly ends with its table of key pictures.
bool isClosed(const std::string& path);

// ffprobe's count of the pictures that it has decoded, -1 if it complains of anything.
int probedPictures(const std::string& path);
// Of one entry, as ffprobe's -show_entries takes it; empty if there is none.
std::string probed(const std::string& path, const std::string& stream, const std::string& entry);

}  // namespace tavrik::test
