#include "globe/asset_cache.h"

#include <map>
#include <mutex>
#include <osg/Image>
#include <osg/Notify>
#include <osg/Texture2D>
#include <osgDB/ReadFile>

#include "globe/mark_state.h"

namespace globe {

namespace {

struct Cache {
    std::mutex mutex;
    std::map<std::string, icon_picture> icons;
    std::map<std::string, osg::ref_ptr<osg::Node>> models;
};

// Never freed: scenes that are still alive at the end of the process use what is in it, and so does the scene
// graph's own clearing up.
Cache& cache() {
    static Cache& instance = *new Cache;
    return instance;
}

icon_picture readIcon(const std::string& path) {
    icon_picture icon;
    const osg::ref_ptr<osg::Image> image = osgDB::readRefImageFile(path);
    if (!image || image->s() <= 0 || image->t() <= 0) {
        OSG_WARN << "globe: no picture in " << path << std::endl;
        return icon;
    }
    osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(image);
    texture->setResizeNonPowerOfTwoHint(false);
    texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR);
    texture->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
    texture->setWrap(osg::Texture::WRAP_S, osg::Texture::CLAMP_TO_EDGE);
    texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_EDGE);
    icon.state = plainState();
    icon.state->setTextureAttributeAndModes(0, texture);
    icon.width = image->s();
    icon.height = image->t();
    return icon;
}

// The one of that name, read by `read` the first time.
template <typename T, typename Read>
T once(std::map<std::string, T>& known, const std::string& path, Read read) {
    const std::lock_guard<std::mutex> lock(cache().mutex);
    const auto found = known.find(path);
    return found != known.end() ? found->second : known.emplace(path, read()).first->second;
}

}  // namespace

icon_picture cachedIcon(const std::string& path) {
    return once(cache().icons, path, [&] { return readIcon(path); });
}

osg::ref_ptr<osg::Node> cachedModel(const std::string& path) {
    return once(cache().models, path, [&] {
        osg::ref_ptr<osg::Node> model = osgDB::readRefNodeFile(path);
        if (!model) {
            OSG_WARN << "globe: no model in " << path << std::endl;
        }
        return model;
    });
}

}  // namespace globe
