// A file that grows by whole pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tavrik {

// Not thread-safe; calls wait for the disk. Where an operation fails error() tells why.
class CaptureFile {
public:
    CaptureFile() = default;
    ~CaptureFile() { close(); }
    CaptureFile(const CaptureFile&) = delete;
    CaptureFile& operator=(const CaptureFile&) = delete;

    // path: UTF-8. A file of that name is begun anew.
    bool open(const std::string& path);
    // Whole or not at all: of a piece for which there is no room nothing stays. False too once the file has
    // no name any more, since nobody could ever read it.
    bool append(const std::uint8_t* data, std::size_t size);
    bool close();
    const std::string& error() const { return m_error; }

private:
    bool fail(const std::string& what);

    std::intptr_t m_handle = -1;
    std::int64_t m_size = 0;
    std::string m_error;
};

}  // namespace tavrik
