#include <windows.h>

#include <string>

#include "platform/show_directory.h"

namespace platform {
namespace {

std::wstring widen(const char* utf8) {
    const int length = MultiByteToWideChar(CP_UTF8, 0, utf8, -1, nullptr, 0);
    if (length <= 1) {
        return std::wstring();
    }
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8, -1, text.data(), length);
    text.pop_back();  // the terminator is counted
    return text;
}

}  // namespace

bool showDirectory(const char* native_path) {
    const std::wstring path = native_path == nullptr ? std::wstring() : widen(native_path);
    if (path.empty() || path.find(L'"') != std::wstring::npos) {
        return false;
    }
    std::wstring command = L"explorer \"" + path + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr,
                       &startup, &process) == 0) {
        return false;
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

}  // namespace platform
