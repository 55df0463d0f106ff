#pragma once

#include "codec/NitfHeader.h"
#include "XFile.h"

namespace zrk {

/// Looks at the codestream of an image that is coded as JPEG 2000, before a decoder is made for it. Empty, or the
/// reason why it can't be decoded within the limits.
XString CheckNitfCodestream(const XFile& file, const NitfSegment& segment, const NitfImage& image);

}  // namespace zrk
