// How features become geometry.
#pragma once

#include "globe/globe_config.h"

namespace globe {

class GeometryCompilerOptions {
public:
    GeometryCompilerOptions() = default;
    // Reads "max_step" (metres).
    explicit GeometryCompilerOptions(const Config& config) { config.get("max_step", m_max_step_m); }

    // The longest straight piece of a line between two points far apart, unless it took more than 256.
    double& maxStep() { return m_max_step_m; }
    double maxStep() const { return m_max_step_m; }

private:
    double m_max_step_m = 5000.0;
};

}  // namespace globe
