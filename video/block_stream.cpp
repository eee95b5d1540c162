#include "video/block_stream.h"

#include <QtGlobal>
#include <utility>

#include "oskel/oskel.h"
#include "video/block_reassembler.h"
#include "video/stream_panel.h"

namespace {

// Survives closing and reopening the channel; meant.
sorvane::BlockReassembler g_blocks;

[[noreturn]] void fatal(const char* what) { qFatal("%s", what); }

}  // namespace

BlockStream::BlockStream(int& port, const sorvane::BlockBufferFields& buffer)
    : m_port(port), m_buffer(buffer, fatal) {}

bool BlockStream::open(const StreamRequest& request, const std::string& header,
                       tavrik::FrameCallback on_frame) {
    m_buffer.open();
    m_toldFull = false;
    m_port = oskel::dialDatagram(
        request.url.constData(), 0, request.local_ip.toLatin1().constData(), request.port,
        [this, header](const std::uint8_t* data, std::int32_t length, std::int32_t /*context*/) {
            g_blocks.take(data, static_cast<std::size_t>(length), header,
                          [this](const std::uint8_t* payload, std::size_t size) { take(payload, size); });
        });
    if (m_port < 0) {
        return false;
    }
    // Its handle is not kept: the surface keeps what stood there; meant.
    tavrik::feedPull(
        std::move(on_frame),
        [this](unsigned char* dest, int capacity) { return m_buffer.read(dest, capacity); }, request.decoder);
    return true;
}

// On the port's receive thread.
void BlockStream::take(const unsigned char* payload, std::size_t size) {
    if (!m_buffer.append(payload, static_cast<int>(size)) && !m_toldFull.exchange(true)) {
        qDebug("block stream: %d bytes wait for the decoder, dropping", sorvane::BlockBuffer::kMaxSize);
    }
}

void BlockStream::close() {
    if (m_port <= 0) {
        return;
    }
    oskel::hang_up(m_port);
    m_port = 0;
    m_buffer.close();
}
