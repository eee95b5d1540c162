#include "rtsp_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

extern "C" {
#include <libavutil/base64.h>
#include <libavutil/md5.h>
}

#include <algorithm>
#include <chrono>
#include <cstring>

namespace tavrik::test {
namespace {

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

std::string md5(const std::string& text) {
    std::uint8_t sum[16];
    av_md5_sum(sum, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    std::string out;
    for (const std::uint8_t byte : sum) {
        out += "0123456789abcdef"[byte >> 4];
        out += "0123456789abcdef"[byte & 15];
    }
    return out;
}

// The value of name="..." in a header.
std::string quoted(const std::string& header, const std::string& name) {
    const std::size_t at = header.find(name + "=\"");
    if (at == std::string::npos) {
        return {};
    }
    const std::size_t from = at + name.size() + 2;
    return header.substr(from, header.find('"', from) - from);
}

constexpr const char* kRealm = "pod";
constexpr const char* kNonce = "4711";

}  // namespace

RtspServer::RtspServer(Settings settings) : m_settings(std::move(settings)) {
    m_listener = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    sockaddr_in address = loopback(m_settings.port);
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
    ++m_connections;
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

bool RtspServer::authorized(const std::string& request) const {
    if (m_settings.user.empty()) {
        return true;
    }
    const std::string given = headerOf(request, "Authorization");
    const std::string both = m_settings.user + ":" + m_settings.password;
    if (!m_settings.digest) {
        char text[256];
        av_base64_encode(text, sizeof(text), reinterpret_cast<const std::uint8_t*>(both.data()),
                         static_cast<int>(both.size()));
        return given == std::string("Basic ") + text;
    }
    const std::string secret = md5(m_settings.user + ":" + kRealm + ":" + m_settings.password);
    const std::string method = request.substr(0, request.find(' '));
    return quoted(given, "response") ==
           md5(secret + ":" + kNonce + ":" + md5(method + ":" + quoted(given, "uri")));
}

// Bytes without end until the client goes or the server is stopped.
void RtspServer::flood(Client& client) {
    const bool lines = m_settings.manner == Manner::kEndlessHeaders;
    std::string bytes = "RTSP/1.0 200 OK\r\nX-Long: ";
    while (!m_stop) {
        char byte = 0;
        const bool farewell = ::recv(client.fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
        if (farewell ||
            (::send(client.fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0 && errno != EAGAIN)) {
            m_floodLeft = true;
            return;
        }
        bytes = std::string(4096, 'a') + (lines ? "\r\nX-Long: " : "");
    }
}

std::string RtspServer::answer(Client& client, const std::string& request) {
    const std::string method = request.substr(0, request.find(' '));
    const auto reply = [&](const std::string& status, const std::string& extra, const std::string& body) {
        return "RTSP/1.0 " + status + "\r\nCSeq: " + headerOf(request, "CSeq") + "\r\n" + extra +
               (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") + "\r\n" +
               body;
    };
    const std::string session = "Session: 42\r\n";
    if (method == "OPTIONS") {
        return reply("200 OK", "Public: OPTIONS, DESCRIBE, SETUP, PLAY, TEARDOWN\r\n", "");
    }
    if (!authorized(request)) {
        const std::string kind = m_settings.digest ? "Digest" : "Basic";
        const std::string nonce = m_settings.digest ? std::string(", nonce=\"") + kNonce + "\"" : "";
        return reply("401 Unauthorized",
                     "WWW-Authenticate: " + kind + " realm=\"" + kRealm + "\"" + nonce + "\r\n", "");
    }
    if (method == "DESCRIBE") {
        m_describeSeen = true;
        switch (m_settings.manner) {
            case Manner::kSilentAtDescribe:
                return {};
            case Manner::kSendsHome:
                return reply("302 Moved Temporarily", "Location: " + url() + "\r\n", "");
            case Manner::kEndlessHeaders:
            case Manner::kEndlessLine:
                flood(client);
                return {};
            default:
                return reply("200 OK", "Content-Base: " + url() + "/\r\nContent-Type: application/sdp\r\n",
                             sessionDescription());
        }
    }
    if (method == "SETUP") {
        const std::string transport = setUp(client, request);
        return transport.empty() ? reply("461 Unsupported transport", "", "")
                                 : reply("200 OK", session + transport, "");
    }
    if (method == "PLAY" && !client.playing) {
        client.playing = true;
        ++m_playing;
    }
    if (method == "TEARDOWN") {
        ++m_teardowns;
        if (m_settings.manner == Manner::kSilentAtTeardown) {
            return {};
        }
    }
    return reply("200 OK", session, "");
}

std::string RtspServer::sessionDescription() const {
    const bool h264 = m_settings.codec == Codec::kH264;
    const auto video = [&](const char* track) {
        std::string text =
            "m=video 0 RTP/AVP 96\r\na=rtpmap:96 " + std::string(h264 ? "H264" : "H265") + "/90000\r\n";
        if (h264) {
            text += "a=fmtp:96 packetization-mode=1";
            if (!m_settings.parameter_sets.empty()) {
                text += ";sprop-parameter-sets=" + m_settings.parameter_sets;
            }
            text += "\r\n";
        } else if (!m_settings.parameter_sets.empty()) {
            text += "a=fmtp:96 " + m_settings.parameter_sets + "\r\n";
        }
        return text + "a=control:" + track + "\r\n";
    };
    const std::string sound = m_settings.audio
                                  ? "m=audio 0 RTP/AVP " + std::to_string(m_settings.sound_type) + "\r\n" +
                                        m_settings.sound_lines + "a=control:track1\r\n"
                                  : "";
    return "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=test\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\n" +
           (m_settings.sound_first ? sound + video("track0") : video("track0") + sound) +
           (m_settings.second_video ? video("track2") : "");
}

std::vector<std::string> RtspServer::setUps() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_setUps;
}

namespace {

int boundSocket() {
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in own = loopback(0);
    ::bind(fd, reinterpret_cast<sockaddr*>(&own), sizeof(own));
    return fd;
}

void connectTo(int fd, int port) {
    const sockaddr_in to = loopback(port);
    ::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof(to));
}

int portOf(int fd) {
    sockaddr_in own{};
    socklen_t size = sizeof(own);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&own), &size);
    return ntohs(own.sin_port);
}

}  // namespace

std::string RtspServer::setUp(Client& client, const std::string& request) {
    const std::string transport = headerOf(request, "Transport");
    const std::string uri = request.substr(0, request.find(" RTSP/"));
    const int index = uri.back() >= '0' && uri.back() <= '2' ? uri.back() - '0' : 0;
    m_setUps.push_back("track" + std::to_string(index) + " " + transport.substr(0, transport.find(';')));
    const bool udp = transport.find("TCP") == std::string::npos;
    if (m_settings.refuses_tcp && !udp) {
        return {};
    }
    Track& track = client.tracks[index];
    track.set_up = true;
    track.udp = udp;
    m_overUdp = track.udp;
    if (!track.udp) {
        track.channel = index * 2;
        return "Transport: RTP/AVP/TCP;unicast;interleaved=" + std::to_string(track.channel) + "-" +
               std::to_string(track.channel + 1) + "\r\n";
    }
    const std::size_t at = transport.find("client_port=");
    const int port = std::stoi(transport.substr(at + 12));
    track.socket = boundSocket();
    track.control = boundSocket();
    connectTo(track.socket, port);
    connectTo(track.control, port + 1);
    return "Transport: RTP/AVP;unicast;client_port=" + std::to_string(port) + "-" + std::to_string(port + 1) +
           ";server_port=" + std::to_string(portOf(track.socket)) + "-" +
           std::to_string(portOf(track.control)) + "\r\n";
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
        if (track.control >= 0) {
            ::close(track.control);
        }
        track.socket = track.control = -1;
    }
    if (client.fd >= 0) {
        ::close(client.fd);
    }
    client.fd = -1;
}

}  // namespace tavrik::test
