#pragma once

#include "XExport.h"
#include "XStringList.h"

/// The library's version, as "0.1.0".
ZRKIO_API const char* XfnGetVersion();

/// The libraries that this one uses, each as "name version": GDAL and PROJ as they are at run time, libjpeg-turbo and
/// Highway, which don't tell, as they were when this library was built.
ZRKIO_API XStringList XfnGetLibraryVersions();
