#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zrk {

/// How many rows ahead of the one being copied are asked for. Rows of a window lie far apart in an image, so that the
/// machine does not see by itself which comes next.
inline constexpr int kPrefetchRows = 4;

/// The same for a block of `rows` rows of so many bytes. Short rows are copied faster than memory answers, so that more
/// of them are asked for. The first rows of a block are never asked for, and so they are a quarter of it at most.
inline int CountRowsAhead(std::size_t rowBytes, int rows) {
  constexpr std::size_t kBytesAhead = 4096;
  const auto numRows = static_cast<int>(rowBytes > 0 ? kBytesAhead / rowBytes : 0);
  return std::max(std::min(numRows, rows / 4), kPrefetchRows);
}

/// Asks for bytes that are wanted soon. Nothing happens for addresses that are not in memory.
inline void PrefetchBytes(const unsigned char* bytes, std::int64_t count) {
  constexpr std::int64_t kLineBytes = 64;
  for (std::int64_t i = 0; i < count; i += kLineBytes) __builtin_prefetch(bytes + i);
}

}  // namespace zrk
