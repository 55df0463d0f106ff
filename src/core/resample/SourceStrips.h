#pragma once

#include <algorithm>
#include <cstdint>

namespace zrk {

// How bands that are made of other bands cut these into reads.

/// Rows that are read though nothing needs them, since every read costs something.
inline constexpr int kRowsBridged = 15;

/// The source rows that are read at a time.
inline int RowsAtATime(int numColumns, int sampleBytes) {
  constexpr std::int64_t kStripBytes = 4 << 20;
  return static_cast<int>(std::max<std::int64_t>(kStripBytes / (std::int64_t{numColumns} * sampleBytes), 1));
}

}  // namespace zrk
