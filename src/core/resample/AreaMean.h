#pragma once

#include "core/resample/AreaKernels.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zrk {

/// One direction of a resizing: `sourceSize` pixels over which `outSize` pixels are laid evenly. Overlaps are exact.
/// They are counted in units: a source pixel has `UnitsPerSource()` of them and an output pixel `UnitsPerOut()`.
class AreaAxis {
 public:
  AreaAxis(int sourceSize, int outSize);

  int GetOutSize() const { return outSize_; }
  std::int64_t UnitsPerSource() const { return unitsPerSource_; }
  std::int64_t UnitsPerOut() const { return unitsPerOut_; }
  /// The first and the last source pixel that an output pixel touches.
  int First(int out) const { return static_cast<int>(out * unitsPerOut_ / unitsPerSource_); }
  int Last(int out) const { return static_cast<int>(((out + 1) * unitsPerOut_ - 1) / unitsPerSource_); }
  /// The units that an output pixel shares with a source pixel that it touches.
  std::int64_t Overlap(int out, int source) const;

 private:
  int outSize_;
  std::int64_t unitsPerSource_;
  std::int64_t unitsPerOut_;
};

/// Resizes an image by area-weighted means: an output pixel is the mean of the source pixels under it, each weighted by
/// the part of it that is covered.
///
/// Integers are the exact mean, rounded half away from zero, as long as the largest sample times the number of units
/// under an output pixel fits in 62 bits. For samples of 32 bits that is so up to some 30,000 by 30,000 pixels even
/// where source and output size have no common divisor. Beyond it, and for floating point, the sums are doubles.
///
/// At exactly half the size in both directions the mean is that of four samples, a and b of the upper row and c and d
/// of the lower one. For REAL32 it is the double ((a + b) + (c + d)) / 4 rounded once, for REAL64 it is (a/4 + b/4) +
/// (c/4 + d/4).
///
/// Samples equal to the null value are left out. An output pixel that has no other samples under it is null. A sample
/// that is not a number takes part like any other. An output pixel depends on the samples under it alone, and not on
/// the columns that are asked for with it.
///
/// Immutable, so that several threads may use one object, each with a scratch of its own. Throws `std::bad_alloc` where
/// memory runs out.
class AreaMean {
 public:
  /// Working memory of one thread, for any object.
  struct Scratch {
    std::vector<double> doubles[2];
    std::vector<std::int64_t> integers[2];
    std::vector<double> rowWeights;
  };

  /// Sizes are positive, and the data type is a scalar one. The output may be smaller or larger than the source.
  AreaMean(int sourceWidth, int sourceHeight, int outWidth, int outHeight, int dataType, double nullValue);

  /// The source rows under an output row, inclusive; likewise the columns.
  int FirstSourceRow(int outRow) const { return vertical_.First(outRow); }
  int LastSourceRow(int outRow) const { return vertical_.Last(outRow); }
  int FirstSourceColumn(int outColumn) const { return horizontal_.First(outColumn); }
  int LastSourceColumn(int outColumn) const { return horizontal_.Last(outColumn); }

  /// One output row. `sourceRows` are the rows from the first to the last under it, each of the full source width;
  /// `out` takes the full output width.
  void Row(int outRow, const void* const* sourceRows, void* out, Scratch& scratch) const {
    Row(outRow, 0, horizontal_.GetOutSize() - 1, sourceRows, out, scratch);
  }
  /// Columns `x0` to `x1` of one output row. The source rows begin with the first source column under `x0` and reach at
  /// least to the last under `x1`.
  void Row(int outRow, int x0, int x1, const void* const* sourceRows, void* out, Scratch& scratch) const;

  // The same row from source rows that come a few at a time. Each is added once, in order, from the first to the last
  // under the output row. Then the row is finished. The scratch holds the sums meanwhile. An image at exactly half the
  // size has no such sums and goes another way.

  void AddRow(int outRow, int sourceRow, int x0, int x1, const void* samples, Scratch& scratch) const;
  void FinishRow(int x0, int x1, void* out, Scratch& scratch) const;

  bool IsHalving() const { return isHalving_; }

 private:
  struct Columns;

  Columns ColumnsOf(int x0, int x1) const;
  void MakeColumnWeights();
  void MakeStridedWeights();
  AreaSums SumsIn(Scratch& scratch, bool hasNulls) const;
  AreaSums Prepare(const Columns& columns, bool hasNulls, Scratch& scratch) const;
  void Finish(const Columns& columns, const AreaSums& sums, void* out) const;
  bool HasNulls(const void* const* rows, std::size_t numRows, std::size_t count) const;

  AreaAxis horizontal_;
  AreaAxis vertical_;
  int dataType_;
  bool isHalving_;
  bool canHaveNulls_;
  double nullValue_;
  bool sumsIntegers_;
  // Sums of integers count whole units. For floating point the units are scaled by powers of two, which is exact, so
  // that no sum overflows before it is divided.
  double xUnit_ = 1.0;
  double yUnit_ = 1.0;
  int chunk_;

  std::vector<int> firstColumns_;
  std::vector<std::size_t> starts_;  ///< where the weights of each output column begin, and at the end their number
  std::vector<double> weights_;
  int stridedTaps_ = 0;  ///< 2 or 3 where column i begins at source column 2i with so many weights, else 0
  std::vector<double> stridedWeights_;  ///< then the weights once more: all first ones, all second ones, and so on
};

}  // namespace zrk
