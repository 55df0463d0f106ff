#pragma once

#include "ZRMBand.h"

#include <memory>

/// A band over samples in memory, the caller's or its own, which can be read and written.
///
/// Several threads may read at once; a write goes with no other call. Before the first `SetSourceMemory` that succeeds
/// reads and writes fail. Size and data type are those of the memory and are set by it alone; after another has been
/// set on the band, calls fail that would reach outside.
class ZRKIO_API ZRMBand2DMem : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBand2DMem();
  ~ZRMBand2DMem() override;

  /// Shows a buffer of the caller's, which is not copied and keeps its shape for as long as this band is used. Sets
  /// size and data type. Returns 1, or 0 with the band as it was. It fails for a buffer that is null or empty, for a
  /// data type that is not scalar, and if the samples do not have the size of that type.
  int SetSourceMemory(tagXArr2* source, int dataType);
  /// Makes a buffer of the band's own, with all samples 0. Returns 0, with the band as it was, for sizes that are not
  /// positive, a data type that is not scalar, or where memory ran out.
  int SetSourceMemory(int xSize, int ySize, int dataType);
  /// The buffer that is shown; null before one is set.
  tagXArr2* GetSourceMemory() const;

  /// A copy, so that the result stays as it is when the memory changes. Level n takes every 2^n-th sample and row.
  using ZRMBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  /// 0, with nothing written, for a window that is not inside or a buffer of another shape or sample size.
  using ZRMBand::WriteSubset;
  int WriteSubset(tagXArr2* data, int x0, int x1, int y0, int y1, bool keepNull, double nullValue) override;
  /// The memory that is shown stays.
  int CleanupMemory(int freeBuffers, int force) override;

 private:
  struct Impl;
  bool IsInMemory(int x0, int x1, int y0, int y1) const;

  std::unique_ptr<Impl> impl_;
};
