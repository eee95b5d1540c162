// The look of an area.
#pragma once

#include "globe/fill.h"
#include "globe/symbol.h"

namespace globe {

class PolygonSymbol : public Symbol {
public:
    Fill& fill() { return m_fill; }
    const Fill& fill() const { return m_fill; }

private:
    Fill m_fill;
};

}  // namespace globe
