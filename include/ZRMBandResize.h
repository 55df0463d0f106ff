#pragma once

#include "ZRMBand.h"

#include <memory>

/// How a resized pixel is made.
enum XResampleMethod {
  /// The source pixel that holds the centre of the output pixel. A centre on an edge belongs to the right or lower
  /// pixel.
  kResampleNearest = 0,
  /// The mean of the source pixels under the output pixel, each weighted by the part of it that is covered; at exactly
  /// half the size the mean of four. Integers are rounded half away from zero.
  kResampleMean = 1,
  /// Cubic convolution with a = -0.5 over the four by four source pixels around the centre of the output pixel, also
  /// where the image becomes smaller. Pixels beyond the window are those at its edge. Integers are rounded half away
  /// from zero
  /// and cut to their range. An infinity reaches as not a number as far as the four by four pixels do.
  kResampleCubic = 2,
};

/// A window of another band at other pixel sizes, larger or smaller.
///
///     ZRMBandResize half;
///     half.SetSourceBand(band);
///     half.SetResampleMethod(kResampleMean);
///     if (!half.SetResizeInfo(0, width - 1, 0, height - 1, width / 2, height / 2)) ...
///
/// The source is always read at level 0, in strips of some megabytes and only where the output needs it. Source, method
/// and null value take effect with the next `SetResizeInfo`; until the first that succeeds, reads fail. Several threads
/// may read at once if they may read the source.
///
/// Samples equal to the null value of this band, not of the source, are left out of means. A pixel with only such
/// samples under it is null. If one of the four by four samples of the cubic method is null, the pixel is the bilinear
/// mean of the middle four samples without nulls. It is null if all middle four are null. A NaN takes part like any
/// other sample.
class ZRKIO_API ZRMBandResize : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandResize();
  ~ZRMBandResize() override;

  /// The band that is shown; not owned, and it has to outlive this one's reads.
  ZRMBand* GetSourceBand() const;
  void SetSourceBand(ZRMBand* source);
  /// A value of `XResampleMethod`, at first `kResampleMean`.
  int GetResampleMethod() const;
  /// Returns 0, with nothing changed, for any other value.
  int SetResampleMethod(int method);

  /// Lays `xSize` by `ySize` pixels over a window of the source, inclusive and in its full-resolution pixels. This band
  /// takes that size, and the source's data type, band type, tile sizes, coordinate kind and system. Its corner is that
  /// of the window, and its pixel sizes are the extent of the window divided by the size. Returns 1, or 0 with the band
  /// as it was. It fails without a source, for a window outside the source, for sizes that are not positive, for a data
  /// type that is not scalar, and if memory runs out.
  int SetResizeInfo(int x0, int x1, int y0, int y1, int xSize, int ySize);
  /// As above, with the size that brings the pixel sizes nearest to those given, in world units: the extent of the
  /// window over them, rounded, at least 1. Only the magnitudes count; 0 also for a pixel size of 0 or not finite.
  int SetResizeInfo(int x0, int x1, int y0, int y1, double xPixelSize, double yPixelSize);

  /// Windows are in pixels of this band. Level n takes every 2^n-th pixel and row of the resized image, from the
  /// upper left of the window.
  using ZRMBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  /// Frees what is this band's; the source's buffers stay.
  int CleanupMemory(int freeBuffers, int force) override;

 private:
  struct Impl;
  bool IsResizable(int x0, int x1, int y0, int y1) const;

  std::unique_ptr<Impl> impl_;
};
