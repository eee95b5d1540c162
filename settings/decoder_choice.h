// The choice among the stream library's decoders: 0 software, 1 CUDA, 2 Quick Sync.
#pragma once

#include <cstdint>
#include <vector>

namespace sorvane {

// Decoders that the stream library has, from its mask: item i stands for bit i, of bits 0 to 2.
std::vector<int> decoderItems(int mask);
// The row that a stored index selects among that many rows; 0 for one outside.
int decoderRow(int stored, int rows);
// What is passed to the stream library for an item: 1, 2 or 4; 1 for one outside.
std::uint8_t decoderMask(int item);

}  // namespace sorvane
