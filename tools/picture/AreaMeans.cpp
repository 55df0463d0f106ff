// Means over areas, row by row. A row is first summed up into the columns of the result, which makes a line. The line
// is then added to the one or two rows of the result that it overlaps. It overlaps no more, because the result is not
// larger than the source.
//
// All weights are whole numbers. A source pixel has as many units across as the result has columns, and down as many as
// the result has rows. So sums of integers are exact as long as doubles hold
// them.

#include "picture/AreaMeans.h"

#include "XDataType.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace {

template <class Sample>
Sample SampleAt(const unsigned char* row, int x) {
  Sample sample;
  std::memcpy(&sample, row + static_cast<std::size_t>(x) * sizeof sample, sizeof sample);
  return sample;
}

}  // namespace

AreaMeans::AreaMeans(int sourceWidth, int sourceHeight, int width, int height, int dataType, double nullValue)
    : sourceHeight_(sourceHeight), width_(width), height_(height), nullValue_(nullValue) {
  // Reals may hold values that are no numbers, whatever the null value is.
  const bool hasGaps = nullValue != kNotSet || dataType == kReal32 || dataType == kReal64;
  sumUp_ = ChooseSumUp(dataType, hasGaps);
  const auto count = static_cast<std::size_t>(width);
  lineSums_.resize(count);
  lineWeights_.assign(count, sourceWidth);
  sums_.resize(count);
  weights_.resize(count);
  means_.resize(count);
  for (std::int64_t x = 0; x < width; ++x) {
    const std::int64_t begin = x * sourceWidth, end = begin + sourceWidth;
    const std::int64_t first = begin / width, last = (end - 1) / width;
    const std::int64_t firstWeight = std::min(end, (first + 1) * width) - begin;
    const std::int64_t lastWeight = last > first ? end - last * width : 0;
    spans_.push_back({static_cast<int>(first), static_cast<int>(last), static_cast<double>(firstWeight),
                      static_cast<double>(lastWeight)});
  }
}

bool AreaMeans::IsSupported(int dataType) {
  return ChooseSumUp(dataType, true) != nullptr;
}

/// The type is looked at once and not for each sample. Integers without a null value need no tests and no weights.
AreaMeans::SumUp AreaMeans::ChooseSumUp(int dataType, bool hasGaps) {
  switch (dataType) {
    case kPint08:
      return hasGaps ? &AreaMeans::SumUpValid<std::uint8_t> : &AreaMeans::SumUpWhole<std::uint8_t>;
    case kSint08:
      return hasGaps ? &AreaMeans::SumUpValid<std::int8_t> : &AreaMeans::SumUpWhole<std::int8_t>;
    case kPint16:
      return hasGaps ? &AreaMeans::SumUpValid<std::uint16_t> : &AreaMeans::SumUpWhole<std::uint16_t>;
    case kSint16:
      return hasGaps ? &AreaMeans::SumUpValid<std::int16_t> : &AreaMeans::SumUpWhole<std::int16_t>;
    case kPint32:
      return hasGaps ? &AreaMeans::SumUpValid<std::uint32_t> : &AreaMeans::SumUpWhole<std::uint32_t>;
    case kSint32:
      return hasGaps ? &AreaMeans::SumUpValid<std::int32_t> : &AreaMeans::SumUpWhole<std::int32_t>;
    case kReal32:
      return &AreaMeans::SumUpValid<float>;
    case kReal64:
      return &AreaMeans::SumUpValid<double>;
    default:
      return nullptr;
  }
}

template <class Sample>
/// Pixels that lie within a column all weigh the same, so they are summed as integers.
void AreaMeans::SumUpWhole(const unsigned char* row) {
  for (std::size_t x = 0; x < spans_.size(); ++x) {
    const Span& span = spans_[x];
    std::int64_t between = 0;
    for (int i = span.first + 1; i < span.last; ++i) between += SampleAt<Sample>(row, i);
    lineSums_[x] = span.firstWeight * SampleAt<Sample>(row, span.first) +
                   span.lastWeight * SampleAt<Sample>(row, span.last) + width_ * static_cast<double>(between);
  }
}

template <class Sample>
/// Samples that are null or not finite weigh nothing.
void AreaMeans::SumUpValid(const unsigned char* row) {
  for (std::size_t x = 0; x < spans_.size(); ++x) {
    const Span& span = spans_[x];
    double sum = 0.0, total = 0.0;
    for (int i = span.first; i <= span.last; ++i) {
      const auto value = static_cast<double>(SampleAt<Sample>(row, i));
      if (value == nullValue_ || !std::isfinite(value)) continue;
      const double weight = i == span.first ? span.firstWeight : i == span.last ? span.lastWeight : width_;
      sum += weight * value;
      total += weight;
    }
    lineSums_[x] = sum;
    lineWeights_[x] = total;
  }
}

const std::vector<double>* AreaMeans::Add(const unsigned char* row) {
  (this->*sumUp_)(row);
  const std::int64_t begin = std::int64_t{nextRow_} * height_, end = begin + height_;
  const std::int64_t resultEnd = (std::int64_t{resultRow_} + 1) * sourceHeight_;
  ++nextRow_;
  AddLine(static_cast<double>(std::min(end, resultEnd) - begin));
  if (end < resultEnd) return nullptr;
  FinishRow();
  // The rest of the line begins the next row.
  if (end > resultEnd) AddLine(static_cast<double>(end - resultEnd));
  return &means_;
}

void AreaMeans::AddLine(double weight) {
  for (std::size_t x = 0; x < sums_.size(); ++x) {
    sums_[x] += weight * lineSums_[x];
    weights_[x] += weight * lineWeights_[x];
  }
}

/// A pixel without any valid sample has no mean.
void AreaMeans::FinishRow() {
  for (std::size_t x = 0; x < sums_.size(); ++x) {
    means_[x] = weights_[x] > 0.0 ? sums_[x] / weights_[x] : std::numeric_limits<double>::quiet_NaN();
  }
  std::fill(sums_.begin(), sums_.end(), 0.0);
  std::fill(weights_.begin(), weights_.end(), 0.0);
  ++resultRow_;
}
