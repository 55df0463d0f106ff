#pragma once

#include "ZRMBand.h"

#include <memory>

/// A band of complex samples that shows one real part of itself: reads and statistics are those of its inner band, and
/// windows, levels and results are as with that. `GetShownBand` gives the inner band, and `GetLevelSource` the band
/// that takes its level data. Several threads may read it at once.
class ZRKIO_API ZRMBandComplex : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  /// Takes the inner band over, which has to come from `new`, and copies its fields. A later change of the inner band's
  /// fields does not show here. Null gives a band that serves no read.
  explicit ZRMBandComplex(ZRMBand* inner);
  ~ZRMBandComplex() override;

  /// The inner band, or null. It belongs to this one and is deleted with it.
  ZRMBand* GetInnerBand() const { return inner_.get(); }

  using ZRMBand::ReadSubset;
  /// The inner band's result, in a buffer that belongs to the inner band; 0 without one.
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  /// Frees the inner band's buffers, where `freeBuffers` is nonzero and memory is short or `force` is nonzero. Always
  /// 1.
  int CleanupMemory(int freeBuffers, int force) override;

 private:
  std::unique_ptr<ZRMBand> inner_;
};
