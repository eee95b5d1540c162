#include "globe/label_font.h"

#include <map>
#include <mutex>
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
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
};

struct Fonts {
    std::mutex mutex;
    std::map<std::string, osg::ref_ptr<osgText::Font>> by_path;
};

// Never freed: scenes that are still alive at the end of the process write with them.
Fonts& fonts() {
    static Fonts& instance = *new Fonts;
    return instance;
}

// For a missing file the text library may take any face that the system has.
osg::ref_ptr<osgText::Font> read(const std::string& path) {
    return osgDB::fileExists(path) ? osgText::readRefFontFile(path) : nullptr;
}

osg::ref_ptr<osgText::Font> readFirst(const std::string& path) {
    osg::ref_ptr<osgText::Font> font = path.empty() ? nullptr : read(path);
    for (const char* const place : kPlaces) {
        if (font.valid()) {
            return font;
        }
        font = read(place);
    }
    if (!font.valid()) {
        OSG_WARN << "globe: no typeface for labels" << std::endl;
    }
    return font;
}

}  // namespace

osg::ref_ptr<osgText::Font> labelFont(const std::string& path) {
    Fonts& known = fonts();
    const std::lock_guard<std::mutex> lock(known.mutex);
    const auto found = known.by_path.find(path);
    return found != known.by_path.end() ? found->second
                                        : known.by_path.emplace(path, readFirst(path)).first->second;
}

}  // namespace globe
