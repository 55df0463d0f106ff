#pragma once

#include "XExport.h"
#include "XPixelStorage.h"

/// A line of samples: the one-dimensional pixel buffer. Movable, not copyable; use by one thread at a time.
struct ZRKIO_API tagXArr1 {
  tagXArr1() = default;
  tagXArr1(int count, int sampleBytes) { Alloc(count, sampleBytes); }
  tagXArr1(tagXArr1&& other) noexcept { *this = std::move(other); }
  tagXArr1& operator=(tagXArr1&& other) noexcept;

  /// Makes room for `count` samples; contents are undefined after it. Storage that is large enough is kept. Nonzero on
  /// success; 0, with the record as it was, for sizes that are not positive, for more than INT_MAX bytes, or
  /// where memory ran out.
  int Alloc(int count, int sampleBytes);
  void Free();

  unsigned char* data = nullptr;  ///< 64-byte aligned
  int size = 0;                   ///< in samples
  int elementSize = 0;            ///< in bytes

 private:
  zrk::PixelStorage storage_;
};
