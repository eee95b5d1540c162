// An RTSP server of one camera for the tests, with faults at will.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "test_video.h"

namespace tavrik::test {

class RtspServer {
public:
    enum class Manner {
        kGood,
        kSilentAtDescribe,  // takes the connection and never answers DESCRIBE
        kSilentAtAll,
        kSilentAtTeardown,
        kSendsHome,       // redirects to itself, always
        kEndlessHeaders,  // its description's head never ends
        kEndlessLine,
    };
    struct Settings {
        Codec codec = Codec::kH264;
        Manner manner = Manner::kGood;
        // For the session description, H.264: units joined by commas; H.265: all parameters. Empty: in the
        // stream alone.
        std::string parameter_sets;
        bool audio = false;  // sound as a second track
        // Over UDP: takes each packet of pictures and sound in the place of its socket.
        std::function<void(int socket, const Bytes& packet)> datagrams;
        // Of the sound, behind its payload type in the session description.
        int sound_type = 0;
        std::string sound_lines = "a=rtpmap:0 PCMU/8000\r\n";
        bool sound_marker = false;  // its packets end frames and say so
        bool sound_first = false;   // in the session description
        bool second_video = false;  // track2, behind the others
        bool refuses_tcp = false;   // 461 Unsupported transport
        std::string user, password;
        bool digest = false;          // else the password is asked for in clear
        int port = 0;                 // 0: any
        std::size_t fragment = 1200;  // payload of a packet, in bytes
    };
    // How a picture gets on the line.
    struct Delivery {
        int pauses = 0;  // inside the picture, at bytes of packets as well as between packets
        int pause_ms = 0;
        Bytes sound;           // goes between the packets
        bool reports = false;  // sender reports go between the packets
        bool swapped = false;  // each second packet overtakes the one before it, the first by pause_ms
        bool loses_one = false;
    };

    explicit RtspServer(Settings settings);
    ~RtspServer();

    std::string url() const;
    bool waitForPlay(int timeout_ms);
    // Sends the unit to every client that plays; timestamp in 1/90000 s.
    void sendPicture(const Bytes& unit, std::uint32_t timestamp);
    void sendPicture(const Bytes& unit, std::uint32_t timestamp, const Delivery& delivery);
    // One packet of the pictures that says nothing of an end.
    void sendPayload(const Bytes& payload, std::uint32_t timestamp);
    void sendSound(const Bytes& samples, std::uint32_t timestamp);
    // A sender report: the track's timestamp at a wall clock of seconds * 2^32.
    void sendReport(int track, std::uint64_t wall_clock, std::uint32_t timestamp);
    // Cuts every connection and stops listening, with no farewell.
    void kill();
    bool waitForTeardown(int timeout_ms);
    bool describeSeen() const { return m_describeSeen; }
    bool overUdp() const { return m_overUdp; }
    // The client has gone in the middle of an endless answer.
    bool floodLeft() const { return m_floodLeft; }
    int port() const { return m_port; }
    int connections() const { return m_connections; }
    // The tracks asked for and the transport, as "track0 RTP/AVP/TCP".
    std::vector<std::string> setUps();

private:
    struct Track {
        bool set_up = false;
        bool udp = false;
        int channel = 0;
        int socket = -1, control = -1;  // over UDP
        std::uint16_t sequence = 0;
    };
    struct Client {
        int fd = -1;
        std::string received;
        bool playing = false;
        Track tracks[3];
    };

    void run();
    void acceptClient();
    bool serve(Client& client);
    std::string answer(Client& client, const std::string& request);
    std::string sessionDescription() const;
    std::string setUp(Client& client, const std::string& request);
    bool authorized(const std::string& request) const;
    void flood(Client& client);
    void packNal(Client& client, const Bytes& nal, std::uint32_t timestamp, bool last,
                 std::vector<Bytes>& packets);
    Bytes pack(Track& track, int index, const Bytes& payload, std::uint32_t timestamp, bool marker) const;
    void put(Client& client, int track, const Bytes& packet, bool control = false);
    void putSlowly(Client& client, const std::vector<Bytes>& packets, std::uint32_t timestamp,
                   const Delivery& delivery);
    void closeClient(Client& client);

    Settings m_settings;
    int m_listener = -1;
    int m_port = 0;
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_playing{0};
    std::atomic<int> m_teardowns{0};
    std::atomic<bool> m_describeSeen{false};
    std::atomic<bool> m_overUdp{false};
    std::atomic<bool> m_floodLeft{false};
    std::atomic<int> m_connections{0};
    std::vector<std::string> m_setUps;
    std::mutex m_mutex;
    std::vector<Client> m_clients;
};

}  // namespace tavrik::test
