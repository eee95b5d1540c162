#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "platform/autostart.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

fs::path autostartFolder() {
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config != nullptr && *config != '\0') {
        return fs::path(config) / "autostart";
    }
    const char* home = std::getenv("HOME");
    return fs::path(home != nullptr ? home : "/") / ".config" / "autostart";
}

// Quotes and the characters that stay special inside them are escaped, for the command line first and then as
// a value of the file; a lone percent sign would begin a field of its own.
std::string quoted(const std::string& path) {
    std::string text;
    for (const char c : path) {
        switch (c) {
            case '\\':
                text += "\\\\\\\\";
                break;
            case '"':
            case '`':
            case '$':
                text += "\\\\";
                text += c;
                break;
            case '%':
                text += "%%";
                break;
            default:
                text += c;
        }
    }
    return text;
}

}  // namespace

void registerAutostart(const std::string& name, const std::string& program_path) {
    const std::string entry =
        "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=\"" + quoted(program_path) + "\"\n";
    const fs::path folder = autostartFolder();
    const fs::path file = folder / (name + ".desktop");
    std::ifstream present(file, std::ios::binary);
    if (present && std::string(std::istreambuf_iterator<char>(present), {}) == entry) {
        return;
    }
    std::error_code ignored;
    fs::create_directories(folder, ignored);
    // Replaced whole: a full disk leaves the old entry.
    const fs::path fresh = folder / (name + ".desktop.new");
    std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
    out << entry;
    out.close();
    if (out) {
        fs::rename(fresh, file, ignored);
    } else {
        fs::remove(fresh, ignored);
    }
}

}  // namespace platform
