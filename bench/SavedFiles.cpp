#include "SavedFiles.h"

#include "Inputs.h"

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <vector>

namespace {

/// All bands of some rows. Results are compared stripe by stripe, so that they need not fit in memory.
std::vector<unsigned char> ReadStripe(GDALDataset& dataset, int y, int rows) {
  const int width = dataset.GetRasterXSize(), numBands = dataset.GetRasterCount();
  const GDALDataType type = dataset.GetRasterBand(1)->GetRasterDataType();
  std::vector<unsigned char> samples(static_cast<std::size_t>(width) * static_cast<std::size_t>(rows) *
                                     static_cast<std::size_t>(numBands * GDALGetDataTypeSizeBytes(type)));
  Must(dataset.RasterIO(GF_Read, 0, y, width, rows, samples.data(), width, rows, type, numBands, nullptr, 0, 0, 0,
                        nullptr) == CE_None,
       "GDAL can't read a stripe");
  return samples;
}

}  // namespace

GdalSource OpenByGdal(const std::string& path) {
  GdalSource dataset(GDALDataset::FromHandle(GDALOpen(path.c_str(), GA_ReadOnly)),
                     [](GDALDataset* open) { GDALClose(open); });
  Must(dataset != nullptr, "GDAL can't open " + path);
  return dataset;
}

void MustAgree(const std::string& one, const std::string& other) {
  const GdalSource first = OpenByGdal(one), second = OpenByGdal(other);
  const int height = first->GetRasterYSize();
  Must(first->GetRasterXSize() == second->GetRasterXSize() && height == second->GetRasterYSize() &&
           first->GetRasterCount() == second->GetRasterCount(),
       one + " and " + other + " have different shapes");
  for (int y = 0; y < height; y += kWindowSide) {
    const int rows = std::min(kWindowSide, height - y);
    Must(ReadStripe(*first, y, rows) == ReadStripe(*second, y, rows), one + " and " + other + " differ");
  }
}

void WaitForDisk(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  Must(file >= 0 && ::fsync(file) == 0, "can't sync " + path);
  ::close(file);
}
