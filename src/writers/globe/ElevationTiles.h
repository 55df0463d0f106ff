#pragma once

#include "display/HeightMosaic.h"
#include "tagXGlobeExport.h"
#include "writers/globe/TileMaker.h"

#include <atomic>

namespace zrk {

/// Tiles of an elevation store: 31 by 31 posts, and a normal for each of them where these are wanted. A post is the
/// height of the mosaic at its place, at every level.
///
/// A tile that does not lie within the extent that was asked for as a whole is zero, and so are its normals.
class ElevationTiles : public TileSource {
 public:
  /// The manager has to outlive this object. Returns null where none of its composites has heights.
  static std::unique_ptr<ElevationTiles> Make(const ZRMCompManager& manager, const tagXGlobeExport& what);

  std::unique_ptr<TileMaker> NewMaker(int level, XString& err) override;
  bool IsBuiltOnLevels() const override { return false; }
  int TilesAtOnce() const override { return TilePlan::kTilesOfUnit; }

 private:
  friend class ElevationMaker;
  ElevationTiles(std::unique_ptr<HeightMosaic> heights, const tagXGlobeExport& what);
  bool IsInside(double tileSize, int row, int col) const;
  void TellNoNormals(XString& err);

  std::unique_ptr<HeightMosaic> heights_;
  tagXGlobeExport what_;
  bool isExact_ = false;
  std::atomic<bool> isTold_ = false;  // that there is no memory for normals
};

}  // namespace zrk
