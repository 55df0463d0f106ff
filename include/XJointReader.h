#pragma once

#include "XExport.h"

#include <span>

class ZRMBand;
struct tagXArr2;

/// A band whose samples lie together with those of other bands in a file, so that one pass over the file serves all of
/// them. Band classes derive from this class beside their base. Callers use `XfnReadBands`, which finds such bands.
class ZRKIO_API XJointReader {
 public:
  virtual ~XJointReader();
  /// A pointer that is the same for all bands that can be read together; null for a band that is read alone. Compare
  /// it, and use it for nothing else.
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
/// for each band, or null for a band whose read fails. The buffers are valid until the calling thread's next read of
/// any of the bands. Returns 1, or 0 as soon as one fails.
ZRKIO_API int XfnReadBands(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                           std::span<tagXArr2*> out);
