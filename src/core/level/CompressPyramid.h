#pragma once

#include "core/level/PyramidBuild.h"

#include <cstdint>

class XFile;

namespace zrk {

/// What a compressed store is made of.
struct CompressRequest {
  Window window;
  int tileSize = 0;
  int level = 0;
  double maxError = 0.0;
  XThread* thread = nullptr;  ///< may be null
};

/// Does the work of `Xepot::CompressEPOT_CM3`, and tells what went wrong. `storeBytes` is set where all went well.
PyramidResult CompressPyramid(ZRMBand& band, XFile& file, std::int64_t offset, const CompressRequest& request,
                              std::int64_t& storeBytes);

}  // namespace zrk
