#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "XFormatId.h"
#include "ZRMBandHDF4.h"

namespace zrk {
namespace {

/// Nothing in the files that are known tells a place, and no world file is looked for.
struct Hdf4 {
  using Band = ZRMBandHDF4;
  static constexpr ChannelNames kNames = ChannelNames::kWithFileName;
  static constexpr const char* kWorldFile = nullptr;
};

/// Extensions of these files vary, so they are known by their bytes alone.
bool IsHdf4(FileHead head) {
  return StartsWith(head, "\x0E\x03\x13\x01");
}

}  // namespace

extern const FormatRow kHdf4Format;
constinit const FormatRow kHdf4Format = {.format = {kFormatHDF4, "HDF4", "", true, true, "ZRMBandHDF4"},
                                         .isContent = &IsHdf4,
                                         .loadRaster = &LoadRaster<Hdf4>};

}  // namespace zrk
