#include "LevelInputs.h"

#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XThreadSafeArr.h"

#include <gdal_priv.h>
#include <cmath>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

PaintedBand::PaintedBand(int side, int dataType, int channel) : channel_(channel) {
  SetSize(side, side);
  SetDataType(dataType);
}

double PaintedBand::Paint(int x, int y) const {
  // Noise by a multiplicative hash of the place, and a wave that is the same along a row of 64 pixels.
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
  Must(XRSFileIO::SaveFileZRM(&dataset, unfinished, kLevels, 0, side - 1, 0, side - 1, err, nullptr, kUncompressed, 0,
                              1),
       "can't write " + path + ": " + err.AsStdString());
  fs::rename(unfinished, path);
}

void MakeTiledTiff(const std::string& path, int side, int dataType, int numBands) {
  if (fs::exists(path)) return;
  const std::string unfinished = path + ".part";
  const GDALDataType type = dataType == kReal32 ? GDT_Float32 : GDT_Byte;
  const char* const options[] = {"TILED=YES", "BIGTIFF=IF_SAFER", "INTERLEAVE=BAND", nullptr};
  GDALDataset* tiff = GetGDALDriverManager()->GetDriverByName("GTiff")->Create(unfinished.c_str(), side, side, numBands,
                                                                               type, const_cast<char**>(options));
  Must(tiff != nullptr, "can't write " + path);
  constexpr int kRows = 256;
  for (int i = 0; i < numBands; ++i) {
    PaintedBand band(side, dataType, i);
    for (int y = 0; y < side; y += kRows) {
      tagXArr2* rows = nullptr;
      Must(band.ReadSubset(rows, 0, 0, side - 1, y, y + kRows - 1, nullptr), "out of memory");
      const CPLErr error = tiff->GetRasterBand(i + 1)->RasterIO(GF_Write, 0, y, side, kRows, rows->data, side, kRows,
                                                                type, 0, 0, nullptr);
      Must(error == CE_None, "can't write " + path);
    }
  }
  GDALClose(tiff);
  fs::rename(unfinished, path);
}
