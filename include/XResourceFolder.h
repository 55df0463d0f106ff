#pragma once

#include "XExport.h"
#include "XString.h"

// Where the library looks for files that come with an installation: the terrain model and the geoid of sensor models
// (`ZRMBandHawk`), and the picture for missing tiles (`ZRMBandPBI`). Any thread may call both functions.

/// The folder, without a separator at its end: "resource" beside the library, unless another one was set.
ZRKIO_API XString XfnGetResourceFolder();
/// Sets it for what is made from now on. A resource is opened once a process; one that is asked for in another folder,
/// or in the same one after this call, is opened anew. An empty text brings back the folder beside the library.
ZRKIO_API void XfnSetResourceFolder(const XString& folder);
