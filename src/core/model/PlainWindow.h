#pragma once

#include "base/BlockGrid.h"
#include "base/RowReader.h"
#include "core/model/BlockWindow.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace zrk {

/// Blocks whose samples lie in a file as they are served, perhaps in another byte order. All blocks have the same size,
/// also those that reach beyond the image.
struct PlainBlocks {
  std::shared_ptr<const RowFile> file;
  BlockGrid grid;
  std::int64_t sampleStride = 1;  ///< bytes from a sample of a row to the next one
  std::int64_t rowStride = 0;     ///< bytes from a row of a block to the next one
  int wordBytes = 1;              ///< bytes of a number that has its most significant byte first; 1 for other samples
  /// Whether each block has its offset in the list. Otherwise offsets follow from the three numbers behind it.
  bool areListed = false;
  std::vector<std::int64_t> offsets;  ///< of the first samples of all blocks, row by row
  std::int64_t first = 0;             ///< the offset of the first block
  std::int64_t across = 0;            ///< bytes from a block to the one on its right
  std::int64_t down = 0;              ///< bytes from a block to the one below it

  std::int64_t OffsetOf(int blockX, int blockY) const {
    if (!areListed) return first + blockX * across + blockY * down;
    return offsets[static_cast<std::size_t>(grid.NumberOf(blockX, blockY))];
  }
};

/// Fills the result, which has the size of the plan, straight out of the file. The grid is that of the blocks, and not
/// the plan's. False if the window has to be read in another way: the file does not hold all of a block that it
/// touches, the disk fails, or memory runs out. False also if the word behind `cancel` asks to stop; `cancel` may be
/// null. What the result holds is undefined then, and no reason is noted.
bool ReadPlainWindow(const PlainBlocks& blocks, const BlockPlan& plan, tagXArr2& out, const int* cancel);

}  // namespace zrk
