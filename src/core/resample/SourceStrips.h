#pragma once

#include <algorithm>
#include <cstdint>

namespace zrk {

// How bands over other bands cut their sources into reads.

/// Up to so many rows that nothing needs are read along, since every read costs something.
inline constexpr int kRowsBridged = 15;

/// The number of source rows that are read at a time: those that fit in some megabytes, at least one.
inline int RowsAtATime(int numColumns, int sampleBytes) {
  constexpr std::int64_t kStripBytes = 4 << 20;
  return static_cast<int>(std::max<std::int64_t>(kStripBytes / (std::int64_t{numColumns} * sampleBytes), 1));
}

}  // namespace zrk
