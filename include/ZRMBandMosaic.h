#pragma once

#include "ZRMBand.h"

#include <memory>

/// Bands laid over each other by their world coordinates, shown as one band with a grid of its own.
///
/// A pixel is that of the source pixel whose area holds its centre; a centre on an edge, or less than a millionth of a
/// source pixel before it, is that of the next column or row. Where several sources cover a place, the first in the
/// list wins whose sample there is not its null value; a sample that is not a number wins like any other. Where none
/// does, the pixel is the mosaic's null value, or 0 where no sample of the mosaic's integer type equals that, or it is
/// beyond the range of REAL32. Samples of other data types are cut to the range of the mosaic's and rounded half away
/// from zero; what is not a number becomes 0 in an integer type.
///
/// All sources are taken to be in one system and to have rows along x: nothing is projected or turned. Set the grid,
/// add the bands, then call `CalcWarpCoeff`; until then, and after either was changed, reads fail. Several threads may
/// read at once if they may read the sources.
class ZRKIO_API ZRMBandMosaic : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandMosaic();
  ~ZRMBandMosaic() override;

  /// Adds a source at the end of the list; it is not owned and has to outlive the reads. Returns 0 for null and for
  /// this band.
  int AddBand(ZRMBand* band);
  int GetNumOfBands() const;
  /// Returns null outside the list.
  ZRMBand* GetBandAt(int index) const;

  /// Sets upper left corner, pixel sizes and size of the grid, in world units and pixels, and the data type. Returns 0,
  /// with the band as it was, for sizes that are not positive, a corner that is not finite, pixel sizes that are 0 or
  /// not finite, and a data type that is not scalar.
  int SetBandInfo(double ulx, double uly, double xPixelSize, double yPixelSize, int xSize, int ySize, int dataType);

  /// Works out how the pixels of the grid lie in each source. Returns 0 without a grid or sources, and where a source
  /// has a pixel size of 0 or a data type that is not scalar.
  int CalcWarpCoeff();

  /// Windows are in pixels of the grid. Level n takes every 2^n-th pixel and row, from the upper left of the window.
  /// The sources are read at level 0, in strips of some megabytes and only where the window lies over them; one that
  /// can't be read fails the read.
  using ZRMBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  /// Frees what is this band's; the sources' buffers stay.
  int CleanupMemory(int freeBuffers, int force) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
