#include "tests/simulator/podsim_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <sstream>

namespace podsim {
namespace {

using Clock = std::chrono::steady_clock;

int millisecondsTo(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

}  // namespace

PodsimProcess::PodsimProcess(std::vector<std::string> arguments) {
    int in[2];
    int out[2];
    int err[2];
    if (pipe2(in, O_CLOEXEC) || pipe2(out, O_CLOEXEC) || pipe2(err, O_CLOEXEC)) {
        std::abort();
    }
    std::vector<char*> argv = {const_cast<char*>("podsim")};
    for (auto& each : arguments) {
        argv.push_back(each.data());
    }
    argv.push_back(nullptr);
    m_pid = fork();
    if (m_pid == 0) {
        dup2(in[0], 0);
        dup2(out[1], 1);
        dup2(err[1], 2);
        execv(PODSIM_PROGRAM, argv.data());
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    m_in = in[1];
    m_out = out[0];
    m_err = err[0];
}

PodsimProcess::~PodsimProcess() {
    if (!m_status) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    for (const int fd : {m_in, m_out, m_err}) {
        close(fd);
    }
}

std::optional<std::string> PodsimProcess::readLine(std::chrono::milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    for (;;) {
        const std::size_t end = m_pending.find('\n');
        if (end != std::string::npos) {
            std::string line = m_pending.substr(0, end);
            m_pending.erase(0, end + 1);
            return line;
        }
        pollfd ready{m_out, POLLIN, 0};
        if (poll(&ready, 1, millisecondsTo(deadline)) != 1) {
            return std::nullopt;
        }
        char buffer[4096];
        const ssize_t n = read(m_out, buffer, sizeof buffer);
        if (n <= 0) {
            return std::nullopt;
        }
        m_pending.append(buffer, static_cast<std::size_t>(n));
    }
}

bool PodsimProcess::waitReady() {
    const auto line = readLine();
    if (!line || line->compare(0, 12, "podsim ready") != 0) {
        return false;
    }
    std::istringstream words(line->substr(12));
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        m_addresses[word.substr(0, equals)] = word.substr(equals + 1);
    }
    return true;
}

std::string PodsimProcess::address(const std::string& name) const {
    const auto found = m_addresses.find(name);
    return found == m_addresses.end() ? "" : found->second;
}

int PodsimProcess::port(const std::string& name) const {
    const std::string text = address(name);
    return std::atoi(text.substr(text.rfind(':') + 1).c_str());
}

void PodsimProcess::writeLine(const std::string& line) {
    const std::string text = line + "\n";
    if (write(m_in, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        std::abort();
    }
}

void PodsimProcess::signal(int number) { kill(m_pid, number); }

std::optional<int> PodsimProcess::waitExit(std::chrono::milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    while (!m_status) {
        int status = 0;
        if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        } else if (Clock::now() > deadline) {
            return std::nullopt;
        } else {
            poll(nullptr, 0, 2);
        }
    }
    return m_status;
}

std::string PodsimProcess::errors() {
    std::string text;
    char buffer[4096];
    for (ssize_t n; (n = read(m_err, buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<std::size_t>(n));
    }
    return text;
}

}  // namespace podsim
