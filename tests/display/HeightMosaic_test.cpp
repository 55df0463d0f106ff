#include "display/HeightMosaic.h"

#include "DrawnPicture.h"
#include "XCoordinateTransformation.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

/// A manager over bands of a test.
struct Heights {
  void Add(ZRMBand& band) {
    auto* const composite = new ZRMComposite;
    composite->SetBand(0, &band);
    manager.AddZRMComposite(composite);
  }
  template <class Sample>
  std::vector<Sample> Read(const zrk::PostGrid& grid, int columns, int rows) {
    const auto mosaic = zrk::HeightMosaic::Make(manager);
    tagXArr2 out;
    EXPECT_TRUE(mosaic && mosaic->Read(grid, {0, 0, columns, rows}, out, nullptr));
    EXPECT_EQ(zrk::kDataTypeOf<Sample>, mosaic->GetDataType());
    return SamplesOf<Sample>(out);
  }
  ZRMCompManager manager;
};

using Shorts = std::vector<std::int16_t>;

TEST(HeightMosaic, IsNoneWithoutBands) {
  Heights heights;
  EXPECT_EQ(nullptr, zrk::HeightMosaic::Make(heights.manager));
  heights.manager.AddZRMComposite(new ZRMComposite);
  EXPECT_EQ(nullptr, zrk::HeightMosaic::Make(heights.manager));
}

TEST(HeightMosaic, GivesPostsOfACellExactly) {
  PlacedBand cell;
  cell.Set<std::int16_t>(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}).SetPixelAnchor(kPixelCentre);
  cell.Place(10, 50, 0.5);
  Heights heights;
  heights.Add(cell);
  EXPECT_EQ((Shorts{1, 2, 3, 4, 5, 6, 7, 8, 9}), heights.Read<std::int16_t>({10, 50, 0.5, 0.5}, 3, 3));
  EXPECT_EQ((Shorts{1, 3, 7, 9}), heights.Read<std::int16_t>({10, 50, 1, 1}, 2, 2));
}

TEST(HeightMosaic, GivesPostsOnTheFarEdgeTheLastSample) {
  PlacedBand area;
  area.Set<std::int16_t>(2, 2, {1, 2, 3, 4}).Place(0, 2, 1);
  Heights heights;
  heights.Add(area);
  EXPECT_EQ((Shorts{1, 2, 2, 3, 4, 4, 3, 4, 4}), heights.Read<std::int16_t>({0, 2, 1, 1}, 3, 3));
}

TEST(HeightMosaic, WrapsLongitudes) {
  PlacedBand earth;
  earth.Set<std::int16_t>(4, 1, {1, 2, 3, 4}).Place(-180, 45, 90).In(4326);
  Heights heights;
  heights.Add(earth);
  EXPECT_EQ((Shorts{4, 1, 2, 3, 4, 1}), heights.Read<std::int16_t>({-225, 0, 90, 90}, 6, 1));
}

TEST(HeightMosaic, LooksThroughNullsToTheCompositesBelow) {
  PlacedBand upper, lower;
  upper.Set<std::int16_t>(3, 1, {1, -1, -1}).SetNullValue(-1);
  lower.Set<std::int16_t>(2, 1, {8, 9});
  Heights heights;
  heights.Add(upper);
  heights.Add(lower);
  EXPECT_EQ((Shorts{1, 9, 0, 0}), heights.Read<std::int16_t>({0.5, 0.5, 1, 1}, 4, 1));
}

TEST(HeightMosaic, MakesRealsOfDifferingTypes) {
  PlacedBand upper, lower;
  upper.Set<float>(2, 1, {1.5f, NAN});
  lower.Set<std::int16_t>(2, 1, {8, 9});
  Heights heights;
  heights.Add(upper);
  heights.Add(lower);
  EXPECT_EQ((std::vector<float>{1.5f, 9.0f}), heights.Read<float>({0.5, 0.5, 1, 1}, 2, 1));
}

TEST(HeightMosaic, AsksBandsOfOtherSystemsAtThePlaceInTheirs) {
  std::vector<std::int16_t> columns;
  for (int i = 0; i < 200 * 200; ++i) columns.push_back(static_cast<std::int16_t>(i % 200));
  PlacedBand band;
  band.Set<std::int16_t>(200, 200, columns).Place(500000, 5320000, 100).In(32632);
  Heights heights;
  heights.Add(band);
  XSpatialReference degrees;
  degrees.importFromEPSG(4326);
  heights.manager.SetSR(degrees);
  const Shorts posts = heights.Read<std::int16_t>({9.1, 47.95, 0.05, 0.01}, 2, 1);
  const auto way = XfnCreateCoordTrans(degrees, *band.GetSR());
  for (int i = 0; i < 2; ++i) {
    double x = 9.1 + i * 0.05, y = 47.95;
    ASSERT_EQ(1, way->TransformPt(x, y));
    EXPECT_EQ(static_cast<int>((x - 500000) / 100), posts[static_cast<std::size_t>(i)]);
  }
}

TEST(HeightMosaic, ReadsPostsThatLieFarApartOneRowAtATime) {
  PlacedBand band;
  std::vector<std::int16_t> ramp;
  for (int i = 0; i < 1024 * 1024; ++i) ramp.push_back(static_cast<std::int16_t>(i % 1024 + i / 1024));
  band.Set<std::int16_t>(1024, 1024, ramp).Place(0, 1024, 1);
  Heights heights;
  heights.Add(band);
  EXPECT_EQ((Shorts{0, 512, 512, 1024}), heights.Read<std::int16_t>({0.5, 1023.5, 512, 512}, 2, 2));
  EXPECT_EQ(2, band.GetNumReads());
}

TEST(HeightMosaic, FindsTheSamplesOfATurnedBand) {
  PlacedBand band;
  std::vector<std::int16_t> ramp;
  for (int i = 0; i < 512 * 512; ++i) ramp.push_back(static_cast<std::int16_t>(i % 512 - 3 * (i / 512)));
  band.Set<std::int16_t>(512, 512, ramp);
  // A quarter turn: columns go south and rows go west.
  const double transform[6] = {512.0, 0.0, -1.0, 512.0, -1.0, 0.0};
  band.SetGeoTransform(transform);
  Heights heights;
  heights.Add(band);
  // The post (x, y) has column 512 - y and row 512 - x.
  EXPECT_EQ((Shorts{5 - 3 * 501, 5 - 3 * 101, 305 - 3 * 501, 305 - 3 * 101}),
            heights.Read<std::int16_t>({10.5, 506.5, 400, 300}, 2, 2));
}

TEST(HeightMosaic, KeepsToTheDrawRange) {
  PlacedBand band;
  band.Set<std::int16_t>(4, 1, {1, 2, 3, 4});
  Heights heights;
  heights.Add(band);
  heights.manager.GetZRMCompositeAt(0)->SetDrawRange(1, 2, 0, 1);
  EXPECT_EQ((Shorts{0, 2, 0, 0}), heights.Read<std::int16_t>({0.5, 0.5, 1, 1}, 4, 1));
  heights.manager.GetZRMCompositeAt(0)->SetDrawRange(50, 60, 0, 1);
  EXPECT_EQ((Shorts{0, 0, 0, 0}), heights.Read<std::int16_t>({0, 0.5, 1, 1}, 4, 1));
}

TEST(HeightMosaic, FailsWhereASourceCannotBeRead) {
  PlacedBand band;
  band.Set<std::int16_t>(2, 1, {1, 2}).FailReads();
  Heights heights;
  heights.Add(band);
  const auto mosaic = zrk::HeightMosaic::Make(heights.manager);
  tagXArr2 out;
  EXPECT_FALSE(mosaic->Read({0.5, 0.5, 1, 1}, {0, 0, 2, 1}, out, nullptr));
  EXPECT_TRUE(mosaic->Read({50, 0.5, 1, 1}, {0, 0, 2, 1}, out, nullptr));
}

}  // namespace
