#pragma once

#include "XString.h"

#include <functional>

namespace zrk {

class DiskFile;

/// What the header of a JPEG file says.
struct JpegHeader {
  int width = 0;
  int height = 0;
  int numChannels = 0;  ///< as decoded: 1 for grey, 3 for everything else
};

/// Reads the header. Returns 1, or 0 with the reason in `err`.
int ReadJpegHeader(DiskFile& file, JpegHeader& header, XString& err);

/// How a caller follows a decode and ends it. Both functions are called on the decoding thread, must not throw, and may
/// be empty.
struct JpegWatch {
  std::function<bool()> keepGoing;         ///< asked now and then, and before each report; false ends the decode
  std::function<void(int row)> reportRow;  ///< told each row after it is read
  bool anyWarningFails = false;  ///< also one that many sound files cause, about bytes between segments for instance
};

/// Where the rows of a decode go, from the top down. `RowOf` and `Take` throw nothing and leave nothing behind that
/// needs a destructor, since a decode ends with a jump where the file is damaged.
class JpegRows {
 public:
  virtual ~JpegRows();
  /// Told before the first row how many planes there will be, one for grey, otherwise red, green and blue. False ends
  /// the decode.
  virtual bool Begin(int width, int height, int numPlanes) = 0;
  /// Room for a row of a plane.
  virtual unsigned char* RowOf(int plane, int y) = 0;
  /// The row is there, in all planes.
  virtual void Take(int y) = 0;
};

/// Decodes the whole image into `rows`. A file fails that is cut short, whose coded data is damaged, or that promises
/// more pixels than its length can hold. Returns 1, or 0 with the reason in `err`, which is empty where `watch` ended
/// the decode. After 0 what the rows hold is undefined.
int DecodeJpeg(DiskFile& file, const JpegWatch& watch, JpegRows& rows, XString& err);

}  // namespace zrk
