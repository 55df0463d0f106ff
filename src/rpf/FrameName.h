#pragma once

#include "core/load/FormatRow.h"

namespace zrk {

/// The extension of the name that the header of the Raster Product Format gives to its file, in capitals; empty where
/// the head holds no such header, or that of a table of contents. It leads to the product also where the file goes by
/// another name.
XString FindProductExtension(FileHead head);

/// Whether a file begins as all frames do; what its header says is then for the reader.
bool MayBeFrame(FileHead head);

}  // namespace zrk
