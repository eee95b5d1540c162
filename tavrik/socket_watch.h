// Breaks off the connections of GStreamer's RTSP, which reads on to the end of a message it has begun,
// whatever it is told.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

typedef struct _GSocket GSocket;

namespace tavrik {

// The TCP connections that one session makes. Any thread.
class SocketWatch {
public:
    SocketWatch() = default;
    ~SocketWatch();
    SocketWatch(const SocketWatch&) = delete;
    SocketWatch& operator=(const SocketWatch&) = delete;

    // From now on the connections that the calling thread makes by GIO are this session's.
    static void follow(const std::shared_ptr<SocketWatch>& session);
    // Ends them, and with them every read and write on them; none comes about from now on.
    void breakOff();

    // One that is about to connect, and one that has.
    void permit(GSocket* socket);
    void add(GSocket* socket);

private:
    std::mutex m_mutex;
    std::vector<GSocket*> m_sockets;  // references
    bool m_broken = false;
};

}  // namespace tavrik
