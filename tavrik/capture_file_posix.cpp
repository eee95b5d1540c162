#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "tavrik/capture_file.h"

namespace tavrik {

bool CaptureFile::fail(const std::string& what) {
    m_error = what;
    return false;
}

bool CaptureFile::open(const std::string& path) {
    close();
    m_size = 0;
    m_handle = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return m_handle >= 0 || fail(std::generic_category().message(errno));
}

bool CaptureFile::append(const std::uint8_t* data, std::size_t size) {
    const int file = static_cast<int>(m_handle);
    struct stat state {};
    if (::fstat(file, &state) != 0) {
        return fail(std::generic_category().message(errno));
    }
    if (S_ISREG(state.st_mode) && state.st_nlink == 0) {
        return fail("the file was removed");
    }
    for (std::size_t done = 0; done < size;) {
        const ssize_t written = ::write(file, data + done, size - done);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            fail(std::generic_category().message(written < 0 ? errno : EIO));
            // Players read on to the place where a piece is cut short, but complain of it.
            if (::ftruncate(file, m_size) != 0) {
                m_error += ", the last piece is cut short";
            }
            return false;
        }
        done += static_cast<std::size_t>(written);
    }
    m_size += static_cast<std::int64_t>(size);
    return true;
}

bool CaptureFile::close() {
    if (m_handle < 0) {
        return true;
    }
    const int result = ::close(static_cast<int>(m_handle));
    m_handle = -1;
    return result == 0 || fail(std::generic_category().message(errno));
}

}  // namespace tavrik
