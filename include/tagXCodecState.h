#pragma once

#include "XString.h"

/// Whether a format can be decoded just now. Most formats are decoded by the library itself. Some need a decoder of
/// their makers', which is looked for while the program runs and may be installed at any time.
struct tagXCodecState {
  bool isNeeded = false;  ///< false for a format that the library decodes itself; the rest then has its first values
  bool isFound = false;
  /// What was found: the path of the makers' library, or the name of the driver of GDAL's that serves instead.
  XString place = {};
  /// Where nothing was found, a sentence that says what is missing. It also tells of a library that is there and is of
  /// no use.
  XString remark = {};
};
