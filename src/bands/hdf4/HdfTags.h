#pragma once

#include <cstdint>

namespace zrk {

/// The tags of data descriptors that are looked at, as the HDF specification and development guide 4.2 has them.
enum HdfTag : std::uint16_t {
  kNumberType = 106,
  kDimensions = 300,
  kPlainRaster = 302,
  kCodedRaster = 303,
  kImageGroup = 306,
  kOldDataSet = 700,
  kDataShape = 701,
  kDataSamples = 702,
  kDataSet = 720,
};

}  // namespace zrk
