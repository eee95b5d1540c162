// The block stream: received on a port of ours, rebuilt, and pulled by the stream library.
#include <algorithm>
#include <cstring>
#include <new>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "oskel/oskel.h"
#include "settings/player_settings_dlg.h"
#include "tavrik/tavrik.h"
#include "ui_connection.h"
#include "ui_korvath.h"
#include "video/block_reassembler.h"
#include "video/frame_post.h"

namespace {

constexpr int kFirstCapacity = 40960;
// Survives closing and reopening the channel; meant.
sorvane::BlockReassembler g_blocks;

unsigned char* allocated(int size, const char* what) {
    auto* block = new (std::nothrow) unsigned char[static_cast<std::size_t>(size)];
    if (block == nullptr) qFatal("%s", what);
    return block;
}

}  // namespace

void Korvath::openBlockStream() {
    {
        const std::lock_guard<std::mutex> lock(recv_mutex);
        delete[] m_recv_buf_udp;
        recv_capacity = kFirstCapacity;
        recv_size = 0;
        m_recv_buf_udp = allocated(recv_capacity, "m_recv_buf_udp");
    }
    const std::string header = config().head_422.toStdString();
    udp_port_id = oskel::dialDatagram(
        ui_connection->comboBox_2->currentText().toLatin1().constData(), 0,
        ui_connection->comboBox->currentText().toLatin1().constData(),
        ui_connection->le_ctrlVideoIpPort1->text().toInt(),
        [this, header](const std::uint8_t* data, std::int32_t length, std::int32_t /*context*/) {
            g_blocks.take(data, static_cast<std::size_t>(length), header,
                          [this](const std::uint8_t* payload, std::size_t size) {
                              onBlockPayload(payload, static_cast<int>(size));
                          });
        });
    if (udp_port_id < 0) return;
    // Its handle is not kept: the surface keeps what stood there; meant.
    tavrik::feedPull(
        frameCallback(this, ui->videoWin1),
        [this](unsigned char* dest, int capacity) { return onBlockRead(dest, capacity); },
        m_settings->decoderValue());
    openVideo1Success();
}

// A port id of exactly 0 counts as no port here.
void Korvath::closeBlockStream() {
    if (udp_port_id <= 0) return;
    oskel::hang_up(udp_port_id);
    udp_port_id = 0;
    const std::lock_guard<std::mutex> lock(recv_mutex);
    delete[] m_recv_buf_udp;
    m_recv_buf_udp = nullptr;
    recv_capacity = 0;
    recv_size = 0;
}

void Korvath::onBlockPayload(const unsigned char* data, int size) {
    const std::lock_guard<std::mutex> lock(recv_mutex);
    // A callback that outlived its port finds nothing to write to.
    if (m_recv_buf_udp == nullptr) return;
    if (recv_size + size > recv_capacity) {
        unsigned char* grown = allocated(recv_size + size, "buf_new");
        std::memcpy(grown, m_recv_buf_udp, static_cast<std::size_t>(recv_capacity));
        delete[] m_recv_buf_udp;
        m_recv_buf_udp = grown;
        recv_capacity = recv_size + size;
    }
    std::memcpy(m_recv_buf_udp + recv_size, data, static_cast<std::size_t>(size));
    recv_size += size;
}

int Korvath::onBlockRead(unsigned char* dest, int capacity) {
    const std::lock_guard<std::mutex> lock(recv_mutex);
    const int count = std::min(recv_size, capacity);
    if (count <= 0) return 0;
    std::memcpy(dest, m_recv_buf_udp, static_cast<std::size_t>(count));
    recv_size -= count;
    std::memmove(m_recv_buf_udp, m_recv_buf_udp + count, static_cast<std::size_t>(recv_size));
    return count;
}
