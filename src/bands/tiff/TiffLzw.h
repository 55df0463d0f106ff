#pragma once

#include "bands/tiff/TiffSource.h"
#include "codec/LzwDecoder.h"

#include <span>
#include <vector>

namespace zrk {

/// Decodes LZW blocks in less than half of libtiff's time. It leaves to libtiff what is damaged, or packed in unusual
/// ways. For one thread at a time.
class TiffLzw {
 public:
  /// `handle` tells how the file was packed.
  TiffLzw(TIFF* handle, const TiffSource& source);

  enum class Result { kDone, kLeftToLibtiff, kUnread };
  /// Fills the bytes of a block as libtiff does. `kUnread` where the disk doesn't give what the file holds.
  Result Decode(TIFF* handle, int block, std::span<unsigned char> bytes);

 private:
  Result Read(std::int64_t offset, std::int64_t count);
  bool AddDifferences(std::span<unsigned char> bytes) const;

  const TiffSource& source_;
  bool isUsual_ = false;
  bool hasDifferences_ = false;  // in place of samples
  LzwDecoder decoder_;
  std::vector<unsigned char> packed_;
};

}  // namespace zrk
