// The label of a place mark.
#pragma once

#include <optional>
#include <string>

#include "globe/fill.h"
#include "globe/stroke.h"
#include "globe/symbol.h"

namespace globe {

class TextSymbol : public Symbol {
public:
    // Height of the letters, in the toolkit's units of length.
    double& size() { return m_size; }
    double size() const { return m_size; }
    Fill& fill() { return m_fill; }
    const Fill& fill() const { return m_fill; }
    // The outline around the letters; without a value there is none.
    std::optional<Stroke>& halo() { return m_halo; }
    const std::optional<Stroke>& halo() const { return m_halo; }
    // A font file; empty stands for the face of labelFont().
    std::string& font() { return m_font; }
    const std::string& font() const { return m_font; }
    // As that of the icon; either of the two makes the mark give way.
    bool& declutter() { return m_declutter; }
    bool declutter() const { return m_declutter; }

private:
    double m_size = 16.0;
    Fill m_fill;
    std::optional<Stroke> m_halo;
    std::string m_font;
    bool m_declutter = false;
};

}  // namespace globe
