#pragma once

#include "XExport.h"

#include <memory>

/// The two-dimensional pixel buffer: `ySize` rows of `xSize` samples, packed, without padding between rows. The sample
/// at (x, y) lies at `data + rowOffsets[y] + colOffsets[x]`, which is the same place as `data + (y * xSize + x) *
/// elementSize`. Movable, not copyable; use by one thread at a time. A record that a band hands out stays the band's; a
/// record that the caller makes is the caller's. Nothing here throws.
struct ZRKIO_API tagXArr2 {
  tagXArr2();
  /// Allocates at once; `data` stays null where that fails.
  tagXArr2(int width, int height, int sampleBytes);
  ~tagXArr2();
  /// The source is left empty, as after `Free`.
  tagXArr2(tagXArr2&& other) noexcept;
  tagXArr2& operator=(tagXArr2&& other) noexcept;

  /// Makes room for `width` by `height` samples; contents are undefined after it. Storage that is large enough
  /// is kept. Nonzero on success; 0, with the record as it was, for sizes that are not positive, for more than
  /// INT_MAX bytes, or where memory ran out.
  int Alloc(int width, int height, int sampleBytes);
  /// Gives the memory back; all fields are as at first.
  void Free();

  /// The first sample of row y, which must lie inside.
  unsigned char* Row(int y) const { return data + rowOffsets[y]; }

  unsigned char* data = nullptr;  ///< belongs to the record; row-major, 64-byte aligned
  int xSize = 0;                  ///< width in samples
  int ySize = 0;                  ///< height in samples
  int elementSize = 0;            ///< bytes of one sample
  int* rowOffsets = nullptr;      ///< `ySize` byte offsets of the rows from `data`
  int* colOffsets = nullptr;      ///< `xSize` byte offsets of the columns within a row
  bool isLent = false;            ///< it belongs to a band, which hands it out as a result

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
