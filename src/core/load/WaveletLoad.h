#pragma once

#include "base/Fence.h"
#include "codec/WaveletFile.h"
#include "ZRMBand.h"

#include <memory>
#include <utility>

namespace zrk {

/// Opens a file of wavelets for a band in its policy, and gives the band the size of the image and the type of its
/// samples. `take(file)` takes the rest. A failure leaves its reason in `err` under the exact policy only.
template <class Take>
int LoadWaveletFile(const WaveletCodec& codec, const XString& path, ZRMBand& band, XString& err, const Take& take) {
  XString reason;
  const int isRead = Fenced(reason, [&] {
    std::shared_ptr<WaveletFile> file = WaveletFile::Open(codec, path, band.IsExact(), reason);
    if (!file) return 0;
    const WaveletInfo& info = file->GetInfo();
    band.SetSize(static_cast<int>(info.width), static_cast<int>(info.height));
    band.SetDataType(info.dataType);
    take(std::move(file));
    return 1;
  });
  if (!isRead && band.IsExact()) err = reason;
  return isRead;
}

}  // namespace zrk
