// Numbers for what can be picked: the picker draws them as colours.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <osg/Node>
#include <osg/observer_ptr>
#include <osg/ref_ptr>

namespace globe {

using ObjectID = std::uint32_t;
constexpr ObjectID OBJECTID_EMPTY = 0;

// Knows objects without owning them. Usable from any thread; tagging changes a node and belongs to its
// thread.
class ObjectIndex : public osg::Referenced {
public:
    // Under this name each tagged node's state set has a vec4 uniform: the number's bytes as red, green,
    // blue, alpha (lowest first), each divided by 255.
    static const char* uniformName() { return "globe_object_id"; }
    static osg::Vec4f colorOf(ObjectID id);
    // From bytes read back, red first.
    static ObjectID idOf(const std::uint8_t rgba[4]);

    // A new number, never used before in this process (below 2^24, so that alpha stays out of it). It skips
    // those that callers have chosen.
    ObjectID insert(osg::Referenced* object);
    // Numbers the object and marks what is drawn below `node`, or the node's drawables, with it.
    ObjectID tagNode(osg::Node* node, osg::Referenced* object);
    ObjectID tagAllDrawables(osg::Node* node, osg::Referenced* object);
    // Marks what is drawn below `node` with a number of the caller's own, below 2^24, which stands for the
    // node from then on unless it stands for something already. Nothing for OBJECTID_EMPTY.
    void tagNode(osg::Node* node, ObjectID id);
    void remove(ObjectID id);

    // Null if the number was never given, or the object is gone or of another class.
    template <typename T>
    osg::ref_ptr<T> get(ObjectID id) const {
        osg::ref_ptr<osg::Referenced> object = find(id);
        return osg::ref_ptr<T>(dynamic_cast<T*>(object.get()));
    }
    std::size_t size() const;

private:
    osg::ref_ptr<osg::Referenced> find(ObjectID id) const;

    mutable std::mutex m_mutex;
    std::map<ObjectID, osg::observer_ptr<osg::Referenced>> m_objects;
    ObjectID m_last = OBJECTID_EMPTY;
};

}  // namespace globe
