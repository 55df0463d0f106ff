#pragma once

#include "ZRMBand.h"

namespace zrk {

/// Whether a band is an output of an image sharpening. Its class is known by name alone.
inline bool IsSharpened(const ZRMBand& band) {
  return XString(band.GetRuntimeClass()->className) == "ZRMBandImageSharpen";
}

}  // namespace zrk
