#include "oskel/oskel.h"

#include <exception>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "oskel/address.h"
#include "oskel/datagram_port.h"
#include "oskel/serial_port.h"
#include "oskel/stream_port.h"
#include "oskel/system.h"

namespace oskel {
namespace {

class OpenPorts {
public:
    int add(std::shared_ptr<Port> port) {
        std::lock_guard lock(m_mutex);
        while (m_ports.count(m_next) != 0) {
            advance();
        }
        const int handle = m_next;
        m_ports.emplace(handle, std::move(port));
        advance();
        return handle;
    }

    std::shared_ptr<Port> find(int handle) {
        std::lock_guard lock(m_mutex);
        const auto found = m_ports.find(handle);
        return found == m_ports.end() ? nullptr : found->second;
    }

    std::shared_ptr<Port> remove(int handle) {
        std::lock_guard lock(m_mutex);
        const auto found = m_ports.find(handle);
        if (found == m_ports.end()) {
            return nullptr;
        }
        auto port = std::move(found->second);
        m_ports.erase(found);
        return port;
    }

private:
    // A number comes round only after all others, so that one kept after its close does not hit a newer port.
    void advance() { m_next = m_next == std::numeric_limits<int>::max() ? 1 : m_next + 1; }

    std::mutex m_mutex;
    std::map<int, std::shared_ptr<Port>> m_ports;
    int m_next = 1;
};

// Never destroyed: threads may still use it while the program ends.
OpenPorts& openPorts() {
    static OpenPorts* const ports = new OpenPorts;
    return *ports;
}

// Runs `open`, which gives a port that is ready to start, or none. A system without a descriptor or memory to
// spare speaks in exceptions.
template <typename Open>
int dial(int failed, Open open) {
    try {
        const std::shared_ptr<Port> port = open();
        if (port == nullptr || !port->start()) {
            return failed;
        }
        return openPorts().add(port);
    } catch (const std::exception&) {
        return failed;
    }
}

bool hasControlCharacters(const std::string& text) {
    for (const unsigned char letter : text) {
        if (letter < 0x20 || letter == 0x7F) {
            return true;
        }
    }
    return false;
}

// False for texts that make no route. An empty remote is a port that only receives.
bool makeRoute(const char* remote_ip, int remote_port, const char* local_ip, int local_port,
               DatagramRoute& route) {
    if (remote_ip == nullptr || local_ip == nullptr) {
        return false;
    }
    if (!isPort(remote_port) || !isPort(local_port)) {
        return false;
    }
    if (*remote_ip == '\0' && remote_port != 0) {
        return false;
    }
    auto local = parseAddress(local_ip);
    auto remote = parseAddress(remote_ip);
    if ((!local && *local_ip != '\0') || (!remote && *remote_ip != '\0')) {
        return false;
    }
    const bool is_v6 = remote ? remote->is_v6() : local && local->is_v6();
    const asio::ip::address any = is_v6 ? asio::ip::address(asio::ip::address_v6::any())
                                        : asio::ip::address(asio::ip::address_v4::any());
    if (local.value_or(any).is_v6() != is_v6) {
        return false;
    }
    const auto peer = remote.value_or(any);
    route.local = {bindAddress(local.value_or(any), peer), static_cast<unsigned short>(local_port)};
    route.remote = {peer, static_cast<unsigned short>(remote_port)};
    return true;
}

}  // namespace

int dialDatagram(const char* remote_ip, int remote_port, const char* local_ip, int local_port,
                 ReceiveCallback on_bytes) {
    return dial(-1, [&]() -> std::shared_ptr<Port> {
        DatagramRoute route;
        if (!makeRoute(remote_ip, remote_port, local_ip, local_port, route)) {
            return nullptr;
        }
        auto port = std::make_shared<DatagramPort>(route, std::move(on_bytes));
        return port->open() ? port : nullptr;
    });
}

int dialStream(const char* remote_ip, int port_number, ReceiveCallback on_bytes) {
    return dial(0, [&]() -> std::shared_ptr<Port> {
        const auto remote = parseAddress(remote_ip);
        if (!remote || !isPort(port_number) || port_number == 0) {
            return nullptr;
        }
        auto port = std::make_shared<StreamPort>(std::move(on_bytes));
        return port->connect({*remote, static_cast<unsigned short>(port_number)}) ? port : nullptr;
    });
}

int dialSerial(const char* port_name, int baud, ReceiveCallback on_bytes) {
    return dial(-1, [&]() -> std::shared_ptr<Port> {
        if (port_name == nullptr || baud <= 0 || hasControlCharacters(port_name)) {
            return nullptr;
        }
        const std::string device = system::serialDevice(port_name);
        if (device.empty()) {
            return nullptr;
        }
        auto port = std::make_shared<SerialPort>(std::move(on_bytes));
        return port->open(device, static_cast<unsigned int>(baud)) ? port : nullptr;
    });
}

int push_bytes(const void* data, int length, int handle) {
    if (length < 0 || (data == nullptr && length > 0)) {
        return -1;
    }
    const auto port = openPorts().find(handle);
    if (port == nullptr) {
        return -1;
    }
    return length == 0 ? 0
                       : port->push(static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(length));
}

int hang_up(int handle) {
    const auto port = openPorts().remove(handle);
    if (port == nullptr) {
        return -1;
    }
    port->hang_up();
    return 0;
}

void mark_ahead(int handle) {
    if (const auto port = openPorts().find(handle)) {
        port->markAhead();
    }
}

int line_busy_ms(int handle) {
    const auto port = openPorts().find(handle);
    return port == nullptr ? 0 : port->lineBusyMs();
}

SendTrouble send_trouble(int handle) {
    const auto port = openPorts().find(handle);
    return port == nullptr ? SendTrouble::kNone : port->sendTrouble();
}

}  // namespace oskel
