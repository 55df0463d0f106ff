#pragma once

#include "XString.h"

#include <cstddef>
#include <vector>

namespace zrk {

/// Pixels of 24 bits, blue first, row by row from the top. Rows may lie backwards in memory.
struct JpegPixels {
  const unsigned char* firstRow = nullptr;
  std::ptrdiff_t rowBytes = 0;
  int width = 0;
  int height = 0;
};

/// No side of a JPEG image is longer.
inline constexpr int kMaxJpegSide = 65500;

/// Makes a JPEG file of the pixels in memory, in place of what `file` held. `quality` goes from 1 to 100. False with
/// the reason in `err` where libjpeg gives up or memory ran out.
bool EncodeJpeg(const JpegPixels& pixels, int quality, std::vector<unsigned char>& file, XString& err);

}  // namespace zrk
