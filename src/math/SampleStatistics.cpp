// Statistics that come together from parts. Samples of 8 and 16 bits are counted by their bit patterns, in a table of
// 256 or 65,536 counts. Counts of workers add up exactly, and range, mean, deviation and histogram all follow from
// them. Wider samples get a summary for each part. Sums of doubles depend on their order, so the summaries are put
// together in the order of the parts. The result is then the same however the parts were shared. The histogram of wider
// samples needs another pass, because its bins depend on the range of all.
//
// One object serves one thread. Several are merged at the end.

#include "math/SampleStatistics.h"

#include "base/DataTypeVisit.h"

#include <functional>

namespace zrk {
namespace {

/// The number of bit patterns of a sample that is counted; 0 for types that are not.
std::size_t CountPatterns(int dataType) {
  const int bytes = XfnGetDataSize(dataType);
  return bytes == 1 || bytes == 2 ? std::size_t{1} << (8 * bytes) : 0;
}

/// The summary of values with their counts. The sum is exact, so that the mean is rounded once.
class CountedSums {
 public:
  void Add(int value, std::int64_t count) {
    if (summary_.count == 0) first_ = value;
    last_ = value;
    summary_.count += count;
    sum_ += value * count;
  }
  /// Takes the values a second time, after `Add` had all of them in ascending order.
  void AddDeviation(int value, std::int64_t count) {
    const double deviation = value - GetMean();
    squares_ += deviation * deviation * static_cast<double>(count);
  }
  double GetMean() const { return static_cast<double>(sum_) / static_cast<double>(summary_.count); }
  Summary Finish() {
    if (summary_.count == 0) return summary_;
    summary_.minValue = first_;
    summary_.maxValue = last_;
    summary_.mean = GetMean();
    summary_.stdDev = StdDevOf(squares_, summary_.count);
    return summary_;
  }

 private:
  Summary summary_;
  int first_ = 0;
  int last_ = 0;
  std::int64_t sum_ = 0;
  double squares_ = 0.0;
};

}  // namespace

Summary MergeSummaries(const Summary& first, const Summary& second) {
  if (first.count == 0) return second;
  if (second.count == 0) return first;
  Summary both;
  both.count = first.count + second.count;
  both.minValue = std::min(first.minValue, second.minValue);
  both.maxValue = std::max(first.maxValue, second.maxValue);
  const auto n1 = static_cast<double>(first.count), n2 = static_cast<double>(second.count), n = n1 + n2;
  // Each mean is weighed before the two are added: their sum could be beyond the largest double.
  both.mean = first.mean * (n1 / n) + second.mean * (n2 / n);
  // The variance of both is a sum of three squares: the spread of each set, and that of their means. `hypot` adds them
  // as legs at right angles, so that no number is squared that may be as large as a double can be.
  const double share = std::sqrt(n1 / n * (n2 / (n - 1.0)));
  both.stdDev = std::hypot(first.stdDev * std::sqrt((n1 - 1.0) / (n - 1.0)),
                           second.stdDev * std::sqrt((n2 - 1.0) / (n - 1.0)), second.mean * share - first.mean * share);
  return both;
}

SampleStatistics::SampleStatistics(int dataType, double nullValue)
    : dataType_(dataType), nullValue_(nullValue), counts_(CountPatterns(dataType)) {}

void SampleStatistics::Add(int part, const void* samples, std::size_t count) {
  if (counts_.size() == 256) {
    bytes_.Add(static_cast<const unsigned char*>(samples), count);
  } else if (!counts_.empty()) {
    // The sign does not matter while counting. `ForEachCount` knows which value a pattern stands for.
    const auto* patterns = static_cast<const std::uint16_t*>(samples);
    for (std::size_t i = 0; i < count; ++i) ++counts_[patterns[i]];
  } else {
    VisitDataType(dataType_, [&](auto zero) {
      using Sample = decltype(zero);
      const Samples<Sample> all{static_cast<const Sample*>(samples), count};
      Summary& summary = parts_[part];
      WithFilter<Sample>(nullValue_,
                         [&](auto keep) { summary = MergeSummaries(summary, zrk::Summarize(all, keep, nullptr)); });
    });
  }
}

void SampleStatistics::Merge(const SampleStatistics& other) {
  const std::vector<std::int64_t> counts = other.GetCounts();
  for (std::size_t i = 0; i < counts_.size(); ++i) counts_[i] += counts[i];
  for (const auto& [part, summary] : other.parts_) parts_[part] = MergeSummaries(parts_[part], summary);
}

std::vector<std::int64_t> SampleStatistics::GetCounts() const {
  std::vector<std::int64_t> counts = counts_;
  if (counts.size() != 256) return counts;
  std::ranges::transform(counts, bytes_.GetCounts(), counts.begin(), std::plus());
  return counts;
}

template <class Visit>
void SampleStatistics::ForEachCount(Visit&& visit) const {
  const std::vector<std::int64_t> counts = GetCounts();
  // Values are visited in ascending order. A negative value has its pattern in the upper half of the table.
  const bool isSigned = dataType_ == kSint08 || dataType_ == kSint16;
  const int numValues = static_cast<int>(counts_.size()), first = isSigned ? -numValues / 2 : 0;
  for (int value = first; value < first + numValues; ++value) {
    const std::int64_t count = counts[static_cast<std::size_t>(value & (numValues - 1))];
    if (count != 0 && value != nullValue_) visit(value, count);
  }
}

Summary SampleStatistics::Summarize() const {
  if (HasHistogram()) {
    CountedSums sums;
    ForEachCount([&](int value, std::int64_t count) { sums.Add(value, count); });
    ForEachCount([&](int value, std::int64_t count) { sums.AddDeviation(value, count); });
    return sums.Finish();
  }
  Summary all;
  for (const auto& [part, summary] : parts_) all = MergeSummaries(all, summary);
  return all;
}

Histogram SampleStatistics::GetHistogram() const {
  Histogram histogram{};
  const BinScale bins(Summarize());
  ForEachCount([&](int value, std::int64_t count) { histogram[bins.BinOf(value)] += count; });
  return histogram;
}

void HistogramCounter::Add(const void* samples, std::size_t count) {
  VisitDataType(dataType_, [&](auto zero) {
    using Sample = decltype(zero);
    const Samples<Sample> all{static_cast<const Sample*>(samples), count};
    WithFilter<Sample>(nullValue_, [&](auto keep) { CountBins(all, keep, bins_, histogram_.data()); });
  });
}

void HistogramCounter::Merge(const HistogramCounter& other) {
  for (std::size_t i = 0; i < histogram_.size(); ++i) histogram_[i] += other.histogram_[i];
}

}  // namespace zrk
