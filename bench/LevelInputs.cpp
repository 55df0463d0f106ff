// The picture that level files are built of. It is a formula of the position: any window of it can be computed alone,
// and so no source has to be in memory while a file of gigabytes is written. Waves give means that differ from place to
// place, and noise of four bits keeps compressing from being too easy.

#include "LevelInputs.h"

#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XThreadSafeArr.h"

#include <gdal_priv.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

namespace {

/// The rows that are painted and written at a time: one row of tiles.
constexpr int kRows = 256;

/// Spreads the values over the range of the type.
std::uint16_t ToPint16(double value) {
  return static_cast<std::uint16_t>(value * 131.0);
}

GDALDataType GdalTypeOf(int dataType) {
  if (dataType == kReal32) return GDT_Float32;
  return dataType == kPint16 ? GDT_UInt16 : GDT_Byte;
}

}  // namespace

PaintedBand::PaintedBand(int side, int dataType, int channel) : channel_(channel) {
  SetSize(side, side);
  SetDataType(dataType);
}

double PaintedBand::Paint(int x, int y) const {
  // The noise is a multiplicative hash of the position. The wave stays the same along 64 pixels of a row.
  const auto hash = (static_cast<unsigned>(x) * 2654435761u) ^ (static_cast<unsigned>(y) * 2246822519u);
  const double noise = static_cast<double>((hash * 2654435761u) >> 28);
  return 100.0 + 40.0 * channel_ + ((x >> 6) + (y >> 5)) % 100 + noise;
}

int PaintedBand::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int*) {
  if (level != 0 || !IsInside(x0, x1, y0, y1)) return 0;
  tagXArr2* buffer = buffers_.GetBuffer(x1 - x0 + 1, y1 - y0 + 1, GetDataSize());
  if (!buffer) return 0;
  for (int y = y0; y <= y1; ++y) {
    unsigned char* row = buffer->Row(y - y0);
    for (int x = x0; x <= x1; ++x) {
      const double value = Paint(x, y);
      if (GetDataType() == kPint08) row[x - x0] = static_cast<unsigned char>(value);
      if (GetDataType() == kPint16) reinterpret_cast<std::uint16_t*>(row)[x - x0] = ToPint16(value);
      if (GetDataType() == kReal32) reinterpret_cast<float*>(row)[x - x0] = static_cast<float>(value * 1.37);
    }
  }
  out = buffer;
  return 1;
}

void MakeNative(const std::string& path, int side, int dataType, int numBands) {
  if (fs::exists(path)) return;
  XRSFile dataset;
  for (int i = 0; i < numBands; ++i) dataset.AddBand(std::make_unique<PaintedBand>(side, dataType, i).release());
  XString err;
  const std::string unfinished = path + ".part";
  constexpr int kUncompressed = 100, kLevels = 1;
  // Under its own name a file is always whole, and later runs take it as it is.
  Must(XRSFileIO::SaveFileZRM(&dataset, unfinished, kLevels, 0, side - 1, 0, side - 1, err, nullptr, kUncompressed, 0,
                              1),
       "can't write " + path + ": " + err.AsStdString());
  fs::rename(unfinished, path);
}

void WritePaintedRows(GDALDataset& tiff, const std::string& path, int dataType, int channel, int y) {
  const int side = tiff.GetRasterXSize(), rows = std::min(kRows, side - y);
  PaintedBand band(side, dataType, channel);
  tagXArr2* painted = nullptr;
  Must(band.ReadSubset(painted, 0, 0, side - 1, y, y + rows - 1, nullptr), "out of memory");
  const CPLErr error =
      tiff.GetRasterBand(channel + 1)
          ->RasterIO(GF_Write, 0, y, side, rows, painted->data, side, rows, GdalTypeOf(dataType), 0, 0, nullptr);
  Must(error == CE_None, "can't write " + path);
}

void MakeTiledTiff(const std::string& path, int side, int dataType, int numBands) {
  if (fs::exists(path)) return;
  const std::string unfinished = path + ".part";
  // Planes, so that both libraries find the samples of a band together.
  const char* const options[] = {"TILED=YES", "BIGTIFF=IF_SAFER", "INTERLEAVE=BAND", nullptr};
  GDALDataset* tiff = GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
      unfinished.c_str(), side, side, numBands, GdalTypeOf(dataType), const_cast<char**>(options));
  Must(tiff != nullptr, "can't write " + path);
  for (int i = 0; i < numBands; ++i) {
    for (int y = 0; y < side; y += kRows) WritePaintedRows(*tiff, path, dataType, i, y);
  }
  GDALClose(tiff);
  fs::rename(unfinished, path);
}
