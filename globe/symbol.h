// What a style is made of.
#pragma once

#include <osg/Referenced>

namespace globe {

// One aspect of how something looks; reference-counted, as styles that are copied share their symbols.
class Symbol : public osg::Referenced {
protected:
    ~Symbol() override = default;
};

}  // namespace globe
