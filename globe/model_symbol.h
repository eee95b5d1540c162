// The model of a model node.
#pragma once

#include <string>

#include "globe/symbol.h"

namespace globe {

class ModelSymbol : public Symbol {
public:
    // What the scene graph's readers know, pseudo-loaders included: "plane.osgb.10.scale" is ten times as
    // large.
    std::string& url() { return m_url; }
    const std::string& url() const { return m_url; }
    double& scale() { return m_scale; }
    double scale() const { return m_scale; }

private:
    std::string m_url;
    double m_scale = 1.0;
};

}  // namespace globe
