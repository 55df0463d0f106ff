#pragma once

#include "tagXArr2.h"
#include "XString.h"

#include <array>
#include <functional>

namespace zrk {

class DiskFile;

/// What the header of a JPEG file says.
struct JpegHeader {
  int width = 0;
  int height = 0;
  int numChannels = 0;  ///< as decoded: 1 for grey, 3 for everything else
};

/// Reads the header. 1, or 0 with the reason in `err`.
int ReadJpegHeader(DiskFile& file, JpegHeader& header, XString& err);

/// How a caller follows a decode and ends it. Both functions are called on the decoding thread, must not throw, and may
/// be empty.
struct JpegWatch {
  std::function<bool()> keepGoing;         ///< asked now and then; false ends the decode
  std::function<void(int row)> reportRow;  ///< told each row before it is read
};

/// Decodes the whole image into `planes`, which it allocates: one for grey, otherwise red, green and blue. A file fails
/// that is cut short, whose coded data is damaged, or that promises more pixels than its length can hold. 1, or 0 with
/// the reason in `err`, which is empty where `watch` ended the decode. After 0 the planes are undefined.
int DecodeJpeg(DiskFile& file, const JpegWatch& watch, std::array<tagXArr2, 3>& planes, XString& err);

}  // namespace zrk
