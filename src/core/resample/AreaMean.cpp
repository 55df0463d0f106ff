// Area-weighted means by whole numbers. Each axis is cut into units so small that every edge of a source pixel and of
// an output pixel falls between two units. With g the greatest common divisor of both sizes, a source pixel has outSize
// / g units, and an output pixel sourceSize / g. So an overlap is a whole number of units, all output pixels have the
// same total, and sums of integers are exact.
//
// The vertical direction comes first. The source rows under an output row are weighed and added into one line of sums,
// a sum for each source column. Then each output column adds up its part of the line and is divided once. Long lines
// are cut into chunks whose sums stay in the first cache. Exactly half the size is so common that it has loops of its
// own, without weights.
//
// The pixel loops stand in AreaKernels.cpp. This file makes their weights, chooses the type of the sums, and tells them
// what to add.

#include "core/resample/AreaMean.h"

#include "base/DataTypeVisit.h"
#include "math/SampleFilter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <type_traits>

namespace zrk {

namespace {

/// The number of source columns of which sums are kept at a time. These sums, 12 KB of them, stay in the first cache.
constexpr int kColumnsAtATime = 1536;

/// The largest sample of an integer type, without its sign; 0 for floating point.
double LargestInteger(int dataType) {
  double largest = 0.0;
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    if constexpr (std::is_integral_v<Sample>) {
      largest = std::max(static_cast<double>(std::numeric_limits<Sample>::max()),
                         -static_cast<double>(std::numeric_limits<Sample>::lowest()));
    }
  });
  return largest;
}

/// The power of two that brings a number of units to at most 1. A product with it is exact.
double UnitFor(std::int64_t units) {
  return std::ldexp(1.0, -static_cast<int>(std::bit_width(static_cast<std::uint64_t>(units))));
}

std::size_t CountOf(int first, int last) {
  return static_cast<std::size_t>(last) - static_cast<std::size_t>(first) + 1;
}

}  // namespace

AreaAxis::AreaAxis(int sourceSize, int outSize) : outSize_(outSize) {
  const int divisor = std::gcd(sourceSize, outSize);
  unitsPerSource_ = outSize / divisor;
  unitsPerOut_ = sourceSize / divisor;
}

std::int64_t AreaAxis::Overlap(int out, int source) const {
  // Both products fit in 64 bits, since a side and its units have 31 bits each.
  const std::int64_t begin = std::max(out * unitsPerOut_, source * unitsPerSource_);
  const std::int64_t end =
      std::min((out + std::int64_t{1}) * unitsPerOut_, (source + std::int64_t{1}) * unitsPerSource_);
  return end - begin;
}

/// A range of output columns and the source columns under them.
struct AreaMean::Columns {
  int x0;
  int x1;
  int firstSource;
  std::size_t numSources;
};

AreaMean::AreaMean(int sourceWidth, int sourceHeight, int outWidth, int outHeight, int dataType, double nullValue)
    : horizontal_(sourceWidth, outWidth),
      vertical_(sourceHeight, outHeight),
      dataType_(dataType),
      isHalving_(sourceWidth % 2 == 0 && sourceWidth / 2 == outWidth && sourceHeight % 2 == 0 &&
                 sourceHeight / 2 == outHeight),
      canHaveNulls_(false),
      nullValue_(nullValue),
      chunk_(static_cast<int>(
          std::clamp<std::int64_t>(std::int64_t{kColumnsAtATime} * outWidth / sourceWidth, 1, kColumnsAtATime))) {
  VisitDataType(dataType, [&](auto zero) { canHaveNulls_ = CanEqual<decltype(zero)>(nullValue); });

  // While there are two bits to spare, a double holds the sums as exactly as an integer does, and its quotient rounds
  // rightly. In images of usual sizes only samples of 32 bits go beyond that and need integers. Units stay below 2^53
  // there, because weights are kept as doubles.
  const double units = static_cast<double>(horizontal_.UnitsPerOut()) * static_cast<double>(vertical_.UnitsPerOut());
  const double largest = LargestInteger(dataType) * units;
  const bool fitsDoubles = largest > 0.0 && largest < std::ldexp(1.0, 51);
  sumsIntegers_ = largest > 0.0 && !fitsDoubles && largest <= std::ldexp(1.0, 62) && units < std::ldexp(1.0, 53);
  if (!fitsDoubles && !sumsIntegers_) {
    xUnit_ = UnitFor(horizontal_.UnitsPerOut());
    yUnit_ = UnitFor(vertical_.UnitsPerOut());
  }
  if (!isHalving_) MakeColumnWeights();
}

void AreaMean::MakeColumnWeights() {
  const int numColumns = horizontal_.GetOutSize();
  for (int x = 0; x < numColumns; ++x) {
    firstColumns_.push_back(horizontal_.First(x));
    starts_.push_back(weights_.size());
    for (int s = horizontal_.First(x); s <= horizontal_.Last(x); ++s) {
      weights_.push_back(xUnit_ * static_cast<double>(horizontal_.Overlap(x, s)));
    }
  }
  starts_.push_back(weights_.size());
  MakeStridedWeights();
}

/// Looks for the pattern of half the size or a little less, which a pyramid of odd sizes has: each output column takes
/// two or three source columns and begins two after the one before. Leaves `stridedTaps_` 0 where it is another.
void AreaMean::MakeStridedWeights() {
  const std::size_t numColumns = firstColumns_.size();
  const std::size_t numTaps = starts_[1];
  if (numTaps < 2 || numTaps > 3 || weights_.size() != numTaps * numColumns) return;
  for (std::size_t i = 0; i < numColumns; ++i) {
    if (firstColumns_[i] != static_cast<int>(2 * i) || starts_[i] != numTaps * i) return;
  }
  for (std::size_t tap = 0; tap < numTaps; ++tap) {
    for (std::size_t i = 0; i < numColumns; ++i) stridedWeights_.push_back(weights_[numTaps * i + tap]);
  }
  stridedTaps_ = static_cast<int>(numTaps);
}

AreaMean::Columns AreaMean::ColumnsOf(int x0, int x1) const {
  const int first = FirstSourceColumn(x0);
  return {x0, x1, first, CountOf(first, LastSourceColumn(x1))};
}

void AreaMean::Row(int outRow, int x0, int x1, const void* const* sourceRows, void* out, Scratch& scratch) const {
  const Columns all = ColumnsOf(x0, x1);
  const int firstRow = FirstSourceRow(outRow);
  const std::size_t numRows = CountOf(firstRow, LastSourceRow(outRow));
  // The line of weights costs as much as the sums, and is kept only for rows in which there is a null.
  const bool hasNulls = HasNulls(sourceRows, numRows, all.numSources);
  if (isHalving_) {
    if (hasNulls) {
      return HalveAreaRowWithNulls(dataType_, nullValue_, sourceRows[0], sourceRows[1], out, CountOf(x0, x1));
    }
    return HalveAreaRow(dataType_, sourceRows[0], sourceRows[1], out, CountOf(x0, x1));
  }
  scratch.rowWeights.resize(numRows);
  for (std::size_t r = 0; r < numRows; ++r) {
    scratch.rowWeights[r] = yUnit_ * static_cast<double>(vertical_.Overlap(outRow, firstRow + static_cast<int>(r)));
  }
  const auto sampleBytes = static_cast<std::size_t>(XfnGetDataSize(dataType_));
  // A source column on the edge between two chunks is added for both, because pixels of both lie over it.
  for (int x = x0;; x += chunk_) {
    const Columns columns = ColumnsOf(x, x1 - x < chunk_ ? x1 : x + chunk_ - 1);
    const AreaSums sums = Prepare(columns, hasNulls, scratch);
    const auto skipped = static_cast<std::size_t>(columns.firstSource - all.firstSource);
    AddAreaRows(dataType_, nullValue_, sums,
                {sourceRows, scratch.rowWeights.data(), numRows, skipped, columns.numSources});
    Finish(columns, sums, static_cast<unsigned char*>(out) + static_cast<std::size_t>(x - x0) * sampleBytes);
    if (columns.x1 == x1) return;
  }
}

void AreaMean::AddRow(int outRow, int sourceRow, int x0, int x1, const void* samples, Scratch& scratch) const {
  const Columns columns = ColumnsOf(x0, x1);
  // Rows to come are not known yet, and so weights are kept wherever the type can hold the null value.
  const bool isFirst = sourceRow == FirstSourceRow(outRow);
  const AreaSums sums = isFirst ? Prepare(columns, canHaveNulls_, scratch) : SumsIn(scratch, canHaveNulls_);
  const double weight = yUnit_ * static_cast<double>(vertical_.Overlap(outRow, sourceRow));
  AddAreaRows(dataType_, nullValue_, sums, {&samples, &weight, 1, 0, columns.numSources});
}

void AreaMean::FinishRow(int x0, int x1, void* out, Scratch& scratch) const {
  Finish(ColumnsOf(x0, x1), SumsIn(scratch, canHaveNulls_), out);
}

AreaSums AreaMean::SumsIn(Scratch& scratch, bool hasNulls) const {
  if (sumsIntegers_) {
    return {true, scratch.integers[0].data(), hasNulls ? scratch.integers[1].data() : nullptr};
  }
  return {false, scratch.doubles[0].data(), hasNulls ? scratch.doubles[1].data() : nullptr};
}

AreaSums AreaMean::Prepare(const Columns& columns, bool hasNulls, Scratch& scratch) const {
  // The first line holds the sums, the second the weights.
  for (std::size_t i = 0; i < (hasNulls ? 2u : 1u); ++i) {
    if (sumsIntegers_) {
      scratch.integers[i].assign(columns.numSources, 0);
    } else {
      scratch.doubles[i].assign(columns.numSources, 0.0);
    }
  }
  return SumsIn(scratch, hasNulls);
}

void AreaMean::Finish(const Columns& columns, const AreaSums& sums, void* out) const {
  const auto first = static_cast<std::size_t>(columns.x0);
  const double xTotal = xUnit_ * static_cast<double>(horizontal_.UnitsPerOut());
  const double yTotal = yUnit_ * static_cast<double>(vertical_.UnitsPerOut());
  AreaColumns job{CountOf(columns.x0, columns.x1),
                  firstColumns_.data() + first,
                  columns.firstSource,
                  starts_.data() + first,
                  weights_.data(),
                  stridedTaps_,
                  {},
                  xTotal * yTotal};
  for (int tap = 0; tap < stridedTaps_; ++tap) {
    job.strided[tap] = stridedWeights_.data() + static_cast<std::size_t>(tap) * firstColumns_.size() + first;
  }
  FinishAreaRow(dataType_, nullValue_, sums, job, out);
}

bool AreaMean::HasNulls(const void* const* rows, std::size_t numRows, std::size_t count) const {
  if (!canHaveNulls_) return false;
  return std::any_of(rows, rows + numRows,
                     [&](const void* row) { return AreaRowHasNull(dataType_, nullValue_, row, count); });
}

}  // namespace zrk
