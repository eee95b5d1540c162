// A tree of keys and values, as layers and options are described by.
#pragma once

#include <list>
#include <string>

namespace globe {

class Config {
public:
    Config() = default;
    explicit Config(std::string key, std::string value = {});

    const std::string& key() const { return m_key; }
    // Of this node.
    const std::string& value() const { return m_value; }
    // Of the first child called `name`; empty if there is none.
    std::string value(const std::string& name) const;
    bool hasValue(const std::string& name) const { return !value(name).empty(); }
    bool hasChild(const std::string& name) const { return find(name) != nullptr; }
    // The first child called `name`; an empty one if there is none.
    const Config& child(const std::string& name) const;
    const std::list<Config>& children() const { return m_children; }

    // A child beside those of the same name, and in place of them.
    Config& add(Config child);
    void set(const std::string& name, const std::string& value);
    void set(const std::string& name, double value);
    void setValue(const std::string& value) { m_value = value; }

    // False, with `out` untouched, where the child is missing or is no number, or no yes or no.
    bool get(const std::string& name, double& out) const;
    bool get(const std::string& name, int& out) const;
    bool get(const std::string& name, bool& out) const;
    bool get(const std::string& name, std::string& out) const;

private:
    const Config* find(const std::string& name) const;

    std::string m_key;
    std::string m_value;
    std::list<Config> m_children;
};

}  // namespace globe
