#include "codec/WaveletImage.h"

#include "base/Checked.h"
#include "XDataType.h"
#include "XLimits.h"

#include <limits>

namespace zrk {

WaveletImage::~WaveletImage() = default;

WaveletDecoder::~WaveletDecoder() = default;

bool IsPossible(const WaveletInfo& info, XString& reason) {
  constexpr std::int64_t kMaxSide = std::numeric_limits<int>::max();
  const tagXLimits limits = XfnGetLimits();
  const auto numPixels = CheckedMultiply(info.width, info.height);
  const bool isSize = info.width > 0 && info.height > 0 && info.width <= kMaxSide && info.height <= kMaxSide;
  if (!isSize || !numPixels || *numPixels > limits.imagePixels) {
    reason = "The decoder tells a size that no image can have here";
  } else if (info.numChannels < 1 || info.numChannels > limits.channels) {
    reason = "The decoder tells a number of channels that no image can have here";
  } else if (info.dataType < kPint08 || info.dataType > kReal64) {
    reason = "The samples are of a type that is not known here";
  } else {
    return true;
  }
  return false;
}

}  // namespace zrk
