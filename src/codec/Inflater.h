#pragma once

#include "codec/InflateBlock.h"

#include <cstddef>
#include <span>

namespace zrk {

/// Unpacks Deflate data in zlib's frame, which TIFF has for each block. For one thread at a time.
class Inflater {
 public:
  enum class Result {
    kDone,
    kTooLong,  ///< the data hold more bytes than were asked for
    kDamaged   ///< the data are not sound, end too early, or have another checksum than they promise
  };
  /// What came out of the data.
  struct Counts {
    std::size_t bytes = 0;
    std::size_t literals = 0;  ///< bytes that were packed by themselves, without those near the end
  };
  /// Unpacks to the beginning of `bytes`. What is in `bytes` and in `counts` is worth nothing unless the result is
  /// `kDone`. What lies behind the data is not looked at.
  Result Decode(std::span<const unsigned char> packed, std::span<unsigned char> bytes, Counts& counts);

 private:
  InflateOutcome DecodeBlock(InflateSource& in, InflateTarget& out);

  InflateCodes codes_;
  bool areFixed_ = false;  // those that stand in no head
};

}  // namespace zrk
