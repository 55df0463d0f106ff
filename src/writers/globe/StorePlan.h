#pragma once

#include "tagXGlobeExport.h"
#include "writers/globe/ExportFile.h"
#include "writers/globe/TilePlan.h"

namespace zrk {

/// Everything about the file of an export that its order tells, before any source is looked at.
struct StorePlan {
  ExportHead head;
  std::vector<tagXTileLevel> levels;  ///< as the header has them, the coarsest first
  TilePlan tiles;                     ///< levels in the order in which they are made
  bool isElevation = false;

  /// Returns 0 where the extent holds no tile.
  std::int64_t CountTiles() const { return tiles.CountTiles(); }
  /// The sentence for a file that can't be made.
  const char* WhyNotMade() const;
};

/// The plan of an export whose levels are in order. All levels of pictures cover the same extent: the tiles of the
/// coarsest level that the requested extent touches. A level of heights has the tiles of its own that the requested
/// extent touches.
StorePlan MakeStorePlan(const tagXGlobeExport& what);

}  // namespace zrk
