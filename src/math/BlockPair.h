#pragma once

#include <cstdint>

namespace zrk {

/// A block of samples to be made, and what it is made of. Both lie in memory row by row, with a number of bytes from
/// one row to the next. Width and rows are those of the block that is made, in samples; whoever makes it knows how many
/// of the others a sample takes. The two must not overlap.
struct BlockPair {
  const unsigned char* from;
  std::int64_t fromStride;
  unsigned char* to;
  std::int64_t toStride;
  int width;
  int rows;
};

}  // namespace zrk
