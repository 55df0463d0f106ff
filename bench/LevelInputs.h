#pragma once

#include "Inputs.h"
#include "XThreadSafeArr.h"
#include "ZRMBand.h"

#include <string>

class GDALDataset;

/// A picture that is computed when it is read: waves with noise on them, in samples of 8 or 16 bits or 32-bit reals.
class PaintedBand : public ZRMBand {
 public:
  PaintedBand(int side, int dataType, int channel);
  using ZRMBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;

 private:
  double Paint(int x, int y) const;

  int channel_;
  XThreadSafeArr2 buffers_;
};

/// Write the picture of `side` by `side` pixels as a native raster, uncompressed and with one level beside the pixels,
/// and as a tiled TIFF. Both have tiles of 256 x 256. A file that is there is kept.
void MakeNative(const std::string& path, int side, int dataType, int numBands);
void MakeTiledTiff(const std::string& path, int side, int dataType, int numBands);

/// Writes rows `y` and up to 255 below it of one band of the picture to a TIFF that GDAL has open.
void WritePaintedRows(GDALDataset& tiff, const std::string& path, int dataType, int channel, int y);
