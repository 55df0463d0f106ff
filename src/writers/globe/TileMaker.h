#pragma once

#include "writers/globe/TilePlan.h"
#include "XString.h"

#include <memory>

namespace zrk {

/// Makes tiles for one worker. It has the memory that one tile after the other needs.
class TileMaker {
 public:
  virtual ~TileMaker();
  /// Makes the tiles of a strip, one behind the other in `out`, as the file has them. `cancel` is the word that asks to
  /// stop, or null. False where the tiles can't be made, with the reason in `err`, which stays empty after a stop.
  virtual bool Make(const TileStrip& strip, unsigned char* out, int* cancel, XString& err) = 0;
};

/// What the tiles of an export are made of. Workers get a maker each.
class TileSource {
 public:
  virtual ~TileSource();
  /// The maker of a level's tiles; null with the reason in `err`.
  virtual std::unique_ptr<TileMaker> NewMaker(int level, XString& err) = 0;
  /// Whether tiles of a level are made of those of the level before it in the plan, so that this has to be complete.
  virtual bool IsBuiltOnLevels() const = 0;
  /// How many tiles a strip has at most.
  virtual int TilesAtOnce() const = 0;
};

}  // namespace zrk
