#include "wire_forms.h"

#include <algorithm>
#include <stdexcept>

namespace tavrik::test {
namespace {

constexpr std::size_t kTsPacket = 188;
constexpr std::size_t kPacketsADatagram = 7;
constexpr std::size_t kRawDatagram = 1400;

struct Packet {
    Bytes bytes;
    std::size_t picture;
};

bool beginsPicture(const std::uint8_t* packet) {
    if ((packet[1] & 0x40) == 0 || (packet[3] & 0x10) == 0) {
        return false;
    }
    const std::size_t at = (packet[3] & 0x20) != 0 ? 5u + packet[4] : 4u;
    return at + 4 <= kTsPacket && packet[at] == 0 && packet[at + 1] == 0 && packet[at + 2] == 1 &&
           (packet[at + 3] & 0xF0) == 0xE0;
}

bool isTable(const std::uint8_t* packet) { return (packet[1] & 0x40) != 0 && !beginsPicture(packet); }

// Which picture each packet belongs to; tables right before a picture belong to it.
std::vector<Packet> packetsOf(const Bytes& stream, std::size_t count) {
    std::vector<Packet> packets;
    std::size_t begun = 0;
    for (std::size_t at = 0; at + kTsPacket <= stream.size(); at += kTsPacket) {
        const std::uint8_t* data = stream.data() + at;
        if (beginsPicture(data)) {
            ++begun;
            for (auto p = packets.rbegin(); p != packets.rend() && isTable(p->bytes.data()); ++p) {
                p->picture = begun - 1;
            }
        }
        packets.push_back({Bytes(data, data + kTsPacket), begun == 0 ? 0 : begun - 1});
    }
    if (begun != count) {
        throw std::runtime_error("the muxer wrote " + std::to_string(begun) + " pictures");
    }
    return packets;
}

std::vector<Packet> withNullPackets(const std::vector<Packet>& packets) {
    Bytes null(kTsPacket, 0xFF);
    std::copy_n(Bytes{0x47, 0x1F, 0xFF, 0x10}.begin(), 4, null.begin());
    std::vector<Packet> out;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        out.push_back(packets[i]);
        for (std::size_t k = 0; k < i * 7 % 4; ++k) {
            out.push_back({null, packets[i].picture});
        }
    }
    return out;
}

Bytes padded(const Bytes& packet, std::size_t size, std::size_t number) {
    Bytes out;
    if (size == 192) {
        out = {static_cast<std::uint8_t>(number >> 24), static_cast<std::uint8_t>(number >> 16),
               static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
    }
    out.insert(out.end(), packet.begin(), packet.end());
    while (out.size() < size) {
        out.push_back(static_cast<std::uint8_t>(number * 31 + out.size()));
    }
    return out;
}

Bytes rtpHead(std::size_t number, std::size_t picture) {
    const std::size_t time = picture * 3600;
    return {0x80,
            33,
            static_cast<std::uint8_t>(number >> 8),
            static_cast<std::uint8_t>(number),
            static_cast<std::uint8_t>(time >> 24),
            static_cast<std::uint8_t>(time >> 16),
            static_cast<std::uint8_t>(time >> 8),
            static_cast<std::uint8_t>(time),
            0x12,
            0x34,
            0x56,
            0x78};
}

std::vector<Datagrams> cut(const std::vector<Packet>& packets, std::size_t count, const WireForm& form) {
    std::vector<Datagrams> out(count);
    std::size_t in_datagram = 0;
    std::size_t picture = 0;
    std::size_t sent = 0;
    Bytes datagram;
    const auto close = [&] {
        if (in_datagram > 0) {
            out[picture].push_back(std::move(datagram));
        }
        datagram.clear();
        in_datagram = 0;
    };
    for (std::size_t i = 0; i < packets.size(); ++i) {
        if (in_datagram == kPacketsADatagram || (packets[i].picture != picture && !form.across_pictures)) {
            close();
        }
        if (in_datagram == 0 && form.rtp) {
            datagram = rtpHead(sent++, packets[i].picture);
        }
        picture = packets[i].picture;
        const Bytes packet = padded(packets[i].bytes, form.packet_size, i);
        datagram.insert(datagram.end(), packet.begin(), packet.end());
        ++in_datagram;
    }
    close();
    return out;
}

std::vector<Datagrams> rawDatagrams(const Film& film, std::size_t count) {
    std::vector<Datagrams> out(count);
    for (std::size_t n = 0; n < count; ++n) {
        const Bytes& unit = film.unit(n);
        for (std::size_t at = 0; at < unit.size(); at += kRawDatagram) {
            const auto from = unit.begin() + static_cast<std::ptrdiff_t>(at);
            const std::size_t size = std::min(kRawDatagram, unit.size() - at);
            out[n].emplace_back(from, from + static_cast<std::ptrdiff_t>(size));
        }
    }
    return out;
}

}  // namespace

std::vector<Datagrams> datagramsOf(const Film& film, std::size_t count, const WireForm& form) {
    if (form.muxer == WireForm::Muxer::kNone) {
        return rawDatagrams(film, count);
    }
    std::vector<Bytes> units;
    for (std::size_t n = 0; n < count; ++n) {
        units.push_back(film.unit(n));
    }
    const Codec codec = film.settings.codec;
    std::vector<Packet> packets =
        packetsOf(form.muxer == WireForm::Muxer::kGstreamer
                      ? muxWithGstreamer(codec, units)
                      : muxTransportStream(codec, units, form.pes_lengths, false, form.constant_rate),
                  count);
    if (form.null_packets) {
        packets = withNullPackets(packets);
    }
    return cut(packets, count, form);
}

}  // namespace tavrik::test
