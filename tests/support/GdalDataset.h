#pragma once

#include <gdal.h>

#include <memory>

struct CloseDataset {
  void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
};
/// A dataset of GDAL, which is closed with it.
using GdalDataset = std::unique_ptr<void, CloseDataset>;
