#include "Oracle.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

#include <cpl_error.h>
#include <gdal.h>
#include <gdal_utils.h>

namespace {

struct CloseDataset {
  void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<void, CloseDataset>;

Dataset Open(const std::string& path) {
  GDALAllRegister();
  const char* const drivers[] = {"BMP", "JPEG", nullptr};
  return Dataset(GDALOpenEx(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers, nullptr, nullptr));
}

/// A copy in memory with one channel a band, so that nothing is written beside the file.
Dataset Expand(GDALDatasetH dataset) {
  const bool isIndexed = GDALGetRasterColorTable(GDALGetRasterBand(dataset, 1)) != nullptr;
  const char* const indexed[] = {"-of", "MEM", "-expand", "rgb", nullptr};
  const char* const direct[] = {"-of", "MEM", nullptr};
  auto* const options = GDALTranslateOptionsNew(const_cast<char**>(isIndexed ? indexed : direct), nullptr);
  Dataset expanded(GDALTranslate("", dataset, options, nullptr));
  GDALTranslateOptionsFree(options);
  return expanded;
}

OracleImage::Statistics Measure(GDALRasterBandH band, double numSamples) {
  OracleImage::Statistics result;
  GDALComputeRasterStatistics(band, FALSE, &result.min, &result.max, &result.mean, &result.stdDev, nullptr, nullptr);
  result.stdDev *= std::sqrt(numSamples / (numSamples - 1.0));
  return result;
}

}  // namespace

OracleImage ReadWithGdal(const std::string& path) {
  CPLPushErrorHandler(CPLQuietErrorHandler);
  OracleImage image;
  const Dataset dataset = Open(path);
  const Dataset expanded = dataset ? Expand(dataset.get()) : nullptr;
  if (expanded) {
    image.isOpen = true;
    image.width = GDALGetRasterXSize(expanded.get());
    image.height = GDALGetRasterYSize(expanded.get());
    const auto numSamples = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height);
    for (int i = 1; i <= GDALGetRasterCount(expanded.get()); ++i) {
      const GDALRasterBandH band = GDALGetRasterBand(expanded.get(), i);
      std::vector<unsigned char> plane(numSamples);
      const CPLErr failed = GDALRasterIO(band, GF_Read, 0, 0, image.width, image.height, plane.data(), image.width,
                                         image.height, GDT_Byte, 0, 0);
      if (failed != CE_None) image.isOpen = false;
      image.channels.push_back(std::move(plane));
      image.statistics.push_back(Measure(band, static_cast<double>(numSamples)));
    }
  }
  CPLPopErrorHandler();
  return image;
}

int LargestDifference(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
  if (a.size() != b.size()) return 256;
  int largest = 0;
  for (std::size_t i = 0; i < a.size(); ++i) largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}
