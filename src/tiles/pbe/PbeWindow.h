#pragma once

#include "tagXArr2.h"
#include "tiles/pbe/PbeAxis.h"
#include "tiles/StoreForReading.h"

#include <vector>

namespace zrk {

/// Memory that reads of a thread use again.
struct PbeScratch {
  StoreAxis columns;
  StoreAxis rows;
  PostPlaces places;
  std::vector<unsigned char> posts;
};

/// Whether the posts of a store are integers of 16 bits, as they were before version 1.1. Otherwise they are floats.
bool HasShortPosts(const StoreHeader& header);

/// A window on its way from a store into heights. Which tiles give which posts stands in the scratch. Posts that no
/// tile gives are 0. One thread reads it.
class PbeWindow {
 public:
  /// `heights` holds floats; or the posts of the store as they are, where the store has an image.
  PbeWindow(const StoreForReading& store, PbeScratch& scratch, tagXArr2& heights);

  /// Tiles of one level, whose rows count as 31 posts long. Tiles that do not lie in the file give nothing, and what
  /// can't be read of one is 0. False where it was stopped.
  bool ReadCompatibly(const tagXTileLevel& level, const int* cancel);
  /// False, with the reason noted, where a tile within the level's ranges can't be read.
  bool ReadExactly(const StoreImage::Level& level, const int* cancel);

 private:
  const char* FindFault(const tagXTileLevel& level) const;
  bool ReadPosts(const TileBytes& tile, const StoreVisit& row, const StoreVisit& column);
  void Put(const StoreVisit& row, const StoreVisit& column);
  template <class Post, class Height>
  void PutAs(const StoreVisit& row, const StoreVisit& column);

  const StoreForReading& store_;
  PbeScratch& scratch_;
  tagXArr2& heights_;
  bool isShort_;
  int postBytes_;
  int stride_ = 31;  // posts of a row of a tile
};

}  // namespace zrk
