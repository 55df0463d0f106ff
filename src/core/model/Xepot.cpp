#include "Xepot.h"

#include <algorithm>
#include <cstdint>

/// The loop ends, since a size is 0 after 31 shifts at the latest, and every tile is larger than that.
int Xepot::CalcProperLevel(int xSize, int ySize, int xTileSize, int yTileSize) {
  if (xTileSize <= 0 || yTileSize <= 0) return 0;
  int level = 0;
  while ((xSize >> level) > xTileSize || (ySize >> level) > yTileSize) ++level;
  return level;
}

int Xepot::GetHighestLevelForTarget(int, int, int levels, int, int, int x0, int x1, int y0, int y1, int width,
                                    int height) {
  const std::int64_t columns = std::int64_t{x1} - x0 + 1;
  const std::int64_t rows = std::int64_t{y1} - y0 + 1;
  // A span fits in 33 bits, so that no level above this one differs from it.
  constexpr int kLastThatDiffers = 34;
  const auto suits = [&](int level) {
    const int shift = std::min(level, kLastThatDiffers);
    return (columns >> shift) >= width && (rows >> shift) >= height;
  };

  if (levels <= 0) return 0;
  // The count of levels comes from the caller and may be huge. It is tried by itself, and the loop begins where levels
  // begin to differ.
  if (suits(levels)) return levels;
  for (int level = std::min(levels - 1, kLastThatDiffers); level > 0; --level) {
    if (suits(level)) return level;
  }
  return 0;
}
