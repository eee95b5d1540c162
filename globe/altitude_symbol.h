// How a shape lies to the terrain.
#pragma once

#include "globe/symbol.h"

namespace globe {

// Lines run at their points' own altitudes and areas are draped, whatever is set here; the rest is kept for
// whoever asks a style for it.
class AltitudeSymbol : public Symbol {
public:
    enum Clamping {
        CLAMP_NONE = 0,
        CLAMP_TO_TERRAIN = 1,
        CLAMP_RELATIVE_TO_TERRAIN = 2,
        CLAMP_ABSOLUTE = 3,
    };
    enum Technique { TECHNIQUE_MAP = 0, TECHNIQUE_SCENE = 1, TECHNIQUE_GPU = 2, TECHNIQUE_DRAPE = 3 };

    Clamping& clamping() { return m_clamping; }
    Clamping clamping() const { return m_clamping; }
    Technique& technique() { return m_technique; }
    Technique technique() const { return m_technique; }
    // Metres; without effect on what is draped.
    double& verticalOffset() { return m_vertical_offset; }
    double verticalOffset() const { return m_vertical_offset; }

private:
    Clamping m_clamping = CLAMP_NONE;
    Technique m_technique = TECHNIQUE_MAP;
    double m_vertical_offset = 0.0;
};

}  // namespace globe
