// A real RTSP server (GStreamer's) in this process that plays a film, for the tests.
#pragma once

#include <memory>
#include <string>

#include "film.h"

namespace tavrik::test {

class GstServer {
public:
    enum class Transports { kAny, kUdpAlone, kTcpAlone };
    struct Settings {
        Transports transports = Transports::kAny;
        bool sound_first = false;  // a track of sound before that of pictures
        std::string pictures;      // elements up to a payloader that send these pictures, not the film's
        std::string user;          // with a password asked for; empty: none is
        std::string password;
        int port = 0;  // 0: a free one
    };

    // Plays the film at 25 pictures a second from its start to whoever comes, over and over. Throws
    // std::runtime_error if the port is taken. The film outlives the server.
    GstServer(const Film& film, const Settings& settings);
    ~GstServer();

    int port() const;
    // rtsp://[credentials@]127.0.0.1:PORT/PATH; the film is at "film".
    std::string url(const std::string& credentials = {}, const std::string& path = "film") const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace tavrik::test
