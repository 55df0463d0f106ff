#pragma once

#include "XExport.h"
#include "XString.h"

// ECW and MrSID files are decoded by libraries of their makers, which are no part of this one. The library looks for
// them when a file is opened. It looks first in the folder that is named here, then where the system's loader of shared
// libraries looks, and last among the drivers of GDAL. The folder of an image is never looked at.

/// Names the folder; the empty text names none. Files that are open keep the decoder that they have. Any thread may
/// call it. A library is code that runs with the rights of the program, so the folder should be one that only trusted
/// people can write to.
ZRKIO_API void XfnSetCodecFolder(const XString& folder);
/// The folder in use. Before the first call of `XfnSetCodecFolder` it is the value of the environment variable
/// ZRK_CODEC_FOLDER. A program that runs with other rights than its caller's ignores that variable.
ZRKIO_API XString XfnGetCodecFolder();
