#include <windows.h>

#include <string>

#include "platform/autostart.h"

namespace platform {
namespace {

std::wstring wide(const std::string& utf8) {
    const int length =
        MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), text.data(), length);
    return text;
}

std::wstring present(HKEY key, const std::wstring& name) {
    DWORD bytes = 0;
    if (RegGetValueW(key, nullptr, name.c_str(), RRF_RT_REG_SZ, nullptr, nullptr, &bytes) != ERROR_SUCCESS) {
        return {};
    }
    std::wstring text(bytes / sizeof(wchar_t), L'\0');
    if (RegGetValueW(key, nullptr, name.c_str(), RRF_RT_REG_SZ, nullptr, text.data(), &bytes) !=
        ERROR_SUCCESS) {
        return {};
    }
    text.resize(wcslen(text.c_str()));
    return text;
}

}  // namespace

void registerAutostart(const std::string& name, const std::string& program_path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run", 0,
                      KEY_READ | KEY_WRITE | KEY_WOW64_64KEY, &key) != ERROR_SUCCESS) {
        return;
    }
    const std::wstring path = wide(program_path);
    if (present(key, wide(name)) != path) {
        RegSetValueExW(key, wide(name).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(path.c_str()),
                       static_cast<DWORD>((path.size() + 1) * sizeof(wchar_t)));
    }
    RegCloseKey(key);
}

}  // namespace platform
