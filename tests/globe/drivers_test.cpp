// Formats that are not known from the start are learnt when a file of them comes. Each in a process of its
// own, where nobody has registered them yet.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "globe/initialize.h"
#include "globe/raster_source.h"

namespace globe {
namespace {

namespace fs = std::filesystem;

constexpr float kHeight_m = 321.0f;

class DriversTest : public ::testing::Test {
protected:
    DriversTest() { fs::create_directories(m_folder / "0/0"); }
    ~DriversTest() override { fs::remove_all(m_folder); }

    // A grid written out in letters; it has no place in the world of a tile, which is laid out by its number.
    std::string write(const std::string& name) const {
        std::ofstream file(m_folder / name);
        file << "ncols 16\nnrows 16\nxllcorner -180\nyllcorner -90\ncellsize 11.25\n";
        for (int i = 0; i < 16 * 16; ++i) {
            file << kHeight_m << (i % 16 == 15 ? '\n' : ' ');
        }
        return m_folder / name;
    }
    // Leaves the process: 0 if the heights of the data are read.
    [[noreturn]] static void readAndLeave(const std::string& url, const std::string& driver) {
        initialize();
        std::string error;
        const auto source = openRaster(url, driver, RasterUse::kHeights, &error);
        float heights[9] = {};
        const std::atomic<bool> cancelled{false};
        const bool read = source != nullptr && source->readHeights({{-40.0, -40.0, 40.0, 40.0}, 3, 3},
                                                                   heights, cancelled) == ReadResult::kRead;
        std::_Exit(read && heights[4] == kHeight_m ? 0 : 1);
    }

    fs::path m_folder = fs::temp_directory_path() / ("drivers_test_" + std::to_string(getpid()));
};

TEST_F(DriversTest, OfAFile) {
    const std::string path = write("heights.asc");
    EXPECT_EXIT(readAndLeave(path, "gdal"), ::testing::ExitedWithCode(0), "");
}

TEST_F(DriversTest, OfWhatADescriptionNames) {
    write("heights.asc");
    std::ofstream(m_folder / "heights.vrt")
        << "<VRTDataset rasterXSize='16' "
           "rasterYSize='16'><GeoTransform>-180,11.25,0,90,0,-11.25</GeoTransform>"
           "<VRTRasterBand dataType='Float32' band='1'><SimpleSource><SourceFilename relativeToVRT='1'>"
           "heights.asc</SourceFilename></SimpleSource></VRTRasterBand></VRTDataset>";
    EXPECT_EXIT(readAndLeave(m_folder / "heights.vrt", "gdal"), ::testing::ExitedWithCode(0), "");
}

TEST_F(DriversTest, OfTilesInFolders) {
    write("0/0/0.asc");
    EXPECT_EXIT(readAndLeave(m_folder / "{z}/{x}/{y}.asc", "xyz"), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace globe
