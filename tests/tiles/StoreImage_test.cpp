#include "tiles/StoreImage.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

/// Why levels 1 and 0 with one tile each make no image; empty where they make one.
std::string FaultOf(int fineColumn, int coarseColumn, zrk::StoreKind kind) {
  zrk::StoreHeader header;
  header.tileSize = 18.0;
  header.numStated = 2;
  for (const int number : {1, 0}) {
    const int column = number == 1 ? fineColumn : coarseColumn;
    header.levels.push_back(
        {.level = number, .llCol = column, .urCol = column, .tileWidth = 2, .tileHeight = 2, .storageSize = 8});
  }
  std::string fault;
  const bool isMade = zrk::StoreImage::Make(header, kind, fault).has_value();
  EXPECT_EQ(isMade, fault.empty());
  return fault;
}

}  // namespace

/// A tile has neighbours, whose numbers have to be numbers as well. A coarse level may reach beyond those of the
/// finest.
TEST(StoreImage, CoarseLevelsDoNotReachBeyondTheNumbersOfTiles) {
  const std::string refusal = "The image of the store has tiles that no level can have";
  for (const zrk::StoreKind kind : {zrk::StoreKind::kImage, zrk::StoreKind::kElevation}) {
    EXPECT_EQ("", FaultOf(INT_MAX - 3, INT_MAX / 2 - 1, kind));
    EXPECT_EQ(refusal, FaultOf(INT_MAX - 3, INT_MAX / 2, kind));
    EXPECT_EQ("", FaultOf(INT_MIN + 2, INT_MIN / 2 + 1, kind));
    EXPECT_EQ(refusal, FaultOf(INT_MIN + 2, INT_MIN / 2, kind));
  }
}
