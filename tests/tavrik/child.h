// A program started beside the test, whose output is read as it comes.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavrik::test {

class Child {
public:
    explicit Child(std::vector<std::string> command) {
        int in[2], out[2];
        if (::pipe(in) != 0 || ::pipe(out) != 0) {
            return;
        }
        std::vector<char*> arguments;
        for (std::string& word : command) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        m_pid = ::fork();
        if (m_pid == 0) {
            ::dup2(in[0], STDIN_FILENO);
            ::dup2(out[1], STDOUT_FILENO);
            ::dup2(out[1], STDERR_FILENO);
            for (const int fd : {in[0], in[1], out[0], out[1]}) {
                ::close(fd);
            }
            ::execv(arguments[0], arguments.data());
            ::_exit(127);
        }
        ::close(in[0]);
        ::close(out[1]);
        m_in = in[1];
        m_reader = std::thread([this, from = out[0]] { read(from); });
    }
    ~Child() { end(SIGKILL); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    std::string output() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_output;
    }
    bool has(const std::string& text) { return output().find(text) != std::string::npos; }
    void closeInput() {
        if (m_in >= 0) {
            ::close(m_in);
            m_in = -1;
        }
    }
    void signal(int number) { ::kill(m_pid, number); }
    // Sends the signal, if not 0, and waits for the end.
    void end(int signal) {
        if (m_pid <= 0) {
            return;
        }
        closeInput();
        if (signal != 0) {
            ::kill(m_pid, signal);
        }
        ::waitpid(m_pid, nullptr, 0);
        m_pid = -1;
        m_reader.join();
    }

private:
    void read(int from) {
        char buffer[4096];
        for (ssize_t got = 0; (got = ::read(from, buffer, sizeof(buffer))) > 0;) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_output.append(buffer, static_cast<std::size_t>(got));
        }
        ::close(from);
    }

    pid_t m_pid = -1;
    int m_in = -1;
    std::thread m_reader;
    std::mutex m_mutex;
    std::string m_output;
};

}  // namespace tavrik::test
