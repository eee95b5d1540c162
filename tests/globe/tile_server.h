// A web server for tests, on a port of the loopback device, that answers as it is told.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace globe_test {

enum class Answer {
    kBody,         // what lies there
    kNotFound,     // 404
    kNoContent,    // 204
    kForbidden,    // 403
    kUnavailable,  // 503
    kClose,        // hangs up without a word
    kHang          // says nothing for as long as the server lives
};

// Usable from any thread. It begins with kBody; what lies nowhere is kNotFound.
class TileServer {
public:
    TileServer();
    ~TileServer();
    TileServer(const TileServer&) = delete;
    TileServer& operator=(const TileServer&) = delete;

    // "http://127.0.0.1:1234"
    std::string address() const;
    // Under every address; under those that begin so ("/a.tif") alone, which goes first.
    void serve(const std::string& body);
    void serve(const std::string& path, const std::string& body);
    // To all; to those whose path contains `part` alone, which goes first.
    void answer(Answer answer);
    void answer(const std::string& part, Answer answer);
    // Called with the path of each request before it is answered, by the server's thread.
    void onRequest(std::function<void(const std::string& path)> call);

    int requests() const { return m_requests; }
    // Clients that are connected; those of them that wait for an answer which will not come.
    int clients() const { return m_clients; }
    int hanging() const { return m_hanging; }

private:
    struct Client {
        int socket = -1;
        std::string heard;
        bool hangs = false;
    };
    void run();
    // False if the client is to go.
    bool hear(Client& client);
    bool reply(Client& client, const std::string& request);
    Answer answerTo(const std::string& path) const;
    const std::string* bodyOf(const std::string& path) const;

    int m_socket = -1;
    int m_port = 0;
    std::atomic<bool> m_end{false};
    std::atomic<int> m_requests{0};
    std::atomic<int> m_clients{0};
    std::atomic<int> m_hanging{0};
    mutable std::mutex m_mutex;
    Answer m_answer = Answer::kBody;
    std::map<std::string, Answer> m_answers;
    std::string m_body;
    std::map<std::string, std::string> m_bodies;
    std::function<void(const std::string&)> m_on_request;
    std::thread m_thread;
};

// A picture of one color that GDAL reads.
std::string plainPicture(int red, int green, int blue);

}  // namespace globe_test
