// Makes the world's image and relief for the run-time tree.
//   make_world PACKAGE_MAPS OUT_FOLDER
// PACKAGE_MAPS holds bluemarble/bluemarble.jpg and the tiles of srtm/3.
#include <cstdio>
#include <string>

#include "earth/raster_file.h"
#include "earth/relief.h"

namespace {

constexpr int kColumns = 16, kRows = 8, kTile_px = 675;

bool readRelief(const std::string& folder, earth::Band<std::uint8_t>& grey) {
    grey = earth::Band<std::uint8_t>(kColumns * kTile_px, kRows * kTile_px);
    for (int row = 0; row < kRows; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            char name[64];
            std::snprintf(name, sizeof name, "/%06d/%06d_%06d.jpg", row, row, column);
            if (!earth::readInto(folder + name, column * kTile_px, row * kTile_px, grey)) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_world PACKAGE_MAPS OUT_FOLDER\n");
        return 2;
    }
    const std::string maps = argv[1], out = argv[2];
    earth::initialiseRasters();
    earth::Band<std::uint8_t> grey;
    earth::Picture coarse;
    if (!readRelief(maps + "/srtm/3", grey) ||
        !earth::readPicture(maps + "/bluemarble/bluemarble.jpg", coarse)) {
        return 1;
    }
    return earth::writeHeights(out + "/world_relief.tif", earth::kWorld, earth::heightsOf(grey)) &&
                   earth::writePicture(out + "/world.tif", earth::kWorld, earth::sharpened(coarse, grey))
               ? 0
               : 1;
}
