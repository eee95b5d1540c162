#include "rtsp_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>

namespace tavrik::test {
namespace {

constexpr std::size_t kFragment = 1200;

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::string headerOf(const std::string& request, const std::string& name) {
    const std::size_t at = request.find("\r\n" + name + ": ");
    if (at == std::string::npos) {
        return {};
    }
    const std::size_t from = at + name.size() + 4;
    return request.substr(from, request.find("\r\n", from) - from);
}

}  // namespace

RtspServer::RtspServer(Settings settings) : m_settings(std::move(settings)) {
    m_listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    socklen_t size = sizeof(address);
    ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);
    ::listen(m_listener, 8);
    m_thread = std::thread([this] { run(); });
}

RtspServer::~RtspServer() { kill(); }

std::string RtspServer::url() const { return "rtsp://127.0.0.1:" + std::to_string(m_port) + "/live/track0"; }

void RtspServer::kill() {
    m_stop = true;
    if (m_thread.joinable()) {
        m_thread.join();
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Client& client : m_clients) {
        closeClient(client);
    }
    m_clients.clear();
    if (m_listener >= 0) {
        ::close(m_listener);
    }
    m_listener = -1;
}

namespace {

bool waitUntilPositive(const std::atomic<int>& count, int timeout_ms) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (count == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return count > 0;
}

}  // namespace

bool RtspServer::waitForPlay(int timeout_ms) { return waitUntilPositive(m_playing, timeout_ms); }

bool RtspServer::waitForTeardown(int timeout_ms) { return waitUntilPositive(m_teardowns, timeout_ms); }

void RtspServer::run() {
    while (!m_stop) {
        std::vector<pollfd> fds{{m_listener, POLLIN, 0}};
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            for (const Client& client : m_clients) {
                fds.push_back({client.fd, POLLIN, 0});
            }
        }
        ::poll(fds.data(), fds.size(), 10);
        if ((fds[0].revents & POLLIN) != 0) {
            acceptClient();
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (std::size_t i = 1; i < fds.size(); ++i) {
            if (fds[i].revents == 0) {
                continue;
            }
            const auto client = std::find_if(m_clients.begin(), m_clients.end(),
                                             [&](const Client& c) { return c.fd == fds[i].fd; });
            if (client == m_clients.end() || serve(*client)) {
                continue;
            }
            closeClient(*client);
            m_clients.erase(client);
        }
    }
}

void RtspServer::acceptClient() {
    Client client;
    client.fd = ::accept(m_listener, nullptr, nullptr);
    if (client.fd < 0) {
        return;
    }
    const int on = 1;
    ::setsockopt(client.fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    const timeval patience{1, 0};
    ::setsockopt(client.fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_clients.push_back(client);
}

bool RtspServer::serve(Client& client) {
    char buffer[4096];
    const ssize_t got = ::recv(client.fd, buffer, sizeof(buffer), MSG_DONTWAIT);
    if (got <= 0) {
        return got < 0 && (errno == EAGAIN || errno == EINTR);
    }
    if (m_settings.manner == Manner::kSilentAtAll) {
        return true;
    }
    client.received.append(buffer, static_cast<std::size_t>(got));
    for (;;) {
        // Receiver reports come interleaved: '$', channel, length.
        while (client.received.size() >= 4 && client.received[0] == '$') {
            const std::size_t length = 4 + (static_cast<std::uint8_t>(client.received[2]) << 8) +
                                       static_cast<std::uint8_t>(client.received[3]);
            if (client.received.size() < length) {
                return true;
            }
            client.received.erase(0, length);
        }
        const std::size_t end = client.received.find("\r\n\r\n");
        if (end == std::string::npos) {
            return true;
        }
        const std::string request = client.received.substr(0, end + 4);
        client.received.erase(0, end + 4);
        const std::string reply = answer(client, request);
        if (!reply.empty()) {
            ::send(client.fd, reply.data(), reply.size(), MSG_NOSIGNAL);
        }
    }
}

std::string RtspServer::answer(Client& client, const std::string& request) {
    const std::string method = request.substr(0, request.find(' '));
    std::string extra, body;
    if (method == "OPTIONS") {
        extra = "Public: OPTIONS, DESCRIBE, SETUP, PLAY, TEARDOWN\r\n";
    }
    if (method == "DESCRIBE") {
        m_describeSeen = true;
        if (m_settings.manner == Manner::kSilentAtDescribe) {
            return {};
        }
        body = sessionDescription();
        extra = "Content-Base: " + url() + "/\r\nContent-Type: application/sdp\r\n";
    }
    if (method == "SETUP") {
        extra = setUp(client, request);
    }
    if (method == "PLAY" && !client.playing) {
        client.playing = true;
        ++m_playing;
    }
    if (method == "TEARDOWN") {
        ++m_teardowns;
    }
    return "RTSP/1.0 200 OK\r\nCSeq: " + headerOf(request, "CSeq") + "\r\nSession: 42\r\n" + extra +
           (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") + "\r\n" + body;
}

std::string RtspServer::sessionDescription() const {
    const bool h264 = m_settings.codec == Codec::kH264;
    std::string text = "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=test\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\n";
    text += "m=video 0 RTP/AVP 96\r\na=rtpmap:96 " + std::string(h264 ? "H264" : "H265") + "/90000\r\n";
    if (h264) {
        text += "a=fmtp:96 packetization-mode=1";
        if (!m_settings.parameter_sets.empty()) {
            text += ";sprop-parameter-sets=" + m_settings.parameter_sets;
        }
        text += "\r\n";
    }
    text += "a=control:track0\r\n";
    if (m_settings.audio) {
        text += "m=audio 0 RTP/AVP 0\r\na=rtpmap:0 PCMU/8000\r\na=control:track1\r\n";
    }
    return text;
}

std::string RtspServer::setUp(Client& client, const std::string& request) {
    const std::string transport = headerOf(request, "Transport");
    const int index = request.find("/track1 ") != std::string::npos ? 1 : 0;
    Track& track = client.tracks[index];
    track.set_up = true;
    track.udp = transport.find("TCP") == std::string::npos;
    m_overUdp = track.udp;
    if (!track.udp) {
        track.channel = index * 2;
        return "Transport: RTP/AVP/TCP;unicast;interleaved=" + std::to_string(track.channel) + "-" +
               std::to_string(track.channel + 1) + "\r\n";
    }
    const std::size_t at = transport.find("client_port=");
    const int port = std::stoi(transport.substr(at + 12));
    track.socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in own = loopback(0);
    ::bind(track.socket, reinterpret_cast<sockaddr*>(&own), sizeof(own));
    socklen_t size = sizeof(own);
    ::getsockname(track.socket, reinterpret_cast<sockaddr*>(&own), &size);
    const sockaddr_in to = loopback(port);
    ::connect(track.socket, reinterpret_cast<const sockaddr*>(&to), sizeof(to));
    const int server_port = ntohs(own.sin_port);
    return "Transport: RTP/AVP;unicast;client_port=" + std::to_string(port) + "-" + std::to_string(port + 1) +
           ";server_port=" + std::to_string(server_port) + "-" + std::to_string(server_port + 1) + "\r\n";
}

void RtspServer::sendPicture(const Bytes& unit, std::uint32_t timestamp) {
    const std::vector<Bytes> nals = nalsOf(unit);
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Client& client : m_clients) {
        if (!client.playing) {
            continue;
        }
        for (std::size_t i = 0; i < nals.size(); ++i) {
            sendNal(client, nals[i], timestamp, i + 1 == nals.size());
        }
    }
}

void RtspServer::sendSound(const Bytes& samples, std::uint32_t timestamp) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Client& client : m_clients) {
        if (client.playing && client.tracks[1].set_up) {
            sendRtp(client, 1, samples, timestamp, false);
        }
    }
}

// RFC 6184 5.8 (FU-A) and RFC 7798 4.4.3 for NALs above the fragment size.
void RtspServer::sendNal(Client& client, const Bytes& nal, std::uint32_t timestamp, bool last) {
    if (nal.size() <= kFragment) {
        sendRtp(client, 0, nal, timestamp, last);
        return;
    }
    const bool h264 = m_settings.codec == Codec::kH264;
    const std::size_t head = h264 ? 1 : 2;
    for (std::size_t at = head; at < nal.size(); at += kFragment) {
        const std::size_t size = std::min(kFragment, nal.size() - at);
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
        sendRtp(client, 0, payload, timestamp, last && final);
    }
}

void RtspServer::sendRtp(Client& client, int index, const Bytes& payload, std::uint32_t timestamp,
                         bool marker) {
    Track& track = client.tracks[index];
    const std::uint16_t sequence = track.sequence++;
    const Bytes head{0x80,
                     static_cast<std::uint8_t>((marker ? 0x80 : 0) | (index == 0 ? 96 : 0)),
                     static_cast<std::uint8_t>(sequence >> 8),
                     static_cast<std::uint8_t>(sequence),
                     static_cast<std::uint8_t>(timestamp >> 24),
                     static_cast<std::uint8_t>(timestamp >> 16),
                     static_cast<std::uint8_t>(timestamp >> 8),
                     static_cast<std::uint8_t>(timestamp),
                     0x12,
                     0x34,
                     0x56,
                     static_cast<std::uint8_t>(index)};
    Bytes packet(head.size() + payload.size());
    std::copy(payload.begin(), payload.end(), std::copy(head.begin(), head.end(), packet.begin()));
    if (track.udp) {
        sendDatagram(track.socket, packet);
        return;
    }
    Bytes framed{'$', static_cast<std::uint8_t>(track.channel), static_cast<std::uint8_t>(packet.size() >> 8),
                 static_cast<std::uint8_t>(packet.size())};
    framed.insert(framed.end(), packet.begin(), packet.end());
    ::send(client.fd, framed.data(), framed.size(), MSG_NOSIGNAL);
}

void RtspServer::sendDatagram(int socket, const Bytes& packet) {
    if (m_settings.datagrams) {
        m_settings.datagrams(socket, packet);
    } else {
        ::send(socket, packet.data(), packet.size(), 0);
    }
}

void RtspServer::closeClient(Client& client) {
    if (client.playing) {
        --m_playing;
    }
    client.playing = false;
    for (Track& track : client.tracks) {
        if (track.socket >= 0) {
            ::close(track.socket);
        }
        track.socket = -1;
    }
    if (client.fd >= 0) {
        ::close(client.fd);
    }
    client.fd = -1;
}

}  // namespace tavrik::test
