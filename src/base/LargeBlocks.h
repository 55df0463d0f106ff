#pragma once

#include <cstddef>

namespace zrk {

/// Memory of a megabyte and more, straight from the system, and in large pages where they fit and it has some. A block
/// that is given back is kept for the next caller of any thread: getting new pages takes longer than filling them with
/// samples. At most 64 MB are kept in all. The system may take those of 2 MB and more whenever it needs memory.
struct LargeBlock {
  unsigned char* bytes = nullptr;  ///< aligned to a cache line; null where memory ran out
  std::size_t count = 0;           ///< as many as were asked for, or some more
};

/// Whether so many bytes are worth a block. The allocator serves smaller requests better. Under the address sanitizer
/// nothing is, because it watches the allocator's memory only.
bool IsLargeBlock(std::size_t bytes);

/// The contents are undefined. The caller gives the block back, as it was, to `GiveLargeBlockBack`.
LargeBlock TakeLargeBlock(std::size_t bytes);
void GiveLargeBlockBack(const LargeBlock& block);

}  // namespace zrk
