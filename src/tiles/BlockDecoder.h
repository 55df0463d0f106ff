#pragma once

#include "XPixelFormat.h"

#include <cstddef>
#include <cstdint>

namespace zrk {

/// How the colours of a block of `kDxt1` are meant.
enum class BlockColours {
  kSquish,      ///< as libsquish has them: components fill 8 bits, and equal colours mean three colours
  kSquishBgra,  ///< the same with red and blue exchanged
  kShifted      ///< components are shifted to 8 bits, and equal colours mean four colours; of `kDxt1` alone
};

/// Blocks that lie beside each other.
struct BlockRun {
  const std::uint8_t* blocks;
  std::size_t count;
  _XDXTTYPE type;  ///< one of the three
  BlockColours colours;
};

/// Unpacks a run to four rows of `count` * 4 pixels of four bytes, the upper row at `first` and each other `rowBytes`
/// behind the one above it.
void DecodeRun(const BlockRun& run, std::uint8_t* first, std::ptrdiff_t rowBytes);

/// The same pixel by pixel. Slow, and there so that the other can be held against it.
void DecodeRunPlainly(const BlockRun& run, std::uint8_t* first, std::ptrdiff_t rowBytes);

}  // namespace zrk
