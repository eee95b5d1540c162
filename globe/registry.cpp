#include "globe/registry.h"

namespace globe {

Registry::Registry() : m_object_index(new ObjectIndex) {}

Registry* Registry::instance() {
    static Registry registry;
    return &registry;
}

}  // namespace globe
