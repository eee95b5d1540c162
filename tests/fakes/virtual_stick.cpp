// A game controller for a program that knows nothing of it: preloaded, this library plugs a virtual one into
// SDL and moves it as it is told over a socket.
//
// SORVANE_VIRTUAL_STICK is the path of the socket (local, datagrams) that it makes. Each datagram is carried
// out at the program's next look at its controllers, whole, and answered by "done" or "error" to a sender
// that has a name. Lines of a datagram:
//   plug AXES BUTTONS HATS PRODUCT [pad]     pad: SDL takes it for a gamepad with triggers
//   axis NUMBER -32768..32767
//   button NUMBER 0|1
//   hat NUMBER 0..15                         SDL's bits: 1 up, 2 right, 4 down, 8 left
//   pull
#include <SDL.h>
#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

namespace {

class VirtualStick {
public:
    VirtualStick() {
        const char* path = std::getenv("SORVANE_VIRTUAL_STICK");
        if (path == nullptr || std::strlen(path) >= sizeof(sockaddr_un::sun_path)) {
            return;
        }
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::strcpy(name.sun_path, path);
        unlink(path);
        m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (bind(m_socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
            std::perror("virtual stick");
            close(m_socket);
            m_socket = -1;
        }
    }

    void serve() {
        if (m_socket < 0) {
            return;
        }
        char buffer[4096];
        sockaddr_un from{};
        socklen_t size = sizeof from;
        const ssize_t n =
            recvfrom(m_socket, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &size);
        if (n < 0) {
            return;
        }
        std::istringstream lines(std::string(buffer, static_cast<std::size_t>(n)));
        bool good = true;
        for (std::string line; std::getline(lines, line);) {
            good = run(line) && good;
        }
        const char* answer = good ? "done" : "error";
        if (size > sizeof(sa_family_t)) {
            sendto(m_socket, answer, std::strlen(answer), 0, reinterpret_cast<const sockaddr*>(&from), size);
        }
    }

private:
    bool run(const std::string& line) {
        std::istringstream words(line);
        std::string what;
        int number = 0, value = 0;
        words >> what;
        if (what == "plug") {
            return plug(words);
        }
        if (m_handle == nullptr) {
            return false;
        }
        if (what == "pull") {
            return pull();
        }
        if (!(words >> number >> value)) {
            return false;
        }
        if (what == "axis") {
            return SDL_JoystickSetVirtualAxis(m_handle, number, static_cast<Sint16>(value)) == 0;
        }
        if (what == "button") {
            return SDL_JoystickSetVirtualButton(m_handle, number, static_cast<Uint8>(value)) == 0;
        }
        return what == "hat" && SDL_JoystickSetVirtualHat(m_handle, number, static_cast<Uint8>(value)) == 0;
    }

    bool plug(std::istringstream& words) {
        int axes = 0, buttons = 0, hats = 0, product = 0;
        std::string kind;
        if (m_handle != nullptr || !(words >> axes >> buttons >> hats >> product)) {
            return false;
        }
        words >> kind;
        SDL_VirtualJoystickDesc desc{};
        desc.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
        desc.type = kind == "pad" ? SDL_JOYSTICK_TYPE_GAMECONTROLLER : SDL_JOYSTICK_TYPE_FLIGHT_STICK;
        desc.naxes = static_cast<Uint16>(axes);
        desc.nbuttons = static_cast<Uint16>(buttons);
        desc.nhats = static_cast<Uint16>(hats);
        desc.vendor_id = 0x1209;  // without one SDL forgets the product
        desc.product_id = static_cast<Uint16>(product);
        desc.name = "Virtual stick";
        const int index = SDL_JoystickAttachVirtualEx(&desc);
        m_handle = index >= 0 ? SDL_JoystickOpen(index) : nullptr;
        return m_handle != nullptr;
    }

    bool pull() {
        const SDL_JoystickID mine = SDL_JoystickInstanceID(m_handle);
        for (int index = 0; index < SDL_NumJoysticks(); ++index) {
            if (SDL_JoystickGetDeviceInstanceID(index) == mine) {
                SDL_JoystickDetachVirtual(index);
                break;
            }
        }
        SDL_JoystickClose(m_handle);
        m_handle = nullptr;
        return true;
    }

    int m_socket = -1;
    SDL_Joystick* m_handle = nullptr;
};

}  // namespace

// The program's own call comes here first, on the program's own thread.
extern "C" __attribute__((visibility("default"))) void SDLCALL SDL_JoystickUpdate(void) {
    using Update = void (*)();
    static const auto update = reinterpret_cast<Update>(dlsym(RTLD_NEXT, "SDL_JoystickUpdate"));
    static VirtualStick stick;
    stick.serve();
    update();
}
