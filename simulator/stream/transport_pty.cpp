#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "simulator/stream/transport.h"

namespace podsim {
namespace {

class PtyTransport final : public Transport {
public:
    PtyTransport(int master, int slave, std::string name, std::string link)
        : m_master(master), m_slave(slave), m_name(std::move(name)), m_link(std::move(link)) {}
    ~PtyTransport() override {
        close(m_master);
        close(m_slave);
        if (!m_link.empty()) {
            unlink(m_link.c_str());
        }
    }

    void appendPollFds(std::vector<pollfd>& fds) const override { fds.push_back({m_master, POLLIN, 0}); }

    void onReady(const pollfd& ready, const ByteSink& sink) override {
        if (ready.fd != m_master) {
            return;
        }
        std::uint8_t buffer[4096];
        const ssize_t n = read(m_master, buffer, sizeof buffer);
        if (n <= 0) {
            return;
        }
        sink(buffer, static_cast<std::size_t>(n));
    }

    void send(const std::uint8_t* data, std::size_t n) override {
        // With nobody reading, old reports pile up in the terminal's queue and would be the first thing a
        // station sees. Throw them away well before the queue is full, so that no frame is cut either.
        int unread = 0;
        if (ioctl(m_slave, FIONREAD, &unread) == 0 && unread > kUnreadLimit) {
            tcflush(m_slave, TCIFLUSH);
        }
        while (n > 0) {
            const ssize_t done = write(m_master, data, n);
            if (done < 0 && errno == EINTR) {
                continue;
            }
            if (done <= 0) {
                return;
            }
            data += done;
            n -= static_cast<std::size_t>(done);
        }
    }

    const char* kind() const override { return "pty"; }
    std::string address() const override { return m_name; }

private:
    static constexpr int kUnreadLimit = 2048;

    int m_master;
    int m_slave;  // held open: without it the master reports errors whenever no station has the port open
    std::string m_name;
    std::string m_link;
};

bool placeLink(const std::string& target, const std::string& link, std::string& error) {
    struct stat info {};
    if (lstat(link.c_str(), &info) == 0) {
        if (!S_ISLNK(info.st_mode)) {
            error = link + " exists and is no symbolic link";
            return false;
        }
        unlink(link.c_str());
    }
    if (symlink(target.c_str(), link.c_str()) == 0) {
        return true;
    }
    error = link + ": " + std::strerror(errno);
    return false;
}

}  // namespace

std::unique_ptr<Transport> makePtyTransport(const std::string& link_path, std::string& error) {
    int master = -1;
    int slave = -1;
    char name[128] = "";
    if (openpty(&master, &slave, name, nullptr, nullptr) != 0) {
        error = std::string("pty: ") + std::strerror(errno);
        return nullptr;
    }
    termios mode{};
    tcgetattr(slave, &mode);
    cfmakeraw(&mode);
    tcsetattr(slave, TCSANOW, &mode);
    for (const int fd : {master, slave}) {
        fcntl(fd, F_SETFD, FD_CLOEXEC);
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    }
    if (!link_path.empty() && !placeLink(name, link_path, error)) {
        close(master);
        close(slave);
        return nullptr;
    }
    return std::make_unique<PtyTransport>(master, slave, name, link_path);
}

}  // namespace podsim
