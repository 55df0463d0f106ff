#pragma once

#include "XEPOT2D.h"
#include "XTileSource.h"
#include "ZRMBand.h"

#include <memory>

/// A band over a pyramid store: the band of native raster files, and the store behind the level data of others.
///
/// Levels are those of the store: level n is its image n, and a read of any other level fails. Several threads
/// may read it at once, and write windows that share no tile.
class ZRKIO_API ZRMBandEPOT : public ZRMBand, public XTileSource {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandEPOT();
  ~ZRMBandEPOT() override;

  /// Binds the band to a store in a file, for reading or writing, as `XEPOT2D::SetImage` tells; sets size, data type,
  /// tile sizes, compression value and offset also where that fails. Returns 1 or 0.
  int SetImage(XFile* file, std::int64_t offset, int xSize, int ySize, int dataType, int xTileSize, int yTileSize,
               int levels, int compression);
  /// The store, which belongs to the band; never null. It serves nothing before `SetImage`.
  XEPOT2D* GetEPOT();
  const XEPOT2D* GetEPOT() const;
  /// Returns null for a class derived from this one, since it may read in its own way.
  const XEPOT2D* GetTileStore() const override;

  /// Does what `XBand` tells, and one thing more. If `out` points to a buffer of the caller's own, that buffer is
  /// filled in place. It gets as many columns and rows as it has, from the window's corner on its level. So `out` must
  /// be null or point to a buffer. One that a band handed out before is not filled but replaced.
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  using ZRMBand::ReadSubset;
  /// Writes to level 0; the lower levels stay as they are until `BuildLowerLevelsForTIP`.
  int WriteSubset(tagXArr2* data, int x0, int x1, int y0, int y1, bool keepNull, double nullValue) override;
  using ZRMBand::WriteSubset;
  /// The number of the store's levels.
  int GetLevel() override;
  /// As `XEPOT2D::BuildLowerLevels`: the columns `first` to `last` and the rows `firstRow` to `lastRow`.
  int BuildLowerLevelsForTIP(double nullValue, int first, int last, int firstRow, int lastRow, bool thematic) override;
  /// Frees the calling thread's buffer and what the store keeps for it.
  int CleanupMemory(int freeBuffers, int force) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
