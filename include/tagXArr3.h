#pragma once

#include "tagXArr2.h"
#include "XExport.h"

/// Three planes of one shape, as of a colour image.
struct ZRKIO_API tagXArr3 {
  tagXArr3();
  /// Allocates at once; the planes stay empty where that fails.
  tagXArr3(int width, int height, int sampleBytes);

  /// As `tagXArr2::Alloc` for each plane, all three or none; storage is kept for the same shape only.
  int Alloc(int width, int height, int sampleBytes);
  /// Gives the memory of all planes back.
  void Free();

  tagXArr2 planes[3];  ///< as red, green and blue
};
