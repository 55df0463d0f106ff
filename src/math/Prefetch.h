#pragma once

#include <cstddef>
#include <cstdint>

namespace zrk {

/// How many rows ahead of the one being copied are asked for. Rows of a window lie far apart in an image, so that the
/// machine does not see by itself which comes next.
inline constexpr int kPrefetchRows = 4;

/// The same for rows of so many bytes. Short rows are copied faster than memory answers, so that more of them are asked
/// for.
inline int CountRowsAhead(std::size_t rowBytes) {
  constexpr std::size_t kBytesAhead = 4096;
  const std::size_t numRows = rowBytes > 0 ? kBytesAhead / rowBytes : 0;
  return numRows > kPrefetchRows ? static_cast<int>(numRows) : kPrefetchRows;
}

/// Asks for bytes that are wanted soon. Nothing happens for addresses that are not in memory.
inline void PrefetchBytes(const unsigned char* bytes, std::int64_t count) {
  constexpr std::int64_t kLineBytes = 64;
  for (std::int64_t i = 0; i < count; i += kLineBytes) __builtin_prefetch(bytes + i);
}

}  // namespace zrk
