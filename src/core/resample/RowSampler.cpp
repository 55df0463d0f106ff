// The three ways of making a resized row: the nearest pixel, the mean over an area (`AreaMean`), and cubic convolution
// after R. Keys, "Cubic convolution interpolation for digital image processing", IEEE Transactions on Acoustics, Speech
// and Signal Processing 29 (1981), with a = -0.5.
//
// Source and output span the same extent. The centre of output pixel i lies at (2i + 1) * sourceSize / (2 * outSize) in
// source pixels. Nearest and cubic compute it in whole numbers, so that a centre on an edge is found on the same side
// everywhere. What depends on the column alone is made once for a sampler, what depends on the row once for each row.
//
// A cubic row has two steps like a mean: four source rows are weighed into one line of sums, then four sums into each
// pixel. Nulls are mended afterwards, because a row without any, the usual one, then has loops without a test.

#include "core/resample/RowSampler.h"

#include "base/DataTypeVisit.h"
#include "math/SampleCast.h"
#include "math/SampleFilter.h"
#include "ZRMBandResize.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace zrk {

namespace {

template <class Sample>
const Sample* SamplesOf(const void* row) {
  return static_cast<const Sample*>(row);
}

class NearestSampler : public RowSampler {
 public:
  explicit NearestSampler(const ResizeShape& shape) : RowSampler(shape) {
    columns_.reserve(static_cast<std::size_t>(shape.outWidth));
    for (int x = 0; x < shape.outWidth; ++x) columns_.push_back(UnderCentre(x, shape.sourceWidth, shape.outWidth));
  }

  PixelRange RowsFor(int outRow) const override {
    const int row = UnderCentre(outRow, GetShape().sourceHeight, GetShape().outHeight);
    return {row, row};
  }
  PixelRange ColumnsFor(int x0, int x1) const override { return {ColumnFor(x0), ColumnFor(x1)}; }

  void Row(int, int x0, int x1, const void* const* rows, void* out, Scratch&) const override {
    VisitDataType(GetShape().dataType, [&](auto zero) {
      using Sample = decltype(zero);
      const Sample* row = SamplesOf<Sample>(rows[0]);
      auto* target = static_cast<Sample*>(out);
      const int* columns = columns_.data() + x0;
      const int origin = columns[0];
      for (int i = 0; i <= x1 - x0; ++i) target[i] = row[columns[i] - origin];
    });
  }

 private:
  /// Rounds down, so that a centre on an edge belongs to the right or lower pixel.
  static int UnderCentre(int out, int sourceSize, int outSize) {
    return static_cast<int>((2 * std::int64_t{out} + 1) * sourceSize / (2 * std::int64_t{outSize}));
  }
  int ColumnFor(int x) const { return columns_[static_cast<std::size_t>(x)]; }

  std::vector<int> columns_;
};

class MeanSampler : public RowSampler {
 public:
  explicit MeanSampler(const ResizeShape& shape)
      : RowSampler(shape),
        mean_(shape.sourceWidth, shape.sourceHeight, shape.outWidth, shape.outHeight, shape.dataType, shape.nullValue) {
  }

  PixelRange RowsFor(int outRow) const override { return {mean_.FirstSourceRow(outRow), mean_.LastSourceRow(outRow)}; }
  PixelRange ColumnsFor(int x0, int x1) const override {
    return {mean_.FirstSourceColumn(x0), mean_.LastSourceColumn(x1)};
  }
  void Row(int outRow, int x0, int x1, const void* const* rows, void* out, Scratch& scratch) const override {
    mean_.Row(outRow, x0, x1, rows, out, scratch.area);
  }
  const AreaMean* GetAreaMean() const override { return &mean_; }

 private:
  AreaMean mean_;
};

/// The four source pixels around the centre of an output pixel, and their weights. Two of the four have their centres
/// on either side: the centre of the second is the last at or before it.
struct CubicTaps {
  CubicTaps(int out, int sourceSize, int outSize) {
    // The centre in units of 1 / (2 * outSize) source pixels, counted from the centre of source pixel 0.
    const std::int64_t place = (2 * std::int64_t{out} + 1) * sourceSize - outSize;
    const std::int64_t unit = 2 * std::int64_t{outSize};
    const std::int64_t second = place >= 0 ? place / unit : -1;
    first = static_cast<int>(second - 1);
    past = static_cast<double>(place - second * unit) / static_cast<double>(unit);
    // The four weights of the paper for a = -0.5, as polynomials in t. They add up to 1.
    const double t = past;
    weights[0] = ((-0.5 * t + 1.0) * t - 0.5) * t;
    weights[1] = (1.5 * t - 2.5) * t * t + 1.0;
    weights[2] = ((-1.5 * t + 2.0) * t + 0.5) * t;
    weights[3] = (0.5 * t - 0.5) * t * t;
  }
  int first;
  double past;  ///< how far the centre lies past that of the second pixel
  double weights[4];
};

class CubicSampler : public RowSampler {
 public:
  explicit CubicSampler(const ResizeShape& shape) : RowSampler(shape) {
    columns_.reserve(static_cast<std::size_t>(shape.outWidth));
    for (int x = 0; x < shape.outWidth; ++x) columns_.emplace_back(x, shape.sourceWidth, shape.outWidth);
  }

  PixelRange RowsFor(int outRow) const override {
    const int first = CubicTaps(outRow, GetShape().sourceHeight, GetShape().outHeight).first;
    return Inside({first, first + 3}, GetShape().sourceHeight);
  }
  PixelRange ColumnsFor(int x0, int x1) const override {
    return Inside({TapsFor(x0).first, TapsFor(x1).first + 3}, GetShape().sourceWidth);
  }

  void Row(int outRow, int x0, int x1, const void* const* rows, void* out, Scratch& scratch) const override {
    const CubicTaps taps(outRow, GetShape().sourceHeight, GetShape().outHeight);
    const PixelRange inside = RowsFor(outRow);
    const void* four[4];
    // A row beyond the source is the row at its edge.
    for (int k = 0; k < 4; ++k) four[k] = rows[std::clamp(taps.first + k, inside.first, inside.last) - inside.first];
    VisitDataType(GetShape().dataType, [&](auto zero) {
      using Sample = decltype(zero);
      const Sample* samples[4];
      for (int k = 0; k < 4; ++k) samples[k] = SamplesOf<Sample>(four[k]);
      AddRows(taps, x0, x1, samples, scratch.sums);
      auto* target = static_cast<Sample*>(out);
      AddColumns(x0, x1, scratch.sums, target);
      if (!CanEqual<Sample>(GetShape().nullValue)) return;
      const auto null = static_cast<Sample>(GetShape().nullValue);
      if (MarkNulls(x0, x1, samples, null, scratch.nulls)) Mend(taps, x0, x1, samples, null, scratch.nulls, target);
    });
  }

 private:
  static PixelRange Inside(PixelRange range, int size) {
    return {std::clamp(range.first, 0, size - 1), std::clamp(range.last, 0, size - 1)};
  }
  const CubicTaps& TapsFor(int x) const { return columns_[static_cast<std::size_t>(x)]; }

  /// Makes a line of values, one for each source column that a tap can name, from the first tap of `x0` to the last of
  /// `x1`. `valueOf` gives those of columns inside the source. Columns beyond take the value at the edge, so that the
  /// loop over output pixels needs no test.
  template <class Value, class ValueOf>
  void Fill(int x0, int x1, std::vector<Value>& values, ValueOf valueOf) const {
    const PixelRange inside = ColumnsFor(x0, x1);
    const int first = TapsFor(x0).first;
    const int count = TapsFor(x1).first + 4 - first;
    values.resize(static_cast<std::size_t>(count));
    Value* target = values.data() + (inside.first - first);
    const int numInside = inside.Count();
    for (int i = 0; i < numInside; ++i) target[i] = valueOf(i);
    std::fill(values.data(), target, target[0]);
    std::fill(target + numInside, values.data() + count, target[numInside - 1]);
  }

  template <class Sample>
  void AddRows(const CubicTaps& rows, int x0, int x1, const Sample* const* samples, std::vector<double>& sums) const {
    Fill(x0, x1, sums,
         // Copies of weights and pointers, which the compiler then knows to stay as they are while sums are stored.
         [&, w0 = rows.weights[0], w1 = rows.weights[1], w2 = rows.weights[2], w3 = rows.weights[3], r0 = samples[0],
          r1 = samples[1], r2 = samples[2], r3 = samples[3]](int i) {
           return (w0 * static_cast<double>(r0[i]) + w1 * static_cast<double>(r1[i])) +
                  (w2 * static_cast<double>(r2[i]) + w3 * static_cast<double>(r3[i]));
         });
  }

  template <class Sample>
  void AddColumns(int x0, int x1, const std::vector<double>& sums, Sample* out) const {
    const int origin = TapsFor(x0).first;
    for (int x = x0; x <= x1; ++x) {
      const CubicTaps& taps = TapsFor(x);
      const double* four = sums.data() + (taps.first - origin);
      out[x - x0] = ToSample<Sample>((taps.weights[0] * four[0] + taps.weights[1] * four[1]) +
                                     (taps.weights[2] * four[2] + taps.weights[3] * four[3]));
    }
  }

  /// Marks the columns that have a null in one of the four rows. True where any column has.
  template <class Sample>
  bool MarkNulls(int x0, int x1, const Sample* const* rows, Sample null, std::vector<unsigned char>& marks) const {
    Fill(x0, x1, marks, [&](int i) {
      return static_cast<unsigned char>((rows[0][i] == null) | (rows[1][i] == null) | (rows[2][i] == null) |
                                        (rows[3][i] == null));
    });
    return std::find(marks.begin(), marks.end(), 1) != marks.end();
  }

  /// Puts a bilinear mean where one of the sixteen samples is null. The four middle ones that are not null take part,
  /// with weights scaled to a sum of 1.
  template <class Sample>
  void Mend(const CubicTaps& rows, int x0, int x1, const Sample* const* samples, Sample null,
            const std::vector<unsigned char>& marks, Sample* out) const {
    const int origin = TapsFor(x0).first;
    const int firstInside = ColumnsFor(x0, x1).first;
    const int lastInside = ColumnsFor(x0, x1).last;
    for (int x = x0; x <= x1; ++x) {
      const CubicTaps& taps = TapsFor(x);
      const unsigned char* four = marks.data() + (taps.first - origin);
      if (!(four[0] | four[1] | four[2] | four[3])) continue;
      const int left = std::clamp(taps.first + 1, firstInside, lastInside) - firstInside;
      const int right = std::clamp(taps.first + 2, firstInside, lastInside) - firstInside;
      const Sample middle[4] = {samples[1][left], samples[1][right], samples[2][left], samples[2][right]};
      out[x - x0] = Bilinear(middle, taps.past, rows.past, null);
    }
  }

  template <class Sample>
  static Sample Bilinear(const Sample* middle, double xPast, double yPast, Sample null) {
    const double weights[4] = {(1 - xPast) * (1 - yPast), xPast * (1 - yPast), (1 - xPast) * yPast, xPast * yPast};
    double sum = 0.0, weight = 0.0;
    for (int k = 0; k < 4; ++k) {
      // A sample of no weight is left out even where it is infinite, since 0 times infinity is not a number.
      if (middle[k] == null || weights[k] == 0.0) continue;
      sum += weights[k] * static_cast<double>(middle[k]);
      weight += weights[k];
    }
    return weight > 0.0 ? ToSample<Sample>(sum / weight) : null;
  }

  std::vector<CubicTaps> columns_;
};

}  // namespace

std::unique_ptr<const RowSampler> MakeRowSampler(int method, const ResizeShape& shape) {
  switch (method) {
    case kResampleMean:
      return std::make_unique<MeanSampler>(shape);
    case kResampleCubic:
      return std::make_unique<CubicSampler>(shape);
    default:
      return std::make_unique<NearestSampler>(shape);
  }
}

}  // namespace zrk
