#include "Xepot.h"

#include <gtest/gtest.h>
#include <climits>

namespace {

int HighestLevel(int levels, int columns, int rows, int width, int height) {
  return Xepot::GetHighestLevelForTarget(10000, 10000, levels, 256, 256, 100, 100 + columns - 1, 50, 50 + rows - 1,
                                         width, height);
}

}  // namespace

TEST(Xepot, AnImageOfOneTileHasNoReducedLevel) {
  EXPECT_EQ(Xepot::CalcProperLevel(256, 256, 256, 256), 0);
  EXPECT_EQ(Xepot::CalcProperLevel(1, 1, 256, 256), 0);
}

TEST(Xepot, LevelsGoDownUntilBothSidesFitInATile) {
  EXPECT_EQ(Xepot::CalcProperLevel(257, 1, 256, 256), 1);
  EXPECT_EQ(Xepot::CalcProperLevel(513, 100, 256, 256), 1);  // 513 >> 1 is 256
  EXPECT_EQ(Xepot::CalcProperLevel(514, 100, 256, 256), 2);
  EXPECT_EQ(Xepot::CalcProperLevel(100, 4096, 256, 256), 4);
  EXPECT_EQ(Xepot::CalcProperLevel(1000, 1000, 512, 64), 4);
}

TEST(Xepot, ATileSizeThatIsNotPositiveGivesLevelZero) {
  EXPECT_EQ(Xepot::CalcProperLevel(5000, 5000, 0, 256), 0);
  EXPECT_EQ(Xepot::CalcProperLevel(5000, 5000, 256, -1), 0);
}

TEST(Xepot, TheLargestImageOverTheSmallestTileHasThirtyLevels) {
  EXPECT_EQ(Xepot::CalcProperLevel(INT_MAX, INT_MAX, 1, 1), 30);
}

TEST(Xepot, TheHighestLevelStillHasAPixelForEachOfTheTarget) {
  EXPECT_EQ(HighestLevel(5, 1024, 1024, 256, 256), 2);
  EXPECT_EQ(HighestLevel(5, 1024, 1024, 257, 100), 1);
  EXPECT_EQ(HighestLevel(5, 1024, 512, 256, 256), 1);
  EXPECT_EQ(HighestLevel(5, 1023, 1024, 256, 256), 1);  // 1023 >> 2 is 255
}

TEST(Xepot, TheHighestLevelIsNoneThatTheBandLacks) {
  EXPECT_EQ(HighestLevel(1, 1024, 1024, 10, 10), 1);
  EXPECT_EQ(HighestLevel(0, 1024, 1024, 10, 10), 0);
  EXPECT_EQ(HighestLevel(-3, 1024, 1024, 10, 10), 0);
}

TEST(Xepot, ATargetLargerThanTheWindowGetsLevelZero) {
  EXPECT_EQ(HighestLevel(5, 100, 100, 101, 50), 0);
}

TEST(Xepot, ExtremeArgumentsStayDefined) {
  EXPECT_EQ(Xepot::GetHighestLevelForTarget(1, 1, INT_MAX, 1, 1, INT_MIN, INT_MAX, INT_MIN, INT_MAX, 1, 1), 32);
  EXPECT_EQ(Xepot::GetHighestLevelForTarget(1, 1, INT_MAX, 1, 1, 0, 9, 0, 9, 0, 0), INT_MAX);
  EXPECT_EQ(Xepot::GetHighestLevelForTarget(1, 1, 40, 1, 1, 9, 0, 9, 0, 1, 1), 0);
}
