#pragma once

#include <cstdint>

namespace zrk {

/// Pixels of an image at one resolution, in blocks. The last blocks of a row and of a column may reach beyond it.
struct BlockGrid {
  int width = 0;
  int height = 0;
  int blockWidth = 0;
  int blockHeight = 0;
  /// Blocks in a row of them. All sizes are above 0 here.
  std::int64_t CountAcross() const { return (std::int64_t{width} - 1) / blockWidth + 1; }
  std::int64_t CountDown() const { return (std::int64_t{height} - 1) / blockHeight + 1; }
  std::int64_t CountBlocks() const { return CountAcross() * CountDown(); }
  /// The number of a block, row by row from the upper left.
  std::int64_t NumberOf(int blockX, int blockY) const { return blockY * CountAcross() + blockX; }
  friend bool operator==(const BlockGrid&, const BlockGrid&) = default;
};

}  // namespace zrk
