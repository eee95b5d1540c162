#include "globe/globe_config.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>
#include <utility>

namespace globe {
namespace {

// Whole texts only, with a point whatever the locale.
bool readNumber(const std::string& text, double& out) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    double number = 0.0;
    if (!(stream >> number) || !std::isfinite(number) || !(stream >> std::ws).eof()) {
        return false;
    }
    out = number;
    return true;
}

}  // namespace

Config::Config(std::string key, std::string value) : m_key(std::move(key)), m_value(std::move(value)) {}

const Config* Config::find(const std::string& name) const {
    const auto found = std::find_if(m_children.begin(), m_children.end(),
                                    [&name](const Config& child) { return child.m_key == name; });
    return found != m_children.end() ? &*found : nullptr;
}

std::string Config::value(const std::string& name) const { return child(name).m_value; }

const Config& Config::child(const std::string& name) const {
    static const Config none;
    const Config* found = find(name);
    return found != nullptr ? *found : none;
}

Config& Config::add(Config child) {
    m_children.push_back(std::move(child));
    return m_children.back();
}

void Config::set(const std::string& name, const std::string& value) {
    m_children.remove_if([&name](const Config& child) { return child.m_key == name; });
    add(Config(name, value));
}

void Config::set(const std::string& name, double value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.precision(17);
    stream << value;
    set(name, stream.str());
}

bool Config::get(const std::string& name, double& out) const { return readNumber(value(name), out); }

bool Config::get(const std::string& name, int& out) const {
    double number = 0.0;
    if (!readNumber(value(name), number) || std::fabs(number) > 2e9 || number != std::floor(number)) {
        return false;
    }
    out = static_cast<int>(number);
    return true;
}

bool Config::get(const std::string& name, bool& out) const {
    const std::string text = value(name);
    const bool yes = text == "true" || text == "yes" || text == "1" || text == "on";
    const bool no = text == "false" || text == "no" || text == "0" || text == "off";
    if (yes || no) {
        out = yes;
    }
    return yes || no;
}

bool Config::get(const std::string& name, std::string& out) const {
    const Config* found = find(name);
    if (found != nullptr) {
        out = found->m_value;
    }
    return found != nullptr;
}

}  // namespace globe
