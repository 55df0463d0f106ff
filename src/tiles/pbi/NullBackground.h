#pragma once

#include "XString.h"

#include <vector>

namespace zrk {

/// The pixels of a picture that may stand for tiles that are not there: 256 by 256 pixels of four bytes, as they lie in
/// the file. Empty where the file is not a bitmap of exactly these, with an info header of 40 bytes.
std::vector<unsigned char> ReadNullBackground(const XString& path);
/// That of the file NullBackground.bmp in the resource folder, see `XfnSetResourceFolder`.
std::vector<unsigned char> LoadNullBackground();

}  // namespace zrk
