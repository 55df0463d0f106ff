#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace zrk {

/// The sample of a type that is nearest to a value: cut to the range of an integer type and rounded half away from
/// zero, 0 for what is not a number; rounded as usual for floating point.
template <class Sample>
Sample ToSample(double value) {
  if constexpr (std::is_floating_point_v<Sample>) {
    return static_cast<Sample>(value);
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
