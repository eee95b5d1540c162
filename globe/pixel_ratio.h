// Windows whose pixels are finer than the lengths that the program gives.
#pragma once

#include <osg/GraphicsContext>

namespace globe {

// A graphics context that knows its display.
class PixelRatio {
public:
    // Pixels a unit of length of the program; above 0.
    virtual double pixelRatio() const = 0;

protected:
    ~PixelRatio() = default;
};

// 1 for a context that says nothing.
inline double pixelRatioOf(const osg::GraphicsContext* context) {
    const auto* const display = dynamic_cast<const PixelRatio*>(context);
    return display != nullptr ? display->pixelRatio() : 1.0;
}

}  // namespace globe
