#pragma once

#include <algorithm>

namespace zrk {

/// A tile size halved `level` times; as it is for a level of 0 or below. Each step is exact until it reaches what a
/// double can't halve. Every number is 0 long before this many steps, so that a level out of a damaged file costs no
/// more.
constexpr double HalveTileSize(double size, int level) {
  constexpr int kMaxSteps = 2200;
  for (int i = 0; i < std::min(level, kMaxSteps); ++i) size *= 0.5;
  return size;
}

}  // namespace zrk
