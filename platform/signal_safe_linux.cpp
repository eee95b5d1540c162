#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/signal_safe.h"

namespace platform {

void SafeText::put(char c) {
    if (m_size + 1 < sizeof m_text) {
        m_text[m_size++] = c;
        m_text[m_size] = '\0';
    }
}

SafeText& SafeText::add(const char* text) {
    while (*text != '\0') {
        put(*text++);
    }
    return *this;
}

SafeText& SafeText::dec(std::int64_t value, int width) {
    char digits[24];
    int n = 0;
    std::uint64_t rest =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    do {
        digits[n++] = static_cast<char>('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    while (n < width && n < 20) {
        digits[n++] = '0';
    }
    if (value < 0) {
        put('-');
    }
    while (n > 0) {
        put(digits[--n]);
    }
    return *this;
}

SafeText& SafeText::hex(std::uint64_t value) {
    bool started = false;
    for (int shift = 60; shift >= 0; shift -= 4) {
        const unsigned digit = static_cast<unsigned>(value >> shift) & 0xFU;
        started = started || digit != 0 || shift == 0;
        if (started) {
            put("0123456789abcdef"[digit]);
        }
    }
    return *this;
}

SafeTime civilTime(std::int64_t seconds, int millisecond) {
    std::int64_t days = seconds / 86400;
    std::int64_t rest = seconds % 86400;
    if (rest < 0) {
        rest += 86400;
        --days;
    }
    days += 719468;  // from 1970-01-01 to 0000-03-01
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const auto day_of_era = static_cast<int>(days - era * 146097);
    const int year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const int day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const int shifted_month = (5 * day_of_year + 2) / 153;  // 0 is March
    SafeTime time{};
    time.day = day_of_year - (153 * shifted_month + 2) / 5 + 1;
    time.month = shifted_month < 10 ? shifted_month + 3 : shifted_month - 9;
    time.year = static_cast<int>(year_of_era + era * 400) + (time.month <= 2 ? 1 : 0);
    time.hour = static_cast<int>(rest / 3600);
    time.minute = static_cast<int>(rest % 3600 / 60);
    time.second = static_cast<int>(rest % 60);
    time.millisecond = millisecond;
    return time;
}

void composeDumpName(std::int64_t seconds, long nanoseconds, long utc_offset_s, SafeText& name) {
    const SafeTime time = civilTime(seconds + utc_offset_s, static_cast<int>(nanoseconds / 1000000));
    // Multiply-xorshift rounds: neighbouring times must not share their digits.
    auto mixed = static_cast<std::uint64_t>(nanoseconds) * 0x9E3779B97F4A7C15ULL;
    mixed = (mixed ^ mixed >> 30U) * 0xBF58476D1CE4E5B9ULL;
    const auto suffix = (mixed ^ mixed >> 31U) % 100;
    name.dec(time.year, 4).add("-").dec(time.month, 2).add("-").dec(time.day, 2).add("-").dec(time.hour, 2);
    name.add("-").dec(time.minute, 2).add("-").dec(time.second, 2).add("-").dec(time.millisecond, 2);
    name.add("-").dec(static_cast<std::int64_t>(suffix), 2).add(".dmp");
}

int openDumpFile(const char* name) { return ::open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644); }

bool writeAll(int fd, const void* data, std::size_t n) {
    const char* at = static_cast<const char*>(data);
    while (n > 0) {
        const ssize_t written = ::write(fd, at, n);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        at += written;
        n -= static_cast<std::size_t>(written);
    }
    return true;
}

bool readMemory(std::uint64_t address, void* out, std::size_t n) {
    const iovec local{out, n};
    const iovec remote{reinterpret_cast<void*>(address), n};
    return ::process_vm_readv(::getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(n);
}

MapReader::MapReader() : m_fd(::open("/proc/self/maps", O_RDONLY | O_CLOEXEC)) {}

MapReader::~MapReader() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

bool MapReader::nextLine() {
    std::size_t length = 0;
    while (m_fd >= 0) {
        if (m_next == m_held) {
            const ssize_t got = ::read(m_fd, m_buffer, sizeof m_buffer);
            if (got <= 0) {
                return false;
            }
            m_held = static_cast<std::size_t>(got);
            m_next = 0;
        }
        const char c = m_buffer[m_next++];
        if (c == '\n') {
            m_line[length] = '\0';
            return true;
        }
        if (length + 1 < sizeof m_line) {
            m_line[length++] = c;
        }
    }
    return false;
}

namespace {

std::uint64_t parseHex(const char** at) {
    std::uint64_t value = 0;
    for (;; ++*at) {
        const char c = **at;
        if (c >= '0' && c <= '9') {
            value = value << 4 | static_cast<std::uint64_t>(c - '0');
        } else if (c >= 'a' && c <= 'f') {
            value = value << 4 | static_cast<std::uint64_t>(c - 'a' + 10);
        } else {
            return value;
        }
    }
}

}  // namespace

// A line reads "begin-end rwxp offset device inode   path".
bool MapReader::next(Mapping* out) {
    if (!nextLine()) {
        return false;
    }
    const char* at = m_line;
    out->begin = parseHex(&at);
    at += *at == '-' ? 1 : 0;
    out->end = parseHex(&at);
    at += *at == ' ' ? 1 : 0;
    out->readable = *at == 'r';
    while (*at != '\0' && *at != ' ') {
        ++at;
    }
    at += *at == ' ' ? 1 : 0;
    out->offset = parseHex(&at);
    const char* path = std::strchr(at, '/');
    out->path = path != nullptr ? path : m_line + std::strlen(m_line);
    return true;
}

}  // namespace platform
