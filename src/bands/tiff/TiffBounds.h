#pragma once

#include "core/load/FormatRow.h"

namespace zrk {

/// The corners that a file lists. Only its tags are read. Returns 0 where it can't be opened or has no geokeys.
int BoundTiff(const XString& path, const Corners& corners, bool& isLonLat);

}  // namespace zrk
