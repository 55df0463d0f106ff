#pragma once

#include "math/SampleSums.h"

#include <array>
#include <cstddef>
#include <map>
#include <span>
#include <vector>

namespace zrk {

using Histogram = std::array<std::int64_t, kNumBins>;

/// The summary of two sets of samples together. The order of the two matters in the last bits.
Summary MergeSummaries(const Summary& first, const Summary& second);

/// Statistics of the samples of a band that come part by part. Each of several threads adds its parts to an object of
/// its own, and the objects are merged at the end. The result is the same whoever added which part: samples of up to 16
/// bits are counted value by value, and summaries of wider ones are put together in the order of the parts. Samples
/// equal to the null value and samples that are not finite are left out.
class SampleStatistics {
 public:
  SampleStatistics(int dataType, double nullValue);

  /// Adds samples to a part. The order in which the samples of a part come matters in the last bits, and so one object
  /// gets all of them.
  void Add(int part, const void* samples, std::size_t count);
  void Merge(const SampleStatistics& other);

  Summary Summarize() const;
  /// Whether every value was counted, so that the histogram is known without another look at the samples.
  bool HasHistogram() const { return !counts_.empty(); }
  Histogram GetHistogram() const;

 private:
  template <class Visit>
  void ForEachCount(Visit&& visit) const;
  /// The counts of all patterns; none for samples of more than 16 bits.
  std::vector<std::int64_t> GetCounts() const;

  int dataType_;
  double nullValue_;
  std::vector<std::int64_t> counts_;  ///< by bit pattern, without the counts that are in `bytes_`
  BytePairCounter bytes_;             ///< of samples of 8 bits
  std::map<int, Summary> parts_;
};

/// Counts samples into the 256 bins of a range that is known.
class HistogramCounter {
 public:
  HistogramCounter(int dataType, double nullValue, const Summary& summary)
      : dataType_(dataType), nullValue_(nullValue), bins_(summary) {}

  void Add(const void* samples, std::size_t count);
  void Merge(const HistogramCounter& other);
  const Histogram& Get() const { return histogram_; }

 private:
  int dataType_;
  double nullValue_;
  BinScale bins_;
  Histogram histogram_{};
};

/// Merges what several threads counted into the first of them, which has to be there.
template <class Counter>
Counter& MergeAll(std::span<Counter* const> parts) {
  for (Counter* const part : parts.subspan(1)) parts.front()->Merge(*part);
  return *parts.front();
}

}  // namespace zrk
