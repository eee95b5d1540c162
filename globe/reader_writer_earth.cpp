#include "globe/reader_writer_earth.h"

#include <osgDB/FileNameUtils>
#include <osgDB/ReaderWriter>
#include <osgDB/Registry>

#include "globe/layer_stack.h"
#include "globe/map_node.h"

namespace globe {
namespace {

// Always gives a globe: what is missing of the file is among the map node's problems.
class ReaderWriterEarth : public osgDB::ReaderWriter {
public:
    ReaderWriterEarth() { supportsExtension("earth", "Earth file"); }
    const char* className() const override { return "Earth file reader"; }
    ReadResult readObject(const std::string& path, const Options* options) const override {
        return readNode(path, options);
    }
    ReadResult readNode(const std::string& path, const Options*) const override {
        if (!acceptsExtension(osgDB::getLowerCaseFileExtension(path))) {
            return ReadResult::FILE_NOT_HANDLED;
        }
        return new MapNode(new Map(LayerStack::forFile(path)));
    }
};

}  // namespace

void registerEarthReader() { osgDB::Registry::instance()->addReaderWriter(new ReaderWriterEarth); }

}  // namespace globe
