#pragma once

#include <cstdint>

namespace zrk {

/// How many rows ahead of the one being copied are asked for. Rows of a window lie far apart in an image, so that the
/// machine does not see by itself which comes next.
inline constexpr int kPrefetchRows = 4;

/// Asks for bytes that are wanted soon. Nothing happens for addresses that are not in memory.
inline void PrefetchBytes(const unsigned char* bytes, std::int64_t count) {
  constexpr std::int64_t kLineBytes = 64;
  for (std::int64_t i = 0; i < count; i += kLineBytes) __builtin_prefetch(bytes + i);
}

}  // namespace zrk
