#pragma once

#include "XSensorModel.h"
#include "XSpatialReference.h"
#include "XString.h"
#include "ZRMBand.h"

#include <memory>

/// A grid of square pixels in the world. `west` and `north` are the outer corner of the first pixel.
struct tagXOrthoGrid {
  XSpatialReference sr;
  double west = 0.0;
  double north = 0.0;
  double pixelSize = 0.0;  ///< in the unit of the system
  int xSize = 0;
  int ySize = 0;
};

/// What a pixel is made of: the source pixel that is nearest, or the four around the place.
enum XOrthoMethod { kOrthoNearest, kOrthoBilinear };

/// Works out the grid that holds the whole of an image with a sensor model. Returns 1, or 0 with the reason in `err`.
/// An empty system in `grid` becomes that of the UTM zone under the middle of the image, or near the poles the polar
/// stereographic system. A pixel size of 0 becomes the finest distance of neighbours in the middle of the image, to
/// three digits. Edges are multiples of the pixel size. A grid of more than 2^31 pixels in either direction is refused.
ZRKIO_API int XfnPlanOrtho(ZRMBand* source, tagXOrthoGrid& grid, XString& err);

/// An image of a moving sensor as a map: a band over another one, whose pixels lie on a grid in the world.
///
/// Each pixel shows what the sensor saw at the height of the ground under its centre. Places that are hidden behind
/// terrain show what hides them. Places outside the image, or without a height, have the null value.
///
/// The sensor model is asked for few places. Positions between them are interpolated if probes show an error below 0.02
/// pixels of the source. The height of each pixel is asked for. A pixel is off by less than 0.05 pixels.
///
/// A window is shared among the workers that the library was granted. Any number of threads may read at once, if they
/// may read the source.
class ZRKIO_API ZRMBandOrtho : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandOrtho();
  ~ZRMBandOrtho() override;

  /// Shows `source`, which stays the caller's and has to outlive the reads, on a grid. Data type, name and sample
  /// values are those of the source. The null value is that of the source, or 0 if the source has none. Returns 1, or 0
  /// with the reason in `err` and the band as it was. It fails for a source without a sensor model, for a grid without
  /// a system or pixels, and if no transform leads from the grid to longitude and latitude.
  int SetSource(ZRMBand* source, const tagXOrthoGrid& grid, XOrthoMethod method, XString& err);

  /// Windows are in pixels of the grid. Level n takes every 2^n-th pixel and row, from the upper left of the window. A
  /// source that can't be read fails the read.
  using ZRMBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  /// Frees what is this band's; the source's buffers stay.
  int CleanupMemory(int freeBuffers, int force) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
