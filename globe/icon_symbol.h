// The picture of a place mark.
#pragma once

#include <string>

#include "globe/symbol.h"

namespace globe {

class IconSymbol : public Symbol {
public:
    // Which point of the picture lies on the place.
    enum Alignment { ALIGN_CENTER_BOTTOM, ALIGN_CENTER_CENTER };

    // A file that the scene graph's readers know, relative to the working directory.
    std::string& url() { return m_url; }
    const std::string& url() const { return m_url; }
    Alignment& alignment() { return m_alignment; }
    Alignment alignment() const { return m_alignment; }
    // Whether the mark gives way to others that it would cover.
    bool& declutter() { return m_declutter; }
    bool declutter() const { return m_declutter; }
    // Its size on the screen, in units of the picture's own pixels.
    double& scale() { return m_scale; }
    double scale() const { return m_scale; }

private:
    std::string m_url;
    Alignment m_alignment = ALIGN_CENTER_BOTTOM;
    bool m_declutter = false;
    double m_scale = 1.0;
};

}  // namespace globe
