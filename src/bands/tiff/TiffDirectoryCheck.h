#pragma once

#include <tiffio.h>

namespace zrk {

class DiskFile;

/// Whether the file holds all of the directory that libtiff has read, with the values of its tags. libtiff itself takes
/// a tag whose values are missing for one that is not there, and so for another image.
bool HoldsTiffDirectory(TIFF* tiff, DiskFile& file);

}  // namespace zrk
