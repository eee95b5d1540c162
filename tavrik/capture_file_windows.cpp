#include <windows.h>

#include <algorithm>
#include <system_error>

#include "tavrik/capture_file.h"

namespace tavrik {
namespace {

constexpr std::size_t kLargestWrite = 64u << 20;

std::wstring wide(const std::string& utf8) {
    const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring out(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), out.data(), size);
    return out;
}

std::string lastError() { return std::system_category().message(static_cast<int>(GetLastError())); }

HANDLE handleOf(std::intptr_t value) { return reinterpret_cast<HANDLE>(value); }

}  // namespace

bool CaptureFile::fail(const std::string& what) {
    m_error = what;
    return false;
}

bool CaptureFile::open(const std::string& path) {
    close();
    m_size = 0;
    const HANDLE file = CreateFileW(wide(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                    nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    m_handle = file == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<std::intptr_t>(file);
    return m_handle != -1 || fail(lastError());
}

bool CaptureFile::append(const std::uint8_t* data, std::size_t size) {
    const HANDLE file = handleOf(m_handle);
    for (std::size_t done = 0; done < size;) {
        DWORD written = 0;
        const auto piece = static_cast<DWORD>(std::min(size - done, kLargestWrite));
        if (WriteFile(file, data + done, piece, &written, nullptr) == FALSE || written == 0) {
            fail(lastError());
            LARGE_INTEGER whole;
            whole.QuadPart = m_size;
            SetFilePointerEx(file, whole, nullptr, FILE_BEGIN);
            SetEndOfFile(file);
            return false;
        }
        done += written;
    }
    m_size += static_cast<std::int64_t>(size);
    return true;
}

bool CaptureFile::close() {
    if (m_handle == -1) {
        return true;
    }
    const bool closed = CloseHandle(handleOf(m_handle)) != FALSE;
    m_handle = -1;
    return closed || fail(lastError());
}

}  // namespace tavrik
