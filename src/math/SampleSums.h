#pragma once

#include "math/SampleFilter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

// The loops under all statistics of samples.
//
// Samples of eight bits are counted, and all else follows from 256 counts. Wider ones are gone over twice: first for
// range and mean, then for the deviations from the mean. A difference of two large sums would lose the digits of a
// small deviation. Sums of integers of up to 32 bits and squares of 16-bit ones are exact in 64 bits. The other sums
// are kept in eight lanes of doubles, which a compiler can hold in vectors without changing the order of a sum.

namespace zrk {

inline constexpr int kNumBins = 256;
inline constexpr std::size_t kLanes = 8;

template <class Sample>
struct Samples {
  const Sample* first;
  std::size_t count;
};

struct Summary {
  std::int64_t count = 0;
  double minValue = 0.0;
  double maxValue = 0.0;
  double mean = 0.0;
  double stdDev = 0.0;
};

/// Maps values of a range to bins. The maximum belongs to the last bin, and a range of one value has only its maximum.
class BinScale {
 public:
  explicit BinScale(const Summary& summary)
      : shrink_(std::isfinite(summary.maxValue - summary.minValue) ? 1.0 : 0.5),
        first_(summary.minValue * shrink_),
        range_(summary.maxValue * shrink_ - first_) {}

  /// Values beyond the range go to the bins at its ends.
  std::size_t BinOf(double value) const {
    if (range_ == 0.0) return kNumBins - 1;
    const double bin = (value * shrink_ - first_) / range_ * kNumBins;
    const double atLeast = bin > 0.0 ? bin : 0.0;
    return static_cast<std::size_t>(atLeast < kNumBins - 1.0 ? atLeast : kNumBins - 1.0);
  }

 private:
  double shrink_;  // keeps a range of more than the largest double finite
  double first_;
  double range_;
};

inline double StdDevOf(double squares, std::int64_t count) {
  return count > 1 ? std::sqrt(squares / static_cast<double>(count - 1)) : 0.0;
}

/// How often each 8-bit pattern occurs.
using ByteCounts = std::array<std::int64_t, 256>;

/// Counts in four tables by turns, because an increment has to wait for an increment of the same count just before it.
/// A buffer has fewer bytes than a count of 32 bits can hold.
inline ByteCounts CountBytes(const unsigned char* bytes, std::size_t count) {
  std::array<std::array<std::uint32_t, 256>, 4> tables{};
  std::size_t i = 0;
  for (; i + sizeof(std::uint64_t) <= count; i += sizeof(std::uint64_t)) {
    std::uint64_t word;
    std::memcpy(&word, bytes + i, sizeof(word));
    for (std::size_t k = 0; k < sizeof(word); ++k) ++tables[k % 4][(word >> (8 * k)) & 0xFF];
  }
  for (; i < count; ++i) ++tables[0][bytes[i]];

  ByteCounts counts{};
  for (const auto& table : tables) {
    for (std::size_t value = 0; value < table.size(); ++value) counts[value] += table[value];
  }
  return counts;
}

/// Counts the patterns of many bytes that come some at a time. A table counts pairs of neighbours, which halves the
/// increments. The first bytes are counted without it, since the table costs more than the counts of a small image. The
/// counts may be asked for at any time.
class BytePairCounter {
 public:
  void Add(const unsigned char* bytes, std::size_t count) {
    if (pairs_.empty()) {
      if (count < kNumPatterns - numSingles_) return AddSingles(bytes, count);
      pairs_.resize(kNumPatterns);
    }
    // No count of the table can be larger than the number of pairs in it, and so none overflows.
    if (numPairs_ > UINT32_MAX - count / 2) Gather();
    numPairs_ += count / 2;
    std::size_t i = 0;
    for (; i + sizeof(std::uint64_t) <= count; i += sizeof(std::uint64_t)) {
      std::uint64_t word;
      std::memcpy(&word, bytes + i, sizeof(word));
      for (std::size_t k = 0; k < sizeof(word); k += 2) ++pairs_[(word >> (8 * k)) & 0xFFFF];
    }
    for (; i < count; ++i) ++counts_[bytes[i]];
  }
  /// Takes each half of the pairs by itself: a row of the table has all pairs with one upper half.
  ByteCounts GetCounts() const {
    ByteCounts counts = counts_;
    for (std::size_t first = 0; first < pairs_.size(); first += 256) {
      std::int64_t rowCount = 0;
      for (std::size_t low = 0; low < 256; ++low) {
        counts[low] += pairs_[first + low];
        rowCount += pairs_[first + low];
      }
      counts[first / 256] += rowCount;
    }
    return counts;
  }

 private:
  static constexpr std::size_t kNumPatterns = std::size_t{1} << 16;

  void AddSingles(const unsigned char* bytes, std::size_t count) {
    numSingles_ += count;
    for (std::size_t i = 0; i < count; ++i) ++counts_[bytes[i]];
  }
  /// Empties the table of pairs.
  void Gather() {
    counts_ = GetCounts();
    std::ranges::fill(pairs_, 0);
    numPairs_ = 0;
  }

  std::vector<std::uint32_t> pairs_;
  std::size_t numSingles_ = 0;  // bytes that were counted before there was a table; always less than its entries
  std::size_t numPairs_ = 0;    // that the table holds
  ByteCounts counts_{};
};

/// Calls `visit(value, count)` for all values that occur and are kept.
template <class Sample, class Keep, class Visit>
void ForEachValue(const ByteCounts& counts, Keep keep, Visit&& visit) {
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const auto value = static_cast<Sample>(i);
    if (counts[i] != 0 && keep(value)) visit(static_cast<int>(value), counts[i]);
  }
}

template <class Sample, class Keep>
Summary SummarizeCounts(const ByteCounts& counts, Keep keep) {
  Summary summary;
  int minValue = 255, maxValue = -128;
  std::int64_t sum = 0;
  ForEachValue<Sample>(counts, keep, [&](int value, std::int64_t count) {
    minValue = std::min(minValue, value);
    maxValue = std::max(maxValue, value);
    sum += value * count;
    summary.count += count;
  });
  if (summary.count == 0) return summary;
  summary.minValue = minValue;
  summary.maxValue = maxValue;
  summary.mean = static_cast<double>(sum) / static_cast<double>(summary.count);
  double squares = 0.0;
  ForEachValue<Sample>(counts, keep, [&](int value, std::int64_t count) {
    const double deviation = value - summary.mean;
    squares += deviation * deviation * static_cast<double>(count);
  });
  summary.stdDev = StdDevOf(squares, summary.count);
  return summary;
}

template <class Sample>
/// What a first pass over integers finds. A sum of samples of up to 32 bits has room for 2^31 of them.
struct Totals {
  std::int64_t count = 0;
  std::int64_t sum = 0;
  Sample minValue = std::numeric_limits<Sample>::max();
  Sample maxValue = std::numeric_limits<Sample>::lowest();
};

template <class Sample, class Keep>
Totals<Sample> AddUp(const Samples<Sample>& samples, Keep keep) {
  Totals<Sample> totals;
  for (std::size_t i = 0; i < samples.count; ++i) {
    const Sample sample = samples.first[i];
    const bool isKept = keep(sample);
    totals.count += isKept;
    totals.sum += isKept ? sample : Sample{};
    totals.minValue = std::min(totals.minValue, isKept ? sample : std::numeric_limits<Sample>::max());
    totals.maxValue = std::max(totals.maxValue, isKept ? sample : std::numeric_limits<Sample>::lowest());
  }
  return totals;
}

/// The sum of the squared distances to an integer. It is exact for samples of 16 bits.
template <class Sample, class Keep>
std::uint64_t AddSquares(const Samples<Sample>& samples, Keep keep, std::int32_t center) {
  std::uint64_t squares = 0;
  for (std::size_t i = 0; i < samples.count; ++i) {
    const Sample sample = samples.first[i];
    const auto distance = static_cast<std::uint32_t>(keep(sample) ? sample - center : 0);
    squares += distance * distance;  // wraps to the right square, which is below 2^32
  }
  return squares;
}

struct Deviations {
  double sum = 0.0;
  double squares = 0.0;
};

/// The sums of sample * scale - mean and of its squares.
template <class Sample, class Keep>
Deviations AddDeviations(const Samples<Sample>& samples, Keep keep, double mean, double scale) {
  double sums[kLanes] = {}, squares[kLanes] = {};
  const auto add = [&](std::size_t i, std::size_t lane) {
    const Sample sample = samples.first[i];
    const double deviation = keep(sample) ? static_cast<double>(sample) * scale - mean : 0.0;
    sums[lane] += deviation;
    squares[lane] += deviation * deviation;
  };
  std::size_t i = 0;
  for (; i + kLanes <= samples.count; i += kLanes) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) add(i + lane, lane);
  }
  for (; i < samples.count; ++i) add(i, 0);

  Deviations total;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    total.sum += sums[lane];
    total.squares += squares[lane];
  }
  return total;
}

template <class Sample, class Keep>
/// Squares of 16-bit samples are summed around a whole number near the mean, exactly. What that number is off by is
/// subtracted afterwards.
Summary SummarizeIntegers(const Samples<Sample>& samples, Keep keep) {
  const Totals<Sample> totals = AddUp(samples, keep);
  Summary summary;
  summary.count = totals.count;
  if (totals.count == 0) return summary;
  const auto count = static_cast<double>(totals.count);
  summary.minValue = totals.minValue;
  summary.maxValue = totals.maxValue;
  summary.mean = static_cast<double>(totals.sum) / count;
  if constexpr (sizeof(Sample) == 2) {
    const auto center = static_cast<std::int32_t>(std::lround(summary.mean));
    const auto squares = static_cast<double>(AddSquares(samples, keep, center));
    const double offset = summary.mean - center;
    summary.stdDev = StdDevOf(std::max(squares - offset * offset * count, 0.0), totals.count);
  } else {
    summary.stdDev = StdDevOf(AddDeviations(samples, keep, summary.mean, 1.0).squares, totals.count);
  }
  return summary;
}

template <class Sample>
/// What a first pass over samples of any type finds.
struct Range {
  std::int64_t count = 0;
  double sum = 0.0;
  Sample minValue = std::numeric_limits<Sample>::max();
  Sample maxValue = std::numeric_limits<Sample>::lowest();
};

template <class Sample, class Keep>
Range<Sample> FindRange(const Samples<Sample>& samples, Keep keep) {
  std::int64_t counts[kLanes] = {};
  double sums[kLanes] = {};
  Sample minValues[kLanes], maxValues[kLanes];
  std::fill_n(minValues, kLanes, Range<Sample>().minValue);
  std::fill_n(maxValues, kLanes, Range<Sample>().maxValue);
  const auto add = [&](std::size_t i, std::size_t lane) {
    const Sample sample = samples.first[i];
    const bool isKept = keep(sample);
    counts[lane] += isKept;
    sums[lane] += isKept ? static_cast<double>(sample) : 0.0;
    const Sample low = isKept ? sample : minValues[lane];
    const Sample high = isKept ? sample : maxValues[lane];
    minValues[lane] = low < minValues[lane] ? low : minValues[lane];
    maxValues[lane] = high > maxValues[lane] ? high : maxValues[lane];
  };
  std::size_t i = 0;
  for (; i + kLanes <= samples.count; i += kLanes) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) add(i + lane, lane);
  }
  for (; i < samples.count; ++i) add(i, 0);

  Range<Sample> total;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    total.count += counts[lane];
    total.sum += sums[lane];
    total.minValue = std::min(total.minValue, minValues[lane]);
    total.maxValue = std::max(total.maxValue, maxValues[lane]);
  }
  return total;
}

/// A power of two for samples whose squares would leave the range of a double, which brings them back into it. For all
/// other samples it is 1.
inline double ScaleFor(double minValue, double maxValue) {
  const double largest = std::max(std::abs(minValue), std::abs(maxValue));
  if (largest == 0.0) return 1.0;
  const int exponent = std::ilogb(largest);
  return std::abs(exponent) < 400 ? 1.0 : std::ldexp(1.0, -std::clamp(exponent, -1000, 1000));
}

template <class Sample, class Keep>
Summary SummarizeReals(const Samples<Sample>& samples, Keep keep) {
  const Range<Sample> range = FindRange(samples, keep);
  Summary summary;
  summary.count = range.count;
  if (range.count == 0) return summary;
  const auto count = static_cast<double>(range.count);
  summary.minValue = static_cast<double>(range.minValue);
  summary.maxValue = static_cast<double>(range.maxValue);
  const double scale = ScaleFor(summary.minValue, summary.maxValue);
  const double sum = scale == 1.0 ? range.sum : AddDeviations(samples, keep, 0.0, scale).sum;
  // The sum of the deviations is zero in exact arithmetic. Here it tells by how much the mean is off through rounding.
  const double mean = sum / count;
  const Deviations deviations = AddDeviations(samples, keep, mean, scale);
  const double correction = deviations.sum / count;
  summary.mean = (mean + correction) / scale;
  summary.stdDev = StdDevOf(std::max(deviations.squares - deviations.sum * correction, 0.0), range.count) / scale;
  return summary;
}

template <class Sample, class Keep>
void CountBins(const Samples<Sample>& samples, Keep keep, const BinScale& bins, std::int64_t* histogram) {
  for (std::size_t i = 0; i < samples.count; ++i) {
    const Sample sample = samples.first[i];
    if (keep(sample)) ++histogram[bins.BinOf(static_cast<double>(sample))];
  }
}

template <class Sample, class Keep>
Summary Summarize(const Samples<Sample>& samples, Keep keep, std::int64_t* histogram) {
  if constexpr (sizeof(Sample) == 1) {
    const ByteCounts counts = CountBytes(reinterpret_cast<const unsigned char*>(samples.first), samples.count);
    const Summary summary = SummarizeCounts<Sample>(counts, keep);
    if (summary.count == 0 || !histogram) return summary;
    std::fill_n(histogram, kNumBins, 0);
    const BinScale bins(summary);
    ForEachValue<Sample>(counts, keep, [&](int value, std::int64_t count) { histogram[bins.BinOf(value)] += count; });
    return summary;
  } else {
    Summary summary;
    if constexpr (std::is_integral_v<Sample>) {
      summary = SummarizeIntegers(samples, keep);
    } else {
      summary = SummarizeReals(samples, keep);
    }
    if (summary.count == 0 || !histogram) return summary;
    std::fill_n(histogram, kNumBins, 0);
    CountBins(samples, keep, BinScale(summary), histogram);
    return summary;
  }
}

}  // namespace zrk
