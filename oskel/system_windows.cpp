#include <algorithm>
#include <cctype>
#include <cstring>

#include "oskel/system.h"

namespace oskel::system {
namespace {

void doNotInherit(HANDLE handle) { ::SetHandleInformation(handle, HANDLE_FLAG_INHERIT, 0); }

}  // namespace

std::string serialDevice(const std::string& port_name) {
    const std::string prefix = "\\\\.\\";
    std::string name = port_name;
    if (name.compare(0, prefix.size(), prefix) == 0) {
        name.erase(0, prefix.size());
    }
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    const auto is_digit = [](unsigned char letter) { return std::isdigit(letter) != 0; };
    // Under the prefix lie disks and pipes too.
    if (name.compare(0, 3, "COM") != 0 || name.size() < 4 || name.size() > 6) {
        return {};
    }
    if (!std::all_of(name.begin() + 3, name.end(), is_digit)) {
        return {};
    }
    return prefix + name;
}

std::size_t unsent(asio::serial_port& line) {
    DWORD errors = 0;
    COMSTAT status{};
    return ::ClearCommError(line.native_handle(), &errors, &status) ? status.cbOutQue : 0;
}

std::size_t unsent(asio::ip::udp::socket&) { return 0; }

// A receive fails with each refusal here, and no more is told.
void reportFailures(asio::ip::udp::socket&) {}

asio::error_code takeReport(asio::ip::udp::socket&) { return {}; }

std::size_t unsent(asio::ip::tcp::socket&) { return 0; }

std::size_t unacknowledged(asio::ip::tcp::socket&) { return 0; }

void discard(asio::serial_port& line) {
    ::PurgeComm(line.native_handle(), PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR);
}

std::size_t writeNow(asio::serial_port&, const std::uint8_t*, std::size_t) { return 0; }

void keepFromChildren(asio::ip::udp::socket& socket) {
    doNotInherit(reinterpret_cast<HANDLE>(static_cast<SOCKET>(socket.native_handle())));
}

void keepFromChildren(asio::ip::tcp::socket& socket) {
    doNotInherit(reinterpret_cast<HANDLE>(static_cast<SOCKET>(socket.native_handle())));
}

void keepFromChildren(asio::serial_port& line) { doNotInherit(line.native_handle()); }

void takeJoinedGroupsOnly(asio::ip::udp::socket&) {
    // The rule of this system already.
}

void nameThisThread(const char* name) {
    // The function is missing before Windows 10.
    using Describe = HRESULT(WINAPI*)(HANDLE, PCWSTR);
    const auto address = ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "SetThreadDescription");
    if (address == nullptr) {
        return;
    }
    Describe describe = nullptr;
    static_assert(sizeof describe == sizeof address);
    std::memcpy(&describe, &address, sizeof describe);
    const std::wstring wide(name, name + std::strlen(name));
    describe(::GetCurrentThread(), wide.c_str());
}

}  // namespace oskel::system
