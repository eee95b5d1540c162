// What the test server sends once a client plays: packets of pictures and sound, and sender reports.
#include <sys/socket.h>

#include <algorithm>
#include <chrono>

#include "rtsp_server.h"

namespace tavrik::test {
namespace {

Bytes joined(const Bytes& head, const Bytes& tail) {
    Bytes out(head.size() + tail.size());
    std::copy(head.begin(), head.end(), out.begin());
    std::copy(tail.begin(), tail.end(), out.begin() + static_cast<std::ptrdiff_t>(head.size()));
    return out;
}

Bytes framed(int channel, const Bytes& packet) {
    return joined({'$', static_cast<std::uint8_t>(channel), static_cast<std::uint8_t>(packet.size() >> 8),
                   static_cast<std::uint8_t>(packet.size())},
                  packet);
}

// RFC 3550 6.4.1, without receiver blocks, and 6.5 with the name that belongs to all tracks.
Bytes report(int track, std::uint64_t wall_clock, std::uint32_t timestamp) {
    Bytes out{0x80, 200, 0, 6, 0x12, 0x34, 0x56, static_cast<std::uint8_t>(track)};
    for (int shift = 56; shift >= 0; shift -= 8) {
        out.push_back(static_cast<std::uint8_t>(wall_clock >> shift));
    }
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<std::uint8_t>(timestamp >> shift));
    }
    out.insert(out.end(), {0, 0, 1, 0, 0, 1, 0, 0});
    const Bytes name{0x81, 202, 0,   3,   0x12, 0x34, 0x56, static_cast<std::uint8_t>(track),
                     1,    3,   'p', 'o', 'd',  0,    0,    0};
    return joined(out, name);
}

}  // namespace

void RtspServer::sendPicture(const Bytes& unit, std::uint32_t timestamp) { sendPicture(unit, timestamp, {}); }

void RtspServer::sendPicture(const Bytes& unit, std::uint32_t timestamp, const Delivery& delivery) {
    const std::vector<Bytes> nals = nalsOf(unit);
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Client& client : m_clients) {
        if (!client.playing) {
            continue;
        }
        std::vector<Bytes> packets;
        for (std::size_t i = 0; i < nals.size(); ++i) {
            packNal(client, nals[i], timestamp, i + 1 == nals.size(), packets);
        }
        for (std::size_t i = 1; delivery.swapped && i < packets.size(); i += 2) {
            std::swap(packets[i - 1], packets[i]);
        }
        if (delivery.loses_one && packets.size() > 2) {
            packets.erase(packets.begin() + 1);
        }
        putSlowly(client, packets, timestamp, delivery);
    }
}

void RtspServer::putSlowly(Client& client, const std::vector<Bytes>& packets, std::uint32_t timestamp,
                           const Delivery& delivery) {
    const std::size_t step =
        delivery.pauses > 0 ? std::max<std::size_t>(packets.size() / (delivery.pauses + 1), 1) : 0;
    int left = delivery.pauses;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const bool pause = left > 0 && (i + 1) % step == 0;
        const bool inside = pause && left % 2 == 1 && !client.tracks[0].udp;
        if (inside) {
            // The line stops within a packet.
            const Bytes whole = framed(client.tracks[0].channel, packets[i]);
            ::send(client.fd, whole.data(), whole.size() / 2, MSG_NOSIGNAL);
            std::this_thread::sleep_for(std::chrono::milliseconds(delivery.pause_ms));
            ::send(client.fd, whole.data() + whole.size() / 2, whole.size() - whole.size() / 2, MSG_NOSIGNAL);
        } else {
            put(client, 0, packets[i]);
        }
        if (i + 1 < packets.size()) {
            if (!delivery.sound.empty()) {
                put(client, 1, pack(client.tracks[1], 1, delivery.sound, timestamp, false));
            }
            if (delivery.reports) {
                put(client, 0, report(0, (std::uint64_t{timestamp} << 32) / 90000, timestamp), true);
            }
        }
        if (delivery.swapped && i == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(delivery.pause_ms));
        }
        if (pause && !inside) {
            std::this_thread::sleep_for(std::chrono::milliseconds(delivery.pause_ms));
        }
        left -= pause ? 1 : 0;
    }
}

void RtspServer::sendSound(const Bytes& samples, std::uint32_t timestamp) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Client& client : m_clients) {
        if (client.playing && client.tracks[1].set_up) {
            put(client, 1, pack(client.tracks[1], 1, samples, timestamp, m_settings.sound_marker));
        }
    }
}

void RtspServer::sendReport(int track, std::uint64_t wall_clock, std::uint32_t timestamp) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Client& client : m_clients) {
        if (client.playing && client.tracks[track].set_up) {
            put(client, track, report(track, wall_clock, timestamp), true);
        }
    }
}

void RtspServer::sendPayload(const Bytes& payload, std::uint32_t timestamp) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Client& client : m_clients) {
        if (client.playing) {
            put(client, 0, pack(client.tracks[0], 0, payload, timestamp, false));
        }
    }
}

// RFC 6184 5.8 (FU-A) and RFC 7798 4.4.3 for NALs above the fragment size.
void RtspServer::packNal(Client& client, const Bytes& nal, std::uint32_t timestamp, bool last,
                         std::vector<Bytes>& packets) {
    Track& track = client.tracks[0];
    if (nal.size() <= m_settings.fragment) {
        packets.push_back(pack(track, 0, nal, timestamp, last));
        return;
    }
    const bool h264 = m_settings.codec == Codec::kH264;
    const std::size_t head = h264 ? 1 : 2;
    for (std::size_t at = head; at < nal.size(); at += m_settings.fragment) {
        const std::size_t size = std::min(m_settings.fragment, nal.size() - at);
        const bool first = at == head;
        const bool final = at + size == nal.size();
        const auto flags = static_cast<std::uint8_t>((first ? 0x80 : 0) | (final ? 0x40 : 0));
        Bytes payload;
        if (h264) {
            payload = {static_cast<std::uint8_t>((nal[0] & 0x60) | 28),
                       static_cast<std::uint8_t>(flags | (nal[0] & 31))};
        } else {
            payload = {static_cast<std::uint8_t>((nal[0] & 0x81) | (49 << 1)), nal[1],
                       static_cast<std::uint8_t>(flags | ((nal[0] >> 1) & 63))};
        }
        payload.insert(payload.end(), nal.begin() + static_cast<std::ptrdiff_t>(at),
                       nal.begin() + static_cast<std::ptrdiff_t>(at + size));
        packets.push_back(pack(track, 0, payload, timestamp, last && final));
    }
}

Bytes RtspServer::pack(Track& track, int index, const Bytes& payload, std::uint32_t timestamp,
                       bool marker) const {
    const std::uint16_t sequence = track.sequence++;
    const int type = index == 1 ? m_settings.sound_type : 96;
    return joined({0x80, static_cast<std::uint8_t>((marker ? 0x80 : 0) | type),
                   static_cast<std::uint8_t>(sequence >> 8), static_cast<std::uint8_t>(sequence),
                   static_cast<std::uint8_t>(timestamp >> 24), static_cast<std::uint8_t>(timestamp >> 16),
                   static_cast<std::uint8_t>(timestamp >> 8), static_cast<std::uint8_t>(timestamp), 0x12,
                   0x34, 0x56, static_cast<std::uint8_t>(index)},
                  payload);
}

void RtspServer::put(Client& client, int index, const Bytes& packet, bool control) {
    const Track& track = client.tracks[index];
    if (track.udp && !control && m_settings.datagrams) {
        m_settings.datagrams(track.socket, packet);
        return;
    }
    if (track.udp) {
        ::send(control ? track.control : track.socket, packet.data(), packet.size(), 0);
        return;
    }
    const Bytes whole = framed(track.channel + (control ? 1 : 0), packet);
    ::send(client.fd, whole.data(), whole.size(), MSG_NOSIGNAL);
}

}  // namespace tavrik::test
