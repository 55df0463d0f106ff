#pragma once

#include <algorithm>
#include <climits>
#include <cmath>

namespace zrk {

/// Truncates toward zero and cuts to the range of an int. What is not a number gives 0.
inline int TruncateToInt(double value) {
  if (std::isnan(value)) return 0;
  return static_cast<int>(std::clamp(value, static_cast<double>(INT_MIN), static_cast<double>(INT_MAX)));
}

}  // namespace zrk
