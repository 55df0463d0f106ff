#pragma once

#include "XString.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// What a check of a store found.
struct tagXStoreReport {
  static constexpr std::size_t kMaxFindings = 1000;

  std::vector<XString> findings;   ///< a sentence each, the first `kMaxFindings` of them
  std::int64_t numFindings = 0;    ///< all of them
  std::int64_t numTiles = 0;       ///< tiles that were looked at
  std::int64_t numEmptyTiles = 0;  ///< of these, tiles whose bytes are all 0
};
