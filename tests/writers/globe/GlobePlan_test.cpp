// What an export comes to, before anything is read: ranges of tiles, sizes, and orders that make no sense.

#include "GlobeSources.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

namespace {

tagXGlobePlan PlanOf(const tagXGlobeExport& what) {
  tagXGlobePlan plan;
  XString error;
  EXPECT_EQ(1, XfnPlanGlobeExport(what, plan, error)) << error.GetText();
  return plan;
}

XString WhyNot(const tagXGlobeExport& what) {
  tagXGlobePlan plan;
  XString error;
  EXPECT_EQ(0, XfnPlanGlobeExport(what, plan, error));
  return error;
}

std::array<int, 4> RangeOf(const tagXTileLevel& level) {
  return {level.llRow, level.llCol, level.urRow, level.urCol};
}

using Range = std::array<int, 4>;

}  // namespace

// Tiles of level 1 have 9 degrees: 1 to 12 degrees touch the columns 20 and 21, which are four columns of level 2.
TEST(PlanOfPictures, CoversWholeTilesOfTheFirstLevelAtEveryLevel) {
  const tagXGlobePlan plan = PlanOf({false, 1, 3, 1.0, 1.0, 12.0, 2.0});
  ASSERT_EQ(3u, plan.levels.size());
  EXPECT_EQ((Range{10, 20, 10, 21}), RangeOf(plan.levels[0]));
  EXPECT_EQ((Range{20, 40, 21, 43}), RangeOf(plan.levels[1]));
  EXPECT_EQ((Range{40, 80, 43, 87}), RangeOf(plan.levels[2]));
  EXPECT_EQ(2 + 8 + 32, plan.numTiles);
  EXPECT_EQ(51200 + 42 * 32768, plan.fileBytes);
}

TEST(PlanOfPictures, CountsAnUpperRightCornerOnAnEdgeToTheNextTile) {
  EXPECT_EQ((Range{5, 10, 6, 11}), RangeOf(PlanOf({false, 0, 0, 0.0, 0.0, 18.0, 18.0}).levels[0]));
  EXPECT_EQ((Range{0, 0, 10, 20}), RangeOf(PlanOf({false, 0, 0, -180.0, -90.0, 180.0, 90.0}).levels[0]));
  EXPECT_EQ((Range{0, 0, 9, 19}), RangeOf(PlanOf({false, 0, 0, -180.0, -90.0, 179.9, 89.9}).levels[0]));
}

// At the ninth level a tile is as large as the pixel that the corner lies inside by, and at the tenth it is smaller.
TEST(PlanOfPictures, LosesTheLastTilesOfATenthLevel) {
  const tagXGlobePlan plan = PlanOf({false, 0, 9, 0.0, 0.0, 1.0, 1.0});
  EXPECT_EQ(10 * 256 + 255, plan.levels[8].urCol);
  EXPECT_EQ(10 * 512 + 510, plan.levels[9].urCol);
}

TEST(PlanOfHeights, HasTheTilesThatTheExtentTouchesAtEachLevel) {
  const tagXGlobePlan plan = PlanOf({true, 1, 2, 1.0, 1.0, 12.0, 2.0});
  EXPECT_EQ((Range{10, 20, 10, 21}), RangeOf(plan.levels[0]));
  EXPECT_EQ((Range{20, 40, 20, 42}), RangeOf(plan.levels[1]));
  EXPECT_EQ(51200 + 5 * 3844, plan.fileBytes);
}

TEST(PlanOfHeights, CountsAnUpperRightCornerOnAnEdgeToTheTileBeforeIt) {
  EXPECT_EQ((Range{0, 0, 9, 19}), RangeOf(PlanOf({true, 0, 0, -180.0, -90.0, 180.0, 90.0}).levels[0]));
}

TEST(PlanOfHeights, TakesFourTimesTheRoomWithNormals) {
  const tagXGlobeExport what{true, 0, 0, 0.0, 0.0, 18.0, 18.0, 0, true};
  EXPECT_EQ(51200 + 15376, PlanOf(what).fileBytes);
}

TEST(GlobePlan, RefusesLevelsThatAreNone) {
  EXPECT_EQ("Invalid output data level", WhyNot({false, -1, 2}));
  EXPECT_EQ("Invalid output data level", WhyNot({true, 3, -1}));
  EXPECT_EQ("Number of output level must be at least 1.", WhyNot({true, 3, 2}));
}

TEST(GlobePlan, RefusesAnExtentWithoutATile) {
  EXPECT_EQ("Invalid PBI File : NULL", WhyNot({false, 0, 1, 90.0, 0.0, 10.0, 10.0}));
  EXPECT_EQ("Invalid PBE File : NULL", WhyNot({true, 0, 0, 18.0, 0.0, 18.0, 10.0}));
}

// 200 * 4^12 tiles are planned without being listed.
TEST(GlobePlan, PlansMoreTilesThanAnIntHolds) {
  const tagXGlobePlan plan = PlanOf({true, 12, 12});
  EXPECT_EQ(std::int64_t{3355443200}, plan.numTiles);
  EXPECT_EQ(51200 + std::int64_t{3355443200} * 3844, plan.fileBytes);
}

TEST(GlobePlan, EndsAtOnceForNumbersThatMakeNoSense) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  tagXGlobePlan plan;
  XString error;
  for (const bool isElevation : {false, true}) {
    for (const double bad : {nan, inf, -inf, 1e300, -1e300}) {
      XfnPlanGlobeExport({isElevation, 0, 2, bad, -90.0, 180.0, 90.0}, plan, error);
      XfnPlanGlobeExport({isElevation, 0, 2, -180.0, -90.0, bad, 90.0}, plan, error);
      XfnPlanGlobeExport({isElevation, 0, 2, bad, bad, bad, bad}, plan, error);
    }
    XfnPlanGlobeExport({isElevation, 0, INT_MAX, 0.0, 0.0, 1.0, 1.0}, plan, error);
    EXPECT_LE(plan.levels.size(), 1066u);
  }
}
