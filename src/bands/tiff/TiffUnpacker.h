#pragma once

#include "bands/tiff/TiffSource.h"
#include "codec/Inflater.h"
#include "codec/LzwDecoder.h"

#include <span>
#include <vector>

namespace zrk {

/// Unpacks blocks of LZW and of Deflate in less time than libtiff does. It leaves to libtiff what is damaged, or packed
/// in unusual ways. For one thread at a time.
class TiffUnpacker {
 public:
  /// `handle` tells how the file was packed.
  TiffUnpacker(TIFF* handle, const TiffSource& source);

  enum class Result {
    kDone,
    kLeftToLibtiff,
    kDamaged,  ///< left to libtiff as well, whose decoder doesn't look at all of the block
    kUnread    ///< the disk doesn't give what the file holds
  };
  /// Fills the first `numBytes` of a block's room as libtiff does. Bytes behind them are worth nothing.
  Result Decode(TIFF* handle, int block, std::span<unsigned char> room, std::int64_t numBytes);

 private:
  enum class Packing { kOther, kLzw, kDeflate };

  bool IsTurnOfLibtiff();
  Result Read(std::int64_t offset, std::int64_t count);
  Result Inflate(std::span<unsigned char> room, std::int64_t numBytes);
  Result InflateLong(std::span<unsigned char> room);
  bool AddDifferences(std::span<unsigned char> bytes) const;

  const TiffSource& source_;
  Packing packing_ = Packing::kOther;
  bool hasDifferences_ = false;  // in place of samples
  LzwDecoder lzw_;
  Inflater inflater_;
  int numForLibtiff_ = 0;  // blocks to come that libtiff unpacks sooner
  std::vector<unsigned char> packed_;
};

}  // namespace zrk
