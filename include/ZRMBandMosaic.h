#pragma once

#include "ZRMBand.h"

#include <memory>

/// Bands laid over each other by their world coordinates, shown as one band with a grid of its own.
///
/// A pixel takes the sample of the source pixel whose area holds its centre. A centre on an edge, or less than a
/// millionth of a source pixel before it, belongs to the next column or row. If several sources cover a place, the
/// first source in the list whose sample there is not its null value wins. A NaN wins like any other sample. If no
/// source wins, the pixel is the mosaic's null value. It is 0 if the mosaic's data type can't hold the null value.
/// Samples of other data types are cut to the range of the mosaic's type and rounded half away from zero. A NaN becomes
/// 0 in an integer type.
///
/// All sources are taken to be in one system and to have rows along x: nothing is projected or turned. Set the grid,
/// add the bands, then call `CalcWarpCoeff`. Reads fail before that call, and again after the grid or the list was
/// changed. Several threads may read at once if they may read the sources.
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

  /// Sets upper left corner, pixel sizes and size of the grid, in world units and pixels, and the data type. Returns 1,
  /// or 0 with the band as it was. It fails for sizes that are not positive, a corner that is not finite, pixel sizes
  /// that are 0 or not finite, and a data type that is not scalar.
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
