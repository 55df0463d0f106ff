#pragma once

#include "XExport.h"
#include "XStringList.h"

/// The library's version, as "0.1.0".
ZRKIO_API const char* XfnGetVersion();

/// The libraries that this one uses, each as "name version". GDAL and PROJ have their versions at run time.
/// libjpeg-turbo and Highway do not tell them, so theirs are the versions that this library was built with.
ZRKIO_API XStringList XfnGetLibraryVersions();
