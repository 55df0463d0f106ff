#pragma once

#include "XExport.h"

#include <span>

class ZRMBand;
struct tagXArr2;

/// A band whose samples lie together with those of others in a file, so that one pass over it serves them all. Band
/// classes derive from it beside their base; callers use `XfnReadBands`, which finds out.
class ZRKIO_API XJointReader {
 public:
  virtual ~XJointReader();
  /// The same for all bands that can be read together; null where there are no others. It is for comparison alone.
  virtual const void* GetJointSource() const = 0;
  /// Reads a window at full resolution of bands that share the source of this one, `out` having room for the result of
  /// each. What is read, and how long it lives, is as with `XBand::ReadSubset`. Returns 1, or 0 where any of them can't
  /// be read.
  virtual int ReadJointly(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                          std::span<tagXArr2*> out) = 0;
};

/// Whether one pass over a file serves all of the bands.
ZRKIO_API bool XfnHaveJointSource(std::span<ZRMBand* const> bands);

/// Reads the same window of several bands at full resolution, together where that saves work. `out` receives a buffer
/// for each of them, or null where it comes to nothing; they live until the calling thread's next read of any of the
/// bands. Returns 1, or 0 as soon as one fails.
ZRKIO_API int XfnReadBands(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                           std::span<tagXArr2*> out);
