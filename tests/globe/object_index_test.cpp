#include "globe/object_index.h"

#include <gtest/gtest.h>

#include <osg/Group>
#include <osg/Uniform>

namespace globe {
namespace {

TEST(Numbers, MayBeTheCallersOwn) {
    const osg::ref_ptr<ObjectIndex> index = new ObjectIndex;
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    const osg::ref_ptr<osg::Group> other = new osg::Group;
    const ObjectID first = index->insert(other);
    index->tagNode(node, first + 1);
    EXPECT_EQ(index->get<osg::Group>(first + 1), node);
    osg::Vec4f color;
    ASSERT_TRUE(node->getStateSet()->getUniform(ObjectIndex::uniformName())->get(color));
    EXPECT_EQ(color, ObjectIndex::colorOf(first + 1));
    // The next of the index' own is another one.
    EXPECT_EQ(index->insert(other), first + 2);
    // What a number stands for already, it goes on to stand for.
    index->tagNode(node, first);
    EXPECT_EQ(index->get<osg::Group>(first), other);
    const std::size_t before = index->size();
    index->tagNode(node, OBJECTID_EMPTY);
    index->tagNode(node, 1u << 24);
    EXPECT_EQ(index->size(), before);
}

}  // namespace
}  // namespace globe
