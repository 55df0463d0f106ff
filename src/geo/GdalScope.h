#pragma once

#include "XString.h"

#include <cpl_conv.h>
#include <cpl_error.h>

namespace zrk {

/// Keeps GDAL, OGR and PROJ from printing on the calling thread as long as it lives, and remembers what they had to
/// say. Afterwards the program finds its own last error of GDAL again.
class QuietGdal {
 public:
  QuietGdal();
  ~QuietGdal();
  QuietGdal(const QuietGdal&) = delete;
  QuietGdal& operator=(const QuietGdal&) = delete;

  /// The text of the last error, or of the last warning where there was no error; empty where there was neither.
  const XString& GetLastError() const { return lastError_; }
  void Note(CPLErr severity, const char* message) noexcept;

 private:
  CPLErrorStateBackuper before_;
  CPLErr severity_ = CE_None;
  XString lastError_;
};

/// Keeps PROJ from fetching grids, for the whole process.
void SwitchNetworkOff();

/// Holds switches of GDAL on the calling thread. Without that the environment could decide what a file contains, what
/// is fetched and what is written.
class FixedGdalSwitches {
 private:
  CPLConfigOptionSetter kmlStyles_{"LIBKML_RESOLVE_STYLE", "NO", false};
  CPLConfigOptionSetter kmlLinks_{"LIBKML_EXTERNAL_STYLE", "NO", false};
  CPLConfigOptionSetter kmlOverlays_{"LIBKML_READ_GROUND_OVERLAY", "YES", false};
  CPLConfigOptionSetter shapeIndex_{"SHAPE_RESTORE_SHX", "NO", false};
  CPLConfigOptionSetter shapeCoordinates_{"OGR_SHAPE_ALLOW_NON_FINITE_COORDINATES", "NO", false};
  CPLConfigOptionSetter dxfHeader_{"DXF_HEADER_ONLY", "NO", false};
  CPLConfigOptionSetter dxfBlocks_{"DXF_INLINE_BLOCKS", "YES", false};
  CPLConfigOptionSetter dxfGeometries_{"DXF_MERGE_BLOCK_GEOMETRIES", "YES", false};
  CPLConfigOptionSetter dxfBlockSize_{"DXF_FEATURE_LIMIT_PER_BLOCK", "10000", false};
};

}  // namespace zrk
