#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

namespace zrk {

// Filters tell which samples of a buffer count. A pixel loop is instantiated with a filter, so that a loop over samples
// that all count has no test in it.

struct KeepAll {
  template <class Sample>
  bool operator()(Sample) const {
    return true;
  }
};

template <class Sample>
struct KeepUnequal {
  Sample nullSample;
  bool operator()(Sample sample) const { return sample != nullSample; }
};

/// A comparison with the largest number is false for an infinity and for a NaN.
template <class Sample>
struct KeepFinite {
  bool operator()(Sample sample) const { return std::abs(sample) <= std::numeric_limits<Sample>::max(); }
};

template <class Sample>
struct KeepFiniteUnequal {
  Sample nullSample;
  bool operator()(Sample sample) const {
    return (std::abs(sample) <= std::numeric_limits<Sample>::max()) & (sample != nullSample);
  }
};

/// Whether a sample of the type can equal the null value when both are compared as doubles.
template <class Sample>
bool CanEqual(double nullValue) {
  using Limits = std::numeric_limits<Sample>;
  if (!(nullValue >= static_cast<double>(Limits::lowest()) && nullValue <= static_cast<double>(Limits::max()))) {
    return false;
  }
  return static_cast<double>(static_cast<Sample>(nullValue)) == nullValue;
}

/// Calls `body` with the filter that leaves out samples equal to `nullValue` and samples that are not finite. The
/// filter tests only what samples of the type can be.
template <class Sample, class Body>
void WithFilter(double nullValue, Body&& body) {
  const bool hasNull = CanEqual<Sample>(nullValue);
  const Sample nullSample = hasNull ? static_cast<Sample>(nullValue) : Sample{};
  if constexpr (std::is_floating_point_v<Sample>) {
    if (hasNull) {
      body(KeepFiniteUnequal<Sample>{nullSample});
    } else {
      body(KeepFinite<Sample>{});
    }
  } else if (hasNull) {
    body(KeepUnequal<Sample>{nullSample});
  } else {
    body(KeepAll{});
  }
}

}  // namespace zrk
