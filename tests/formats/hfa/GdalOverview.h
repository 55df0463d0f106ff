#pragma once

#include <string>
#include <vector>

#include <cpl_error.h>
#include <gdal_frmts.h>
#include <gdal_priv.h>

/// The bytes of an overview of the first layer, as GDAL reads them.
struct GdalOverview {
  GdalOverview(const std::string& path, int number) {
    GDALRegister_HFA();
    const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
    const char* const drivers[] = {"HFA", nullptr};
    GDALDataset* const dataset = GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers);
    GDALRasterBand* const band = dataset ? dataset->GetRasterBand(1)->GetOverview(number) : nullptr;
    if (band) {
      width = band->GetXSize();
      height = band->GetYSize();
      bytes.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
      if (band->RasterIO(GF_Read, 0, 0, width, height, bytes.data(), width, height, GDT_Byte, 0, 0, nullptr) !=
          CE_None) {
        bytes.clear();
      }
    }
    GDALClose(dataset);
  }
  int At(int x, int y) const {
    return bytes.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x));
  }

  int width = 0;
  int height = 0;
  std::vector<unsigned char> bytes;
};
