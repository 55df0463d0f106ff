#pragma once

#include "XString.h"

namespace zrk {

/// The name under which GDAL reads `path`, and the files that lie beside it, through `CurrentDisk`: regular files only,
/// and never for writing. Folders are not listed, so a driver finds only what it knows by name.
XString PathForGdal(const XString& path);

/// A sentence of GDAL with the names of `PathForGdal` turned back into paths.
XString WithPathsOfDisk(XString sentence);

}  // namespace zrk
