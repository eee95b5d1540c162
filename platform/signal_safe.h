// The few services that a fatal-signal handler may use: no allocation, no locks, no stdio.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

// Collects text in a fixed buffer and drops what does not fit; always terminated.
class SafeText {
public:
    SafeText& add(const char* text);
    // Decimal, padded with zeros to at least `width` digits.
    SafeText& dec(std::int64_t value, int width = 1);
    SafeText& hex(std::uint64_t value);
    const char* c_str() const { return m_text; }
    std::size_t size() const { return m_size; }

private:
    void put(char c);

    char m_text[512] = {};
    std::size_t m_size = 0;
};

struct SafeTime {
    int year, month, day, hour, minute, second, millisecond;
};

// Calendar time of a count of seconds since 1970-01-01, proleptic Gregorian (days-to-civil by 400-year eras).
SafeTime civilTime(std::int64_t seconds, int millisecond);

// Name of the dump of a crash at that instant: local time (utc_offset_s seconds east of UTC), milliseconds,
// and two digits from the nanoseconds, so that crashes of one millisecond mostly differ; rand() is not safe
// in a handler.
void composeDumpName(std::int64_t seconds, long nanoseconds, long utc_offset_s, SafeText& name);

// Creates the file, over an older one of that name; -1 with errno on failure.
int openDumpFile(const char* name);

// Writes everything, through interruptions; false when the system refuses.
bool writeAll(int fd, const void* data, std::size_t n);

// Copies `n` bytes of this process's memory; false instead of a fault where nothing is mapped.
bool readMemory(std::uint64_t address, void* out, std::size_t n);

// One line of the memory map.
struct Mapping {
    std::uint64_t begin, end, offset;
    bool readable;
    const char* path;  // empty text without a file; valid until the next line
};

// Reads /proc/self/maps line by line with a fixed buffer.
class MapReader {
public:
    MapReader();
    ~MapReader();
    MapReader(const MapReader&) = delete;
    MapReader& operator=(const MapReader&) = delete;
    bool next(Mapping* out);

private:
    bool nextLine();

    int m_fd;
    char m_buffer[8192];
    std::size_t m_held = 0;
    std::size_t m_next = 0;
    char m_line[1024];
};

}  // namespace platform
