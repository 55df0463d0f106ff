#pragma once

#include "XExport.h"

#include <cstdint>

/// What a file may ask for before it is refused. A file that asks for more fails to open, or its read fails, with a
/// result of 0. Nothing is allocated for it. The defaults fit real data on a desktop machine. A program that opens
/// untrusted files should lower them.
struct tagXLimits {
  std::int64_t imagePixels = std::int64_t{1} << 40;  ///< width times height of one image
  std::int64_t decodedTileBytes = std::int64_t{1}
                                  << 30;              ///< one decoded tile or strip, or a decoder's own working memory
  std::int64_t tableBytes = std::int64_t{256} << 20;  ///< one table or text of a header
  int nestingDepth = 64;                              ///< of XML elements and of linked records
  int channels = 1 << 14;                             ///< of one image
  int jpegScans = 500;                                ///< scans of one progressive JPEG
  std::int64_t xmlBytes = std::int64_t{32} << 20;     ///< the XML text of a native raster file or a level file
  int xmlElements = 1 << 20;  ///< elements of that text, comments and the like included; half its attributes
};

/// The limits in force for the process.
ZRKIO_API tagXLimits XfnGetLimits();
/// Takes effect for files opened from now on; may be called from any thread.
ZRKIO_API void XfnSetLimits(const tagXLimits& limits);
