#pragma once

#include "tagXArr2.h"
#include "XExport.h"

/// Three planes of one shape, as of a colour image. The planes belong to the record and lie apart in memory. It is
/// movable and not copyable; use by one thread at a time. Nothing here throws.
struct ZRKIO_API tagXArr3 {
  tagXArr3();
  /// Allocates at once; the planes stay empty where that fails.
  tagXArr3(int width, int height, int sampleBytes);

  /// As `tagXArr2::Alloc` for each plane. All three are made, or 0 is returned and the old ones stay. Memory is kept
  /// for the same shape only.
  int Alloc(int width, int height, int sampleBytes);
  /// Gives the memory of all planes back, and leaves them empty.
  void Free();

  tagXArr2 planes[3];  ///< as red, green and blue
};
