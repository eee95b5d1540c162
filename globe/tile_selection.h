// Which tiles a view needs.
#pragma once

#include "globe/geodesy.h"
#include "globe/tile_key.h"

namespace globe {

// A ball around all that a tile may show, skirts left aside.
struct Ball {
    Xyz center;
    double radius_m = 0.0;
};
Ball tileBall(const TileKey& key, double lowest_m, double highest_m);

// Posts along a tile's side in its mesh; more for the large tiles, whose ground is round.
int meshPosts(int level);

struct TileNeed {
    double texel_px =
        0.0;  // what one of 256 texels along the tile's side measures on the screen where it is nearest
    double sag_px = 0.0;  // how far the ground of an even globe would stand off the mesh there
};

class TileView {
public:
    // `eye` in world coordinates, `pixels_per_radian` in the middle of the view.
    TileView(const Xyz& eye, double pixels_per_radian);

    TileNeed needOf(const TileKey& key, const Ball& ball) const;
    // Wholly behind the horizon of an earth without hills.
    bool isHidden(const Ball& ball) const;
    double distanceTo(const Ball& ball) const;

private:
    Xyz m_eye;
    double m_pixels_per_radian;
};

// What is known to exist that is finer than a tile, in its extent.
struct FinerData {
    bool pictures = false;
    bool heights = false;
};

// Whether a tile gives way to its children.
bool shouldRefine(const TileNeed& need, const FinerData& finer, int level);

}  // namespace globe
