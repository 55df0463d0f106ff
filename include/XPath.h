#pragma once

#include "XExport.h"
#include "XString.h"

// Both '/' and '\' separate folders when a path is taken apart. A dot counts as the beginning of an extension
// only within the last part of the path.

/// What follows the last separator.
ZRKIO_API XString XfnGetFileName(const XString& path);
/// The file name without its extension and dot.
ZRKIO_API XString XfnGetFileTitle(const XString& path);
/// What follows the last dot of the file name, without the dot; empty for a name without a dot.
ZRKIO_API XString XfnGetFileExt(const XString& path);
/// What stands before the file name, its separator included; empty for a path without a folder.
ZRKIO_API XString XfnGetFileFolder(const XString& path);
/// The folder that the library itself lies in, without a separator at the end; empty where the system doesn't tell.
ZRKIO_API XString XfnGetModulePathUpper();
