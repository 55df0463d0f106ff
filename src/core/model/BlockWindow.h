#pragma once

#include "base/BlockCache.h"
#include "base/BlockGrid.h"
#include "core/model/ChannelReads.h"

#include <cstdint>

namespace zrk {

/// Where the blocks of a window come from. For one thread at a time.
class BlockSource {
 public:
  virtual ~BlockSource();
  /// Reads a whole block, row by row without gaps. `isCut` tells that the file or the disk did not give all of its
  /// bytes. Notes the reason where the result is false.
  virtual bool ReadBlock(int blockX, int blockY, void* out, bool& isCut) = 0;
};

/// A window of an image in blocks, and how its samples are taken.
struct BlockPlan {
  BlockGrid grid;
  ReadRequest request;  ///< in pixels of the grid
  int sampleBytes = 1;
  /// Samples of a block are counted from where the window enters it. Otherwise they lie 2^level apart everywhere.
  bool beginsAnew = false;
  bool takesCutBlocks = false;      ///< blocks that are cut short count as they came
  const BlockFile* file = nullptr;  ///< for blocks that are kept; null where they are not
  std::int64_t plane = 0;           ///< a number that no other grid of the file has
  int Width() const { return request.Width() >> request.level; }
  int Height() const { return request.Height() >> request.level; }
};

/// Fills the result, which has the size of the plan. False with a noted reason where a block can't be read or the word
/// behind `cancel`, which may be null, asks to stop.
bool ReadBlockWindow(BlockSource& source, const BlockPlan& plan, tagXArr2& out, const int* cancel);

}  // namespace zrk
