#pragma once

#include "XDataType.h"

#include <cstdint>

/// Statistics of a part of a band, null samples and what is not finite left out. Before they are worked out the numbers
/// are `kNotSet`.
struct tagXSubsetStatistics {
  double minValue = kNotSet;
  double maxValue = kNotSet;
  double mean = kNotSet;
  /// Over n - 1 samples; 0.0 for one.
  double stdDev = kNotSet;
  /// Counts over the range from minimum to maximum, the maximum in the last.
  std::int64_t histogram[256] = {};
};
