#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace zrk {

/// The sample of a type that is nearest to a value. For an integer type the value is cut to the range and rounded half
/// away from zero; a NaN becomes 0. For floating point it is rounded as usual, and a finite number beyond the range
/// becomes the largest with its sign.
template <class Sample>
Sample ToSample(double value) {
  if constexpr (std::is_floating_point_v<Sample>) {
    using Limits = std::numeric_limits<Sample>;
    const auto sample = static_cast<Sample>(value);
    if (std::isfinite(value) && !std::isfinite(sample)) return value < 0.0 ? Limits::lowest() : Limits::max();
    return sample;
  } else {
    using Limits = std::numeric_limits<Sample>;
    if (!(value == value)) return 0;
    value = std::clamp(value, static_cast<double>(Limits::lowest()), static_cast<double>(Limits::max()));
    const auto whole = static_cast<std::int64_t>(value);
    const double rest = value - static_cast<double>(whole);
    return static_cast<Sample>(whole + (rest >= 0.5 ? 1 : 0) - (rest <= -0.5 ? 1 : 0));
  }
}

}  // namespace zrk
