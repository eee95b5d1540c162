// The block stream: received on a port of ours, rebuilt, and pulled by the stream library.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "tavrik/tavrik.h"
#include "video/block_buffer.h"

struct StreamRequest;

// The port's id and the buffer's fields belong to the window and outlive this object. GUI thread but where
// told.
class BlockStream {
public:
    // port: the transport's handle; 0 or below is none.
    BlockStream(int& port, const sorvane::BlockBufferFields& buffer);

    // Binds the port and starts the pull. `header` begins each block. False when the port cannot be had; the
    // buffer then stays allocated. What the buffer cannot hold is dropped, with one debug line an opening.
    bool open(const StreamRequest& request, const std::string& header, tavrik::FrameCallback on_frame);
    // Closes the port and frees the buffer; a port of exactly 0 counts as none. The pull ends with the stream
    // library's next pull, or with the closing of a handle that is not open.
    void close();

private:
    void take(const unsigned char* payload, std::size_t size);

    int& m_port;
    sorvane::BlockBuffer m_buffer;
    std::atomic<bool> m_toldFull{false};  // since the opening
};
