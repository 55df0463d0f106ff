// The map from a picture to a band is straight within patches. Here it is compared with places that are transformed one
// by one.

#include "display/Patches.h"

#include "XSpatialReference.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using zrk::BandPlace;

XSpatialReference SystemOf(int epsg) {
  XSpatialReference sr;
  EXPECT_EQ(1, sr.importFromEPSG(epsg));
  return sr;
}

/// A picture in one system over a band in another.
struct WarpCase {
  const char* name;
  int pictureEpsg;
  zrk::PictureGrid grid;
  int bandEpsg;
  zrk::Affine toPixels;
};

zrk::Affine PixelsOf(double ulx, double uly, double pixelSize) {
  return {{-ulx / pixelSize, 1.0 / pixelSize, 0.0, uly / pixelSize, 0.0, -1.0 / pixelSize}};
}

class PatchListOverSystems : public testing::TestWithParam<WarpCase> {};

TEST_P(PatchListOverSystems, PutsNoPlaceOffByMoreThanAnEighthOfAPixel) {
  const WarpCase& c = GetParam();
  const auto bridge = zrk::SystemBridge::Make(SystemOf(c.pictureEpsg), SystemOf(c.bandEpsg));
  ASSERT_TRUE(bridge->isPossible && bridge->transformation);
  const zrk::PlaceMap map(c.grid, *bridge, 0.0, c.toPixels);
  const zrk::Window window{0, c.grid.width - 1, 0, c.grid.height - 1};
  const double allowed = std::max(1.0, map.StepAt(window)) / 8.0;
  zrk::PatchList list;
  list.Cover(map, window, 0.0, 0.0);
  std::vector<BandPlace> places;
  int numPixels = 0;
  for (const zrk::Patch& patch : list.GetPatches()) {
    numPixels += patch.window.Width() * patch.window.Height();
    for (int y = patch.window.y0; y <= patch.window.y1; y += 3) {
      list.PlacesOfRow(patch, y, places);
      for (int x = patch.window.x0; x <= patch.window.x1; x += 3) {
        const BandPlace exact = map.At(x + 0.5, y + 0.5);
        const BandPlace& place = places[static_cast<std::size_t>(x - patch.window.x0)];
        if (std::isnan(exact.u)) continue;
        ASSERT_LE(std::hypot(exact.u - place.u, exact.v - place.v), allowed) << x << " " << y;
      }
    }
  }
  EXPECT_EQ(c.grid.width * c.grid.height, numPixels);
}

INSTANTIATE_TEST_SUITE_P(
    , PatchListOverSystems,
    testing::Values(
        WarpCase{"UtmFromDegrees", 4326, {256, 256, 1e-4, 1e-4, 9.0, 48.0}, 32632, PixelsOf(400000, 5400000, 10)},
        WarpCase{"WholeZoneFromDegrees", 4326, {256, 256, 0.05, 0.05, 9.0, 45.0}, 32632, PixelsOf(0, 6000000, 1000)},
        WarpCase{"MercatorFromWholeEarth", 4326, {256, 128, 1.4, 1.4, 0.0, 0.0}, 3857, PixelsOf(-2e7, 2e7, 40000)},
        WarpCase{"DegreesFromMercatorAcrossTheDateLine",
                 3857,
                 {200, 200, 2e4, 2e4, 2.003e7, 0.0},
                 4326,
                 PixelsOf(-180, 90, 0.1)},
        WarpCase{"DegreesFromThePole", 3413, {256, 256, 5000, 5000, 0.0, 0.0}, 4326, PixelsOf(-180, 90, 0.05)}),
    [](const auto& one) { return one.param.name; });

TEST(PatchList, TakesOnePatchWhereTheMapIsStraight) {
  const zrk::SystemBridge same;
  const zrk::PictureGrid grid{256, 256, 1.0, 1.0, 0.0, 0.0};
  const zrk::PlaceMap map(grid, same, 0.0, {{5.0, 0.5, 0.25, 7.0, 0.25, -0.5}});
  zrk::PatchList list;
  list.Cover(map, {10, 20, 30, 40}, 0.25, -0.25);
  ASSERT_EQ(1u, list.GetPatches().size());
  std::vector<BandPlace> places;
  list.PlacesOfRow(list.GetPatches()[0], 33, places);
  // The pixel (12, 33) has its offset centre at (-115.25, 94.75) in the world.
  EXPECT_DOUBLE_EQ(5.0 - 115.25 * 0.5 + 94.75 * 0.25, places[2].u);
  EXPECT_DOUBLE_EQ(7.0 - 115.25 * 0.25 - 94.75 * 0.5, places[2].v);
}

TEST(PatchList, CoversPixelsWithoutAPlace) {
  // Beyond the poles there is nothing.
  const auto bridge = zrk::SystemBridge::Make(SystemOf(4326), SystemOf(3857));
  const zrk::PictureGrid grid{16, 16, 1.0, 1.0, 0.0, 300.0};
  const zrk::PlaceMap map(grid, *bridge, 0.0, PixelsOf(0, 0, 1));
  zrk::PatchList list;
  list.Cover(map, {0, 15, 0, 15}, 0.0, 0.0);
  EXPECT_FALSE(list.GetRange().isSet);
}

}  // namespace
