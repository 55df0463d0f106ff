#pragma once

#include "base/Window.h"
#include "XString.h"

#include <cstdint>
#include <memory>

// What decoders of ECW and MrSID files have in common. Both formats are coded by wavelets, so that an image can be had
// at any reduced size without decoding all of it. Their decoders are not built in: `WaveletCodec.h` finds them.

namespace zrk {

/// What a decoder tells of an image. Sizes, channels and type have been checked.
struct WaveletInfo {
  std::int64_t width = 0;
  std::int64_t height = 0;
  int numChannels = 0;
  int dataType = 0;  ///< as `XDataType` has it, 1 to 8
  /// The first pixel in the world: its outer corner in ECW files, its centre in MrSID files.
  double x = 0.0;
  double y = 0.0;
  /// World units from a column to the next one, and from a row to the next one.
  double xByColumn = 1.0;
  double yByColumn = 0.0;
  double xByRow = 0.0;
  double yByRow = -1.0;
  XString datum;       ///< of ECW files
  XString projection;  ///< of ECW files
  XString wkt;         ///< where the decoder names the system by one
};

/// Which pixels are wanted, told in two ways: decoders of ECW files go by the first, those of MrSID files by the
/// second.
struct WaveletView {
  int channel = 0;  ///< the first of them
  int numChannels = 1;
  Window window = {};  ///< in pixels of the image; it is scaled to the size of the result
  int level = 0;       ///< the result lies on the image reduced by 2^level,
  int left = 0;        ///< with its first column
  int top = 0;         ///< and its first row there
  int width = 0;       ///< of the result
  int height = 0;
};

/// An image that a decoder has open. One thread at a time may use it.
class WaveletImage {
 public:
  virtual ~WaveletImage();
  const WaveletInfo& GetInfo() const { return info_; }
  /// Fills one plane a channel with `width` times `height` samples, row by row. False with a noted reason where the
  /// decoder refuses or the word behind `cancel`, which may be null, asks to stop.
  virtual bool Read(const WaveletView& view, void* const* planes, const int* cancel) = 0;

 protected:
  WaveletInfo info_;
};

/// A decoder that was found.
class WaveletDecoder {
 public:
  virtual ~WaveletDecoder();
  /// Returns null with the reason where the file can't be opened. With `isExact` also where the decoder would give less
  /// than the file has.
  virtual std::unique_ptr<WaveletImage> Open(const XString& path, bool isExact, XString& reason) const = 0;
  /// The path of the library, or the name of the driver.
  virtual XString GetPlace() const = 0;
};

/// Whether sizes, channels and type are such as an image can have and the limits allow; otherwise tells why not.
bool IsPossible(const WaveletInfo& info, XString& reason);

}  // namespace zrk
