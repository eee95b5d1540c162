// Draws what the pod's cameras see at one instant.
#pragma once

#include <cstdint>
#include <memory>

#include "simulator/pod/snapshot.h"
#include "simulator/world/raster.h"

namespace podsim {

// The frame number stands in the picture's top edge as kNumberBlocks squares of kNumberBlockPx pixels from
// x = 0, y = 0, most significant bit first, white = 1, black = 0; pictures are at least 512 pixels wide.
constexpr int kNumberBlocks = 16;
constexpr int kNumberBlockPx = 32;

// Where the frame number's blocks stand in the top edge.
enum class NumberPlace { kOff, kLeft, kRight };

// One renderer belongs to one thread. All renderers share the textures, made when the first one is built.
class Renderer {
public:
    // width and height: of the picture in pixels, even, at least 512 x 288.
    Renderer(int width, int height, int channel);
    ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    // Left unless told otherwise; read the number back at Left alone.
    void setNumberPlace(NumberPlace place);

    // out is resized as needed. The low 16 bits of frame_number are drawn.
    void render(const Snapshot& snapshot, std::uint32_t frame_number, I420Image& out);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// Reads the frame number back from a picture's luma, -1 if a block is neither black nor white.
int readFrameNumber(const std::uint8_t* y, int stride, int width, int height);

}  // namespace podsim
