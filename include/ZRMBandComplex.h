#pragma once

#include "ZRMBand.h"

#include <memory>

/// A band of complex samples that shows one real part of itself: reads and statistics are those of its inner band.
class ZRKIO_API ZRMBandComplex : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  /// Takes the inner band over, and its fields; null gives a band that serves no read.
  explicit ZRMBandComplex(ZRMBand* inner);
  ~ZRMBandComplex() override;

  /// The inner band; it belongs to this one.
  ZRMBand* GetInnerBand() const { return inner_.get(); }

  using ZRMBand::ReadSubset;
  /// The inner band's result; 0 without one.
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  /// Frees the inner band's buffers.
  int CleanupMemory(int freeBuffers, int force) override;

 private:
  std::unique_ptr<ZRMBand> inner_;
};
