// World image and relief against places whose shores and heights are known.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "tests/earth/geo_file.h"

namespace earth {
namespace {

bool isSea(const std::array<int, 3>& c) { return c[2] > c[0] + 12 && c[2] > c[1] + 5; }

struct Shore {
    const char* name;
    double sea_lon, sea_lat, land_lon, land_lat;
    double lon, lat;  // between the two
};
// Shores crossed along a parallel or a meridian.
constexpr Shore kShores[] = {
    {"Florida, east", -79.5, 26.2, -80.6, 26.2, -80.09, 26.2},
    {"Cabo da Roca", -10, 38.78, -9.1, 38.78, -9.50, 38.78},
    {"Perth", 115.2, -31.7, 116.2, -31.7, 115.72, -31.7},
    {"Finisterre", -9.8, 43.05, -8.9, 43.05, -9.30, 43.05},
    {"Mumbai", 72.3, 19.0, 73.2, 19.0, 72.80, 19.0},
    {"Namib", 14, -23, 15, -23, 14.40, -23},
    {"Lima", -77.6, -12.05, -76.8, -12.05, -77.15, -12.05},
    {"Agulhas", 20, -35.3, 20, -34.5, 20, -34.833},
    {"Dondra Head", 80.59, 5.5, 80.59, 6.3, 80.59, 5.923},
    {"Nice", 7.27, 43.3, 7.27, 44, 7.27, 43.69},
    {"Galveston", -94.8, 28.9, -94.8, 29.7, -94.8, 29.29},
    {"Accra", -0.2, 5.1, -0.2, 5.9, -0.2, 5.54},
};

TEST(WorldImage, ShoresStandWithinThreePixels) {
    const GeoFile image("world.tif");
    ASSERT_TRUE(image.good());
    constexpr double kPixel_deg = 1.0 / 30;
    for (const Shore& s : kShores) {
        EXPECT_TRUE(isSea(image.colourAt(s.sea_lon, s.sea_lat))) << s.name;
        double share = 0;
        const auto place = [&](double k) {
            return image.colourAt(s.sea_lon + (s.land_lon - s.sea_lon) * k,
                                  s.sea_lat + (s.land_lat - s.sea_lat) * k);
        };
        while (share < 1 && isSea(place(share))) {
            share += 0.005;
        }
        const double lon = s.sea_lon + (s.land_lon - s.sea_lon) * share;
        const double lat = s.sea_lat + (s.land_lat - s.sea_lat) * share;
        EXPECT_LT(std::hypot(lon - s.lon, lat - s.lat), 3 * kPixel_deg) << s.name << " " << lon << " " << lat;
    }
}

TEST(WorldImage, CoversTheWorldInTilesWithHalvings) {
    for (const char* name : {"world.tif", "world_relief.tif"}) {
        const GeoFile file(name);
        ASSERT_TRUE(file.good()) << name;
        double x = 0, y = 0;
        file.pixelOf(-180, 90, x, y);
        EXPECT_NEAR(std::hypot(x, y), 0, 1e-6);
        file.pixelOf(180, -90, x, y);
        EXPECT_NEAR(x, file.dataset().GetRasterXSize(), 1e-6);
        EXPECT_NEAR(y, file.dataset().GetRasterYSize(), 1e-6);
        GDALRasterBand* band = file.dataset().GetRasterBand(1);
        int width = 0, height = 0;
        band->GetBlockSize(&width, &height);
        EXPECT_EQ(width, 256);
        EXPECT_EQ(height, 256);
        ASSERT_GE(band->GetOverviewCount(), 5);
        EXPECT_LT(band->GetOverview(band->GetOverviewCount() - 1)->GetXSize(), 512);
        EXPECT_TRUE(file.dataset().GetSpatialRef()->IsGeographic());
    }
}

struct Height {
    const char* name;
    double lon, lat;
    int height_m;
};
// Plateaus and plains; peaks are lower here, since a pixel is 3.7 km wide.
constexpr Height kHeights[] = {
    {"Tibet", 88, 33, 5000},

    {"Denver", -105, 39.74, 1609},
    {"Altiplano", -67.5, -18, 3750},
    {"Madrid", -3.7, 40.4, 650},
    {"Moscow", 37.6, 55.75, 150},
    {"East Antarctica", 90, -80, 3800},
    {"Greenland", -40, 72, 3100},
    {"Johannesburg", 28.05, -26.2, 1750},
    {"Addis Ababa", 38.75, 9.0, 2355},
    {"Brasilia", -47.9, -15.8, 1170},
    {"Mexico City", -99.13, 19.43, 2240},
    {"Kansas", -98, 38.5, 500},
    {"Berlin", 13.4, 52.5, 40},
};

TEST(WorldRelief, KnownHeightsWithin200Metres) {
    const GeoFile relief("world_relief.tif");
    ASSERT_TRUE(relief.good());
    for (const Height& h : kHeights) {
        EXPECT_NEAR(relief.valueAt(h.lon, h.lat), h.height_m, 200) << h.name;
    }
    EXPECT_GT(relief.valueAt(86.925, 27.988), 5500);  // the highest mountain, flattened
}

TEST(WorldRelief, SeasAreAtZero) {
    const GeoFile relief("world_relief.tif");
    ASSERT_TRUE(relief.good());
    for (const auto& [lon, lat] : {std::pair{-30.0, 30.0}, {-150.0, 0.0}, {3.0, 56.0}, {75.0, -20.0}}) {
        EXPECT_EQ(relief.valueAt(lon, lat), 0) << lon << " " << lat;
    }
    const std::vector<int> heights = relief.band(1);
    ASSERT_FALSE(heights.empty());
    const auto [low, high] = std::minmax_element(heights.begin(), heights.end());
    EXPECT_EQ(*low, 0);
    EXPECT_LT(*high, 7501);
}

}  // namespace
}  // namespace earth
