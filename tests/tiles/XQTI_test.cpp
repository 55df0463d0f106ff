#include "XQTI.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

namespace {

constexpr std::int64_t kNone = -1;

/// The three fields of a name, as they are told by words: level * 2^56 + x * 2^28 + y.
constexpr std::int64_t Packed(std::int64_t level, std::int64_t x, std::int64_t y) {
  return level * (std::int64_t{1} << 56) + x * (std::int64_t{1} << 28) + y;
}

}  // namespace

TEST(XQTI, PutsTheLevelInTheTopByteAndXAndYIn28BitsEach) {
  EXPECT_EQ(0x0300000050000007, XQTI::ComposeLXY(3, 5, 7));
  EXPECT_EQ(0x1B7FFFFFFFFFFFFF, XQTI::ComposeLXY(27, 0x7FFFFFF, 0xFFFFFFF));
  EXPECT_EQ(0, XQTI::ComposeLXY(0, 0, 0));
}

TEST(XQTI, SpillsOnesOfANegativeNumberOverTheFieldsAboveIt) {
  EXPECT_EQ(-1, XQTI::ComposeLXY(3, 5, -1));
  EXPECT_EQ(std::int64_t{-1} << 28 | 7, XQTI::ComposeLXY(3, -1, 7));
}

TEST(XQTI, TakesTheFieldsApartWithTheirSigns) {
  std::int32_t level = 0, x = 0, y = 0;
  XQTI::DecomposeLXY(0x0300000050000007, level, x, y);
  EXPECT_EQ(3, level);
  EXPECT_EQ(5, x);
  EXPECT_EQ(7, y);
  XQTI::DecomposeLXY(static_cast<std::int64_t>(0xFE80000008000000), level, x, y);
  EXPECT_EQ(-2, level);
  EXPECT_EQ(-0x8000000, x);
  EXPECT_EQ(-0x8000000, y);
}

TEST(XQTI, TellsTheLevelOfTheTopByteWithItsSign) {
  EXPECT_EQ(127, XQTI::GetLevel(Packed(127, 1, 2)));
  EXPECT_EQ(-1, XQTI::GetLevel(-1));
  EXPECT_EQ(-128, XQTI::GetLevel(INT64_MIN));
}

TEST(XQTI, HasOneRootWithoutAParent) {
  EXPECT_EQ(0, XQTI::GetRoot());
  EXPECT_EQ(kNone, XQTI::GetParent(0));
  EXPECT_EQ(kNone, XQTI::GetParent(-1));
  EXPECT_EQ(kNone, XQTI::GetParent(INT64_MIN));
}

TEST(XQTI, HasTwoToTheLevelCellsOnASide) {
  EXPECT_EQ(1, XQTI::GetLevelSize(0));
  EXPECT_EQ(256, XQTI::GetLevelSize(8));
  EXPECT_EQ(1 << 30, XQTI::GetLevelSize(30));
}

TEST(XQTI, HasNoCellsOnASideThatNo32BitsHold) {
  EXPECT_EQ(0, XQTI::GetLevelSize(31));
  EXPECT_EQ(0, XQTI::GetLevelSize(INT32_MAX));
  EXPECT_EQ(0, XQTI::GetLevelSize(-1));
}

TEST(XQTI, HalvesXAndYForTheParent) {
  EXPECT_EQ(Packed(2, 2, 3), XQTI::GetParent(Packed(3, 5, 7)));
  EXPECT_EQ(0, XQTI::GetParent(Packed(1, 1, 0)));
}

TEST(XQTI, GoesAroundTheSquareThroughTheChildren) {
  EXPECT_EQ(Packed(4, 10, 14), XQTI::GetChild(Packed(3, 5, 7), 0));
  EXPECT_EQ(Packed(4, 11, 14), XQTI::GetChild(Packed(3, 5, 7), 1));
  EXPECT_EQ(Packed(4, 11, 15), XQTI::GetChild(Packed(3, 5, 7), 2));
  EXPECT_EQ(Packed(4, 10, 15), XQTI::GetChild(Packed(3, 5, 7), 3));
  EXPECT_EQ(Packed(1, 1, 1), XQTI::GetChild(0, 2));
}

TEST(XQTI, HasNoChildInAnotherQuadrantOrOfANegativeCell) {
  EXPECT_EQ(kNone, XQTI::GetChild(Packed(3, 5, 7), 4));
  EXPECT_EQ(kNone, XQTI::GetChild(Packed(3, 5, 7), -1));
  EXPECT_EQ(kNone, XQTI::GetChild(-1, 0));
}

TEST(XQTI, MovesByOneToANeighbour) {
  EXPECT_EQ(Packed(3, 4, 6), XQTI::GetNeighborSameLevel(Packed(3, 5, 6), 0));
  EXPECT_EQ(Packed(3, 6, 6), XQTI::GetNeighborSameLevel(Packed(3, 5, 6), 1));
  EXPECT_EQ(Packed(3, 5, 5), XQTI::GetNeighborSameLevel(Packed(3, 5, 6), 2));
  EXPECT_EQ(Packed(3, 5, 7), XQTI::GetNeighborSameLevel(Packed(3, 5, 6), 3));
}

TEST(XQTI, HasNoNeighbourBeyondTheRim) {
  EXPECT_EQ(kNone, XQTI::GetNeighborSameLevel(Packed(3, 0, 6), 0));
  EXPECT_EQ(kNone, XQTI::GetNeighborSameLevel(Packed(3, 7, 6), 1));
  EXPECT_EQ(kNone, XQTI::GetNeighborSameLevel(Packed(3, 5, 0), 2));
  EXPECT_EQ(kNone, XQTI::GetNeighborSameLevel(Packed(3, 5, 7), 3));
}

TEST(XQTI, HasNoNeighbourOfTheRootAndInOtherDirections) {
  for (int direction = -1; direction <= 4; ++direction) EXPECT_EQ(kNone, XQTI::GetNeighborSameLevel(0, direction));
  EXPECT_EQ(kNone, XQTI::GetNeighborSameLevel(-1, 1));
  EXPECT_EQ(kNone, XQTI::GetNeighborSameLevel(Packed(3, 5, 6), 4));
  EXPECT_EQ(kNone, XQTI::GetNeighborSameLevel(Packed(3, 5, 6), -1));
}

TEST(XQTI, TakesTheParentOfANeighbourAndPassesAMissingOneThrough) {
  EXPECT_EQ(Packed(2, 3, 3), XQTI::GetNeighborUpperLevel(Packed(3, 5, 6), 1));
  EXPECT_EQ(kNone, XQTI::GetNeighborUpperLevel(Packed(3, 7, 6), 1));
  EXPECT_EQ(kNone, XQTI::GetNeighborUpperLevel(0, 1));
}

TEST(XQTI, CutsARangeIntoEqualParts) {
  tagXVector2 min, max;
  XQTI::GetRange(2, 1, 3, {-180.0, -90.0}, {180.0, 90.0}, min, max);
  EXPECT_EQ(-90.0, min.x);
  EXPECT_EQ(45.0, min.y);
  EXPECT_EQ(0.0, max.x);
  EXPECT_EQ(90.0, max.y);
  XQTI::GetRange(Packed(2, 1, 3), {-180.0, -90.0}, {180.0, 90.0}, min, max);
  EXPECT_EQ(-90.0, min.x);
  EXPECT_EQ(90.0, max.y);
}

// The minimum is x * w + min.x and the maximum is that plus w. With w = 0.1 / 4 from 0.7 on, the shared edge of cells 0
// and 1 would come out otherwise as (x + 1) * w in some cells; `volatile` keeps each step a double.
TEST(XQTI, AddsTheSizeOfACellToItsMinimum) {
  bool anyDiffers = false;
  for (int x = 0; x < 1024; ++x) {
    tagXVector2 min, max;
    XQTI::GetRange(10, x, x, {0.7, 0.3}, {0.8, 1.0}, min, max);
    volatile double width = 0.8 - 0.7;
    width = width / 1024.0;
    volatile double left = x * width;
    left = left + 0.7;
    volatile double right = left + width;
    EXPECT_EQ(left, min.x);
    EXPECT_EQ(right, max.x);
    volatile double next = (x + 1) * width;
    next = next + 0.7;
    anyDiffers = anyDiffers || next != right;
  }
  EXPECT_TRUE(anyDiffers);
}

TEST(XQTI, MayGiveARangeBackInTheRangeItself) {
  tagXVector2 min = {0.0, 0.0}, max = {8.0, 16.0};
  XQTI::GetRange(1, 1, 1, min, max, min, max);
  EXPECT_EQ(4.0, min.x);
  EXPECT_EQ(8.0, min.y);
  EXPECT_EQ(8.0, max.x);
  EXPECT_EQ(16.0, max.y);
}

TEST(XQTI, GivesTheRangeOfTheFirstCell) {
  tagXVector2 min, max;
  XfnCalcLXYRow0Tile0Range(3, {-180.0, -90.0}, {180.0, 90.0}, min, max);
  EXPECT_EQ(-180.0, min.x);
  EXPECT_EQ(-90.0, min.y);
  EXPECT_EQ(-135.0, max.x);
  EXPECT_EQ(-67.5, max.y);
}

TEST(XQTI, WritesTwentyOneDigits) {
  EXPECT_EQ("003000000005000000007", XQTI::ToString(3, 5, 7));
  EXPECT_EQ("003000000005000000007", XQTI::ToString(Packed(3, 5, 7)));
  EXPECT_EQ("000000000000000000000", XQTI::ToString(XQTI::GetRoot()));
}

TEST(XQTI, ReadsTwentyOneDigits) {
  std::int32_t level = 0, x = 0, y = 0;
  EXPECT_EQ(Packed(3, 5, 7), XQTI::ToLXY("003000000005000000007"));
  EXPECT_EQ(Packed(27, 134217727, 12345678), XQTI::ToLXY("027134217727012345678", level, x, y));
  EXPECT_EQ(27, level);
  EXPECT_EQ(134217727, x);
  EXPECT_EQ(12345678, y);
}

TEST(XQTI, ReadsEachPieceOfAMalformedTextAsFarAsItIsANumber) {
  std::int32_t level = -1, x = -1, y = -1;
  EXPECT_EQ(Packed(1, 23, 0), XQTI::ToLXY("1  23rest", level, x, y));
  EXPECT_EQ(1, level);
  EXPECT_EQ(23, x);
  EXPECT_EQ(0, y);
  EXPECT_EQ(0, XQTI::ToLXY(""));
  EXPECT_EQ(0, XQTI::ToLXY("abcdefghijklmnopqrstu"));
  EXPECT_EQ(-1, XQTI::ToLXY("000000000000-00000001"));
}
