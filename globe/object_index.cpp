#include "globe/object_index.h"

#include <osg/Drawable>
#include <osg/NodeVisitor>
#include <osg/StateSet>
#include <osg/Uniform>

namespace globe {
namespace {

constexpr ObjectID kLastID = 0xFFFFFF;

void tag(osg::Node& node, ObjectID id) {
    node.getOrCreateStateSet()->addUniform(
        new osg::Uniform(ObjectIndex::uniformName(), ObjectIndex::colorOf(id)));
}

class TagDrawables : public osg::NodeVisitor {
public:
    explicit TagDrawables(ObjectID id) : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN), m_id(id) {
        setNodeMaskOverride(~0u);
    }
    void apply(osg::Drawable& drawable) override { tag(drawable, m_id); }

private:
    ObjectID m_id;
};

}  // namespace

osg::Vec4f ObjectIndex::colorOf(ObjectID id) {
    const auto part = [id](int shift) { return static_cast<float>((id >> shift) & 0xFFu) / 255.0f; };
    return {part(0), part(8), part(16), part(24)};
}

ObjectID ObjectIndex::idOf(const std::uint8_t rgba[4]) {
    return static_cast<ObjectID>(rgba[0]) | static_cast<ObjectID>(rgba[1]) << 8 |
           static_cast<ObjectID>(rgba[2]) << 16 | static_cast<ObjectID>(rgba[3]) << 24;
}

ObjectID ObjectIndex::insert(osg::Referenced* object) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    // What is gone makes room, so that rebuilt marks do not fill the table.
    if (m_objects.size() >= 1024 && (m_last & 1023u) == 0) {
        for (auto at = m_objects.begin(); at != m_objects.end();) {
            at = at->second.valid() ? std::next(at) : m_objects.erase(at);
        }
    }
    do {
        if (m_last >= kLastID) {
            return OBJECTID_EMPTY;
        }
        ++m_last;
    } while (m_objects.count(m_last) != 0);
    m_objects[m_last] = object;
    return m_last;
}

void ObjectIndex::tagNode(osg::Node* node, ObjectID id) {
    if (id == OBJECTID_EMPTY || id > kLastID) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        osg::observer_ptr<osg::Referenced>& known = m_objects[id];
        if (!known.valid()) {
            known = node;
        }
    }
    tag(*node, id);
}

ObjectID ObjectIndex::tagNode(osg::Node* node, osg::Referenced* object) {
    const ObjectID id = insert(object);
    tag(*node, id);
    return id;
}

ObjectID ObjectIndex::tagAllDrawables(osg::Node* node, osg::Referenced* object) {
    const ObjectID id = insert(object);
    TagDrawables visitor(id);
    node->accept(visitor);
    return id;
}

void ObjectIndex::remove(ObjectID id) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_objects.erase(id);
}

std::size_t ObjectIndex::size() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_objects.size();
}

osg::ref_ptr<osg::Referenced> ObjectIndex::find(ObjectID id) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_objects.find(id);
    osg::ref_ptr<osg::Referenced> object;
    if (found != m_objects.end()) {
        found->second.lock(object);
    }
    return object;
}

}  // namespace globe
