#include "globe/label_font.h"

#include <osg/Notify>
#include <osgDB/FileUtils>

namespace globe {
namespace {

constexpr const char* kPlaces[] = {
    "./fonts/msyh.ttc",
    "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc",
    "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc",
    "/usr/share/fonts/noto-cjk/NotoSansCJK-Regular.ttc",
    "C:/Windows/Fonts/msyh.ttc",
};

struct Shared {
    std::string file;
    osg::ref_ptr<osgText::Font> font;
    bool sought = false;
};

Shared& shared() {
    static Shared state;
    return state;
}

osg::ref_ptr<osgText::Font> read(const std::string& path) {
    return osgDB::fileExists(path) ? osgText::readRefFontFile(path) : nullptr;
}

}  // namespace

void setLabelFontFile(const std::string& path) { shared().file = path; }

osg::ref_ptr<osgText::Font> labelFont() {
    Shared& state = shared();
    if (state.sought) {
        return state.font;
    }
    state.sought = true;
    if (!state.file.empty()) {
        state.font = read(state.file);
    }
    for (const char* const place : kPlaces) {
        if (state.font.valid()) {
            break;
        }
        state.font = read(place);
    }
    if (!state.font.valid()) {
        OSG_WARN << "globe: no typeface with Chinese characters found" << std::endl;
    }
    return state.font;
}

}  // namespace globe
