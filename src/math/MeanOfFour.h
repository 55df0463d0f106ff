#pragma once

#include <cstdint>

namespace zrk {

// The mean of two by two samples, a and b of the upper row and c and d of the lower one. HalfMean.h has the rules.

/// Rounded half away from zero. A shift of a negative number rounds down, and so the sign is taken off first.
constexpr std::int64_t RoundedQuarter(std::int64_t sum) {
  return sum < 0 ? -((2 - sum) >> 2) : (sum + 2) >> 2;
}

template <class Sample>
constexpr Sample MeanOfFour(Sample a, Sample b, Sample c, Sample d) {
  return static_cast<Sample>(RoundedQuarter((std::int64_t{a} + b) + (std::int64_t{c} + d)));
}
constexpr float MeanOfFour(float a, float b, float c, float d) {
  return static_cast<float>(((double{a} + b) + (double{c} + d)) * 0.25);
}
/// Samples are quartered first. That is exact for all but the tiniest numbers, and keeps the sum within the range of a
/// double.
constexpr double MeanOfFour(double a, double b, double c, double d) {
  return (a * 0.25 + b * 0.25) + (c * 0.25 + d * 0.25);
}

}  // namespace zrk
