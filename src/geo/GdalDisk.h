#pragma once

#include "XString.h"

namespace zrk {

/// The name under which GDAL reads `path` through `CurrentDisk`. Files beside it have names of the same form. GDAL gets
/// regular files only, and none for writing. Folders are not listed, so that a driver finds only files that it knows by
/// name.
XString PathForGdal(const XString& path);

/// A sentence of GDAL with the names of `PathForGdal` turned back into paths.
XString WithPathsOfDisk(XString sentence);

}  // namespace zrk
