#pragma once

#include "ZRMBand.h"

#include <cstdint>
#include <memory>

class XFile;

/// A band over the level data of another one: it looks like that band at full resolution and serves its reduced levels
/// from a pyramid store of half its size. It declines level 0, and without a store behind it, as after a level file
/// that holds statistics only, every read.
///
/// All level bands of a dataset share one open file, which one of them owns.
class ZRKIO_API ZRMBandXLD : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandXLD();
  ~ZRMBandXLD() override;

  /// The level file, and whether this band closes and deletes it. A file that it owned before is closed and deleted.
  /// With null the band has none.
  void SetFile(XFile* file, int owns);
  /// The level file, or null.
  XFile* GetFile() const;
  /// Where the band's store begins in the level file; set before `Init`.
  void SetOffset(std::int64_t offset);
  std::int64_t GetOffset() const;

  /// Takes over the shape and the place of the source band, and opens the store for it, whose sizes are half of
  /// `xSize` and `ySize`. False without a file, for a null source, or for one that has no levels.
  bool Init(ZRMBand* source, int xSize, int ySize, int dataType, int xTileSize, int yTileSize);
  /// The bytes of the store in the level file, 0 before `Init`; the arguments don't matter.
  std::int64_t CalcBandSize(int, int, int, int, int) const;

  /// The window is found on the store through world coordinates, since its pixels are a little more than twice as
  /// large as the band's where a size is odd. `cancel` is not heard.
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  using ZRMBand::ReadSubset;
  /// As `ZRMBand::CalcStatistics`, from the coarsest level of the store. Returns 0 for an image of fewer than two
  /// levels, since level 0 is declined.
  int CalcStatistics(int withHistogram) override;
  /// Frees the calling thread's buffers, those of the store among them, as `XBand::CleanupMemory` tells.
  int CleanupMemory(int freeBuffers, int force) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
