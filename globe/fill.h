// How an area is filled.
#pragma once

#include "globe/color.h"

namespace globe {

class Fill {
public:
    Fill() = default;
    explicit Fill(const Color& color) : m_color(color) {}
    Fill(const Color& color, float alpha) : m_color(color, alpha) {}

    Color& color() { return m_color; }
    const Color& color() const { return m_color; }

private:
    Color m_color;
};

}  // namespace globe
