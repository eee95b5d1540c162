#include "globe/place_layout.h"

#include <algorithm>
#include <map>
#include <osgUtil/RenderBin>
#include <osgUtil/RenderLeaf>
#include <vector>

namespace globe {

namespace {

using osgUtil::RenderLeaf;

PlaceLayout* layoutOf(const RenderLeaf* leaf) {
    return dynamic_cast<PlaceLayout*>(const_cast<osg::Referenced*>(leaf->getDrawable()->getUserData()));
}

screen_box moved(const screen_box& box, const osg::Vec3d& by) {
    const auto x = static_cast<float>(by.x());
    const auto y = static_cast<float>(by.y());
    return {box.left + x, box.bottom + y, box.right + x, box.top + y};
}

class DeclutterBin : public osgUtil::RenderBin {
public:
    DeclutterBin() = default;
    DeclutterBin(const DeclutterBin& other, const osg::CopyOp& copy) : osgUtil::RenderBin(other, copy) {}
    osg::Object* cloneType() const override { return new DeclutterBin; }
    osg::Object* clone(const osg::CopyOp& copy) const override { return new DeclutterBin(*this, copy); }
    bool isSameKindAs(const osg::Object* other) const override {
        return dynamic_cast<const DeclutterBin*>(other) != nullptr;
    }
    const char* libraryName() const override { return "globe"; }
    const char* className() const override { return "DeclutterBin"; }

    void sortImplementation() override {
        copyLeavesFromStateGraphListToRenderLeafList();
        choose();
        const auto hidden = [](const RenderLeaf* leaf) {
            const PlaceLayout* layout = layoutOf(leaf);
            return layout != nullptr &&
                   (layout->shown == MarkShown::kNothing ||
                    (layout->shown == MarkShown::kIcon && leaf->getDrawable() != layout->icon));
        };
        _renderLeafList.erase(std::remove_if(_renderLeafList.begin(), _renderLeafList.end(), hidden),
                              _renderLeafList.end());
        std::stable_sort(_renderLeafList.begin(), _renderLeafList.end(), farther);
    }

protected:
    ~DeclutterBin() override = default;

private:
    static bool farther(const RenderLeaf* a, const RenderLeaf* b) {
        const PlaceLayout* of_a = layoutOf(a);
        const PlaceLayout* of_b = layoutOf(b);
        if (of_a == nullptr || of_b == nullptr || of_a == of_b) {
            return of_a == of_b ? a->_traversalOrderNumber < b->_traversalOrderNumber : of_a == nullptr;
        }
        return of_a->distance_m != of_b->distance_m ? of_a->distance_m > of_b->distance_m
                                                    : of_a->serial < of_b->serial;
    }

    void choose() {
        std::map<PlaceLayout*, osg::Vec3d> places;
        for (const RenderLeaf* leaf : _renderLeafList) {
            if (PlaceLayout* layout = layoutOf(leaf)) {
                places[layout] = leaf->_modelview->getTrans();
            }
        }
        std::vector<clutter_mark> marks;
        std::vector<PlaceLayout*> layouts;
        for (const auto& [layout, at] : places) {
            if (!layout->declutter) {
                layout->shown = MarkShown::kAll;
                continue;
            }
            layouts.push_back(layout);
            marks.push_back({moved(layout->icon_box, at), moved(layout->all_box, at), layout->has_icon,
                             layout->priority, layout->distance_m, layout->serial,
                             layout->shown != MarkShown::kNothing});
        }
        const std::vector<MarkShown> shown = globe::declutter(marks);
        for (std::size_t i = 0; i < layouts.size(); ++i) {
            layouts[i]->shown = shown[i];
        }
    }
};

}  // namespace

const char* declutterBinName() {
    static const char* const name = [] {
        osgUtil::RenderBin::addRenderBinPrototype("globe declutter", new DeclutterBin);
        return "globe declutter";
    }();
    return name;
}

}  // namespace globe
