// podsim as a process of its own: started with arguments, read and written through pipes, always ended.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace podsim {

class PodsimProcess {
public:
    explicit PodsimProcess(std::vector<std::string> arguments);
    ~PodsimProcess();
    PodsimProcess(const PodsimProcess&) = delete;
    PodsimProcess& operator=(const PodsimProcess&) = delete;

    // The next line of standard output; none when it does not come in time or the program is gone.
    std::optional<std::string> readLine(std::chrono::milliseconds patience = std::chrono::seconds(20));
    // Waits for "podsim ready" and reads its addresses. False when it does not come.
    bool waitReady();
    // "127.0.0.1:8000" for "udp"; empty when it was not told.
    std::string address(const std::string& name) const;
    int port(const std::string& name) const;

    void writeLine(const std::string& line);
    void signal(int number);
    // The exit status; none when it does not end in time.
    std::optional<int> waitExit(std::chrono::milliseconds patience);
    // What it wrote to standard error, complete once it has ended.
    std::string errors();

private:
    pid_t m_pid = -1;
    int m_in = -1;
    int m_out = -1;
    int m_err = -1;
    std::string m_pending;
    std::map<std::string, std::string> m_addresses;
    std::optional<int> m_status;
};

}  // namespace podsim
