#pragma once

#include "XExport.h"
#include "XRSFileIO.h"

#include <span>

/// One format that the dispatch knows.
struct tagXFormat {
  int id;            ///< of `XFormatId`
  const char* name;  ///< as "Windows bitmap"
  const char*
      extensions;  ///< as "tif tiff"; a rule in words where the extension alone does not tell; empty if only by id
  bool isRaster;   ///< otherwise vector
  bool canRead;    ///< in this build
  const char* bandClass;  ///< the class behind its bands, as "ZRMBandBMP"; empty where none is built
};

/// All formats, by id. The records live as long as the program.
ZRKIO_API std::span<const tagXFormat> XfnGetFormats();
/// The format of an id, or null.
ZRKIO_API const tagXFormat* XfnFindFormat(int id);
