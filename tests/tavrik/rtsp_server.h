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
    };
    struct Settings {
        Codec codec = Codec::kH264;
        Manner manner = Manner::kGood;
        std::string parameter_sets;  // for the session description; empty: in the stream alone
        bool audio = false;          // G.711 mu-law, 8 kHz mono, as a second track
        // Over UDP: takes each packet in the place of its socket.
        std::function<void(int socket, const Bytes& packet)> datagrams;
    };

    explicit RtspServer(Settings settings);
    ~RtspServer();

    std::string url() const;
    bool waitForPlay(int timeout_ms);
    // Sends the unit to every client that plays; timestamp in 1/90000 s.
    void sendPicture(const Bytes& unit, std::uint32_t timestamp);
    void sendSound(const Bytes& samples, std::uint32_t timestamp);
    // Cuts every connection and stops listening, with no farewell.
    void kill();
    bool waitForTeardown(int timeout_ms);
    bool describeSeen() const { return m_describeSeen; }
    bool overUdp() const { return m_overUdp; }

private:
    struct Track {
        bool set_up = false;
        bool udp = false;
        int channel = 0;
        int socket = -1;  // over UDP
        std::uint16_t sequence = 0;
    };
    struct Client {
        int fd = -1;
        std::string received;
        bool playing = false;
        Track tracks[2];
    };

    void run();
    void acceptClient();
    bool serve(Client& client);
    std::string answer(Client& client, const std::string& request);
    std::string sessionDescription() const;
    std::string setUp(Client& client, const std::string& request);
    void sendNal(Client& client, const Bytes& nal, std::uint32_t timestamp, bool last);
    void sendRtp(Client& client, int track, const Bytes& payload, std::uint32_t timestamp, bool marker);
    void sendDatagram(int socket, const Bytes& packet);
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
    std::mutex m_mutex;
    std::vector<Client> m_clients;
};

}  // namespace tavrik::test
