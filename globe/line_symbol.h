// The look of a line.
#pragma once

#include "globe/stroke.h"
#include "globe/symbol.h"

namespace globe {

class LineSymbol : public Symbol {
public:
    Stroke& stroke() { return m_stroke; }
    const Stroke& stroke() const { return m_stroke; }

private:
    Stroke m_stroke;
};

}  // namespace globe
