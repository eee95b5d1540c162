// Serves pages over HTTP, non-blocking and driven by the one thread that polls its descriptors. One request a
// connection; a viewer beyond the eighth takes the place of the oldest.
#pragma once

#include <poll.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace podsim {

class WebServer {
public:
    // The page behind a path ("/") and query ("codec=1", perhaps empty); empty: there is none.
    using Pages = std::function<std::string(const std::string& path, const std::string& query)>;

    // port 0: any free one. Null with a reason in `error`.
    static std::unique_ptr<WebServer> open(const std::string& bind_address, int port, Pages pages,
                                           std::string& error);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    // "http://127.0.0.1:8090/"
    std::string address() const;
    void appendPollFds(std::vector<pollfd>& fds) const;
    // One of this server's descriptors is ready; others' are ignored.
    void onReady(const pollfd& ready);

private:
    struct Client {
        int fd;
        std::string request;
        std::string answer;  // what is still to be sent; empty while the request comes in
    };

    WebServer(int listener, Pages pages) : m_listener(listener), m_pages(std::move(pages)) {}
    void accept();
    // False when the connection is over.
    bool receive(Client& client);
    static bool send(Client& client);
    std::string answerTo(const std::string& request) const;

    int m_listener;
    Pages m_pages;
    std::vector<Client> m_clients;
};

}  // namespace podsim
