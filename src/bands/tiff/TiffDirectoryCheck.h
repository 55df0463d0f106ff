#pragma once

#include <tiffio.h>

namespace zrk {

class DiskFile;

/// Whether the file holds all of the directory that libtiff has read, with the values of its tags. libtiff itself
/// ignores a tag whose values are missing, and may then read another image than the file means.
bool HoldsTiffDirectory(TIFF* tiff, DiskFile& file);

}  // namespace zrk
