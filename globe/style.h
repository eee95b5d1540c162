// How something on the globe looks.
#pragma once

#include <osg/ref_ptr>
#include <string>
#include <utility>
#include <vector>

#include "globe/symbol.h"

namespace globe {

// A set of symbols, one a kind. A copy shares the symbols of its original. A node reads its style when it is
// made or given one; symbols that are changed later do not move it.
class Style {
public:
    Style() = default;
    explicit Style(std::string name) : m_name(std::move(name)) {}

    const std::string& getName() const { return m_name; }
    void setName(const std::string& name) { m_name = name; }
    bool empty() const { return m_symbols.empty(); }

    // The symbol of this kind, made with its defaults if there is none; never null.
    template <typename T>
    T* getOrCreate() {
        if (T* symbol = find<T>()) {
            return symbol;
        }
        osg::ref_ptr<T> symbol = new T;
        m_symbols.push_back(symbol.get());
        return symbol.get();
    }

    // Null if there is none.
    template <typename T>
    const T* get() const {
        return find<T>();
    }

    template <typename T>
    bool has() const {
        return find<T>() != nullptr;
    }

private:
    template <typename T>
    T* find() const {
        for (const auto& symbol : m_symbols) {
            if (T* found = dynamic_cast<T*>(symbol.get())) {
                return found;
            }
        }
        return nullptr;
    }

    std::string m_name;
    std::vector<osg::ref_ptr<Symbol>> m_symbols;
};

}  // namespace globe
