// What else the map reads from the folder: the earth file's own files, and the icons.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>

#include "tests/earth/geo_file.h"

namespace earth {
namespace {

TEST(EarthFolder, EveryFileThatTheEarthFileNamesIsThere) {
    std::ifstream file(std::string(EARTH_FOLDER) + "/XEarth.earth");
    std::ostringstream text;
    text << file.rdbuf();
    const std::string all = text.str();
    ASSERT_NE(all.find("type=\"geocentric\""), std::string::npos);
    const std::regex url("<url>([^<]*)</url>");
    int layers = 0;
    for (auto it = std::sregex_iterator(all.begin(), all.end(), url); it != std::sregex_iterator(); ++it) {
        EXPECT_TRUE(GeoFile((*it)[1].str()).good()) << (*it)[1].str();
        ++layers;
    }
    EXPECT_EQ(layers, 4);
}

TEST(EarthFolder, IconsHaveTheirSizesAndAreTransparentAtTheRim) {
    const std::pair<const char*, int> icons[] = {
        {"placemark32.png", 32}, {"target.png", 32}, {"locate_target.png", 40}, {"compass.png", 128}};
    for (const auto& [name, pixels] : icons) {
        const GeoFile icon(name);
        ASSERT_TRUE(icon.good()) << name;
        EXPECT_EQ(icon.dataset().GetRasterXSize(), pixels) << name;
        EXPECT_EQ(icon.dataset().GetRasterYSize(), pixels) << name;
        ASSERT_EQ(icon.dataset().GetRasterCount(), 4) << name;
        const std::vector<int> alpha = icon.band(4);
        EXPECT_EQ(alpha[0], 0) << name;
        EXPECT_GT(*std::max_element(alpha.begin(), alpha.end()), 200) << name;
    }
}

}  // namespace
}  // namespace earth
