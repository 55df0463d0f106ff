#pragma once

#include "codec/WaveletImage.h"
#include "tagXCodecState.h"

namespace zrk {

class SharedLibrary;

/// What is needed to find the decoders of a format.
struct WaveletCodec {
  const char* library;  ///< the makers', as "libNCSEcw.so"; a version may follow
  const char* driver;   ///< GDAL's
  const char* absent;   ///< the sentence where there is neither
  bool isCentred;       ///< the place of an image is the centre of its first pixel
  /// Makes the decoder of a library. Null, with the reason, where the library lacks something.
  std::shared_ptr<const WaveletDecoder> (*bind)(std::shared_ptr<const SharedLibrary> library, XString& reason);
};

extern const WaveletCodec kEcwCodec;
extern const WaveletCodec kMrSidCodec;

/// Tells what decodes the format now.
void TellCodec(const WaveletCodec& codec, tagXCodecState& state);

/// An open image, and what has opened it.
struct OpenedWavelet {
  std::unique_ptr<WaveletImage> image;
  XString place;  ///< as `WaveletDecoder::GetPlace` tells it
};

/// Opens a file by the makers' library, or where that is not there or refuses the file, by GDAL's driver. The image is
/// null, with the reason of the first one, where neither does.
OpenedWavelet OpenWavelet(const WaveletCodec& codec, const XString& path, bool isExact, XString& reason);

/// GDAL's driver of a format, or null where GDAL has none.
std::shared_ptr<const WaveletDecoder> FindGdalDecoder(const WaveletCodec& codec);

}  // namespace zrk
