// What the whole process shares.
#pragma once

#include <osg/ref_ptr>

#include "globe/object_index.h"

namespace globe {

class Registry {
public:
    static Registry* instance();
    ObjectIndex* getObjectIndex() const { return m_object_index.get(); }

private:
    Registry();
    osg::ref_ptr<ObjectIndex> m_object_index;
};

}  // namespace globe
