// Encoded pictures with the sums that a right decoder shows for each, to tell what is shown damaged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "test_video.h"

namespace tavrik::test {

struct FilmSettings {
    Codec codec = Codec::kH264;
    int width = 1280;
    int height = 720;
    int kbps = 9000;
    int slices = 4;
    int key_interval = 25;
    bool delimiters = false;
    std::size_t pictures = 100;  // a multiple of key_interval; a longer film repeats from its start
};

struct Film {
    FilmSettings settings;
    std::vector<Bytes> units;         // Annex B, one a picture
    std::vector<std::uint32_t> sums;  // of each decoded picture, no two alike
    std::vector<Bytes> means;         // of each decoded picture's blocks of 8x8 pixels of luma, row by row

    const Bytes& unit(std::size_t number) const { return units[number % units.size()]; }
};

// Encodes the film and decodes it in one go, unit by unit. Throws std::runtime_error if a picture is missing
// or two are alike.
Film makeFilm(const FilmSettings& settings);
// CRC of the visible part of every plane.
std::uint32_t sumOf(const AVFrame* frame);

Bytes meansOf(const AVFrame* frame);
// The sum of the film's picture of that number if the frame shows it but for what nobody sees (a decoder's
// concealment may reach by some levels into a few pixels of the next picture, a key picture too), else its
// own.
std::uint32_t visibleSumOf(const Film& film, const AVFrame* frame);

struct Comparison {
    std::size_t shown = 0;
    std::size_t damaged = 0;      // shown, but none of the film
    std::size_t missing = 0;      // of the film, not shown
    std::size_t repeated = 0;     // shown again, or out of order
    std::size_t groups_hurt = 0;  // key picture to key picture: groups with a damaged or missing picture
    std::vector<std::size_t> whole_groups;  // of which every picture was shown right

    std::string text() const;
};

// `shown` against the first `count` of `sent` pictures (what follows those is no error).
Comparison compare(const Film& film, const std::vector<std::uint32_t>& shown, std::size_t count,
                   std::size_t sent);

}  // namespace tavrik::test
