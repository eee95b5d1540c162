// An RTSP server of one camera for the tests, with faults at will.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "test_video.h"

namespace tavrik::test {

class RtspServer {
public:
    enum class Manner {
        Good,
        SilentAtDescribe,  // takes the connection and never answers DESCRIBE
        SilentAtAll,
    };
    struct Settings {
        Codec codec = Codec::H264;
        Manner manner = Manner::Good;
        std::string parameter_sets;  // for the session description; empty: in the stream alone
        bool audio = false;          // G.711 mu-law, 8 kHz mono, as a second track
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
    bool describeSeen() const { return describe_seen_; }
    bool overUdp() const { return over_udp_; }

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
    void closeClient(Client& client);

    Settings settings_;
    int listener_ = -1;
    int port_ = 0;
    std::thread thread_;
    std::atomic<bool> stop_{false};
    std::atomic<int> playing_{0};
    std::atomic<int> teardowns_{0};
    std::atomic<bool> describe_seen_{false};
    std::atomic<bool> over_udp_{false};
    std::mutex mutex_;
    std::vector<Client> clients_;
};

}  // namespace tavrik::test
