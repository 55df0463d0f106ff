#pragma once

#include "codec/WaveletCodec.h"

#include <mutex>
#include <vector>

namespace zrk {

/// A file that is read through a decoder. Any number of threads may read it: each read borrows an open image, and one
/// that comes back is lent again.
class WaveletFile {
 public:
  /// Returns null with the reason where no decoder is there or none can open the file.
  static std::shared_ptr<WaveletFile> Open(const WaveletCodec& codec, const XString& path, bool isExact,
                                           XString& reason);
  WaveletFile(const WaveletCodec& codec, const XString& path, bool isExact, OpenedWavelet opened);

  const WaveletInfo& GetInfo() const { return info_; }
  /// What decodes the file.
  const XString& GetPlace() const { return place_; }
  /// As `WaveletImage::Read`. A window or channel outside the image is refused.
  bool Read(const WaveletView& view, void* const* planes, const int* cancel);

 private:
  std::unique_ptr<WaveletImage> Borrow();
  void GiveBack(std::unique_ptr<WaveletImage> image);

  const WaveletCodec& codec_;
  XString path_;
  bool isExact_;
  WaveletInfo info_;
  XString place_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<WaveletImage>> idle_;
};

}  // namespace zrk
